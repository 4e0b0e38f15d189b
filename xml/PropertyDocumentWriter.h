#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "com/Bstr.h"
#include "model/CQnPSTable.h"
#include "xml/CColomnEl.h"
#include "xml/CListBase.h"
#include "xml/CXmlReaderBase.h"
#include "xml/CXmlWriterBase.h"

namespace xml {

// Writes a table into a stream as a property storage document. An empty stream gets a new
// document; a stream that holds one keeps its root and everything under it but the two sections,
// which are written anew, and values the table does not supply are carried over from the old
// document's row of the same identifier unless the flags say otherwise.
class PropertyDocumentWriter {
public:
    PropertyDocumentWriter(model::CQnPSTable& table, long flags);

    // S_OK, QNPS_E_WRONGAPPLICATION or QNPS_E_WRITEXMLERROR; a failure of the stream itself is
    // thrown as QNPS_E_WRITEXMLERROR with a text that says what the stream holds afterwards. The
    // stream holds the old content or the whole new document after every call made to it.
    HRESULT Write(IStream* stream, ULONGLONG streamSize);

private:
    // A written column as the carry-over sees it: its record, and where the old document's rows
    // hold the cell of that name (-1 when the old document has no such column).
    struct MergeColumn {
        CColomnEl* record;
        long oldCellIndex;
    };

    HRESULT BeginNewDocument();
    HRESULT BeginExistingDocument(const std::vector<BYTE>& oldBytes);
    [[noreturn]] static void ThrowWriteError(const wchar_t* what, HRESULT code, const wchar_t* after);
    void ReadOldTable(CXmlReaderBase& reader);
    void IndexOldTable();
    void WriteColumns();
    void WriteRows();
    void CarryOver(const model::CQnPSRow& row, long rowIndex);
    // The merge record that a cell of this column marks, or null.
    CColomnEl* RecordFor(const model::CQnPSColumnDef& column);
    const model::CQnPSProperty* OldCell(const model::CQnPSRow& oldRow, const MergeColumn& column) const;
    void CarryValue(const model::CQnPSProperty& oldCell, const model::CQnPSColumnDef& gate);
    // Writes one value under the name and encoding of `encoding`, provided the gate definition has a
    // name; empty and null values write nothing.
    void WriteValue(const VARIANT& value, const model::CQnPSColumnDef* gate,
                    const model::CQnPSColumnDef& encoding);

    model::CQnPSTable& table_;
    const long flags_;
    CXmlWriterBase writer_;
    const com::UniqueBstr rowElement_, rowId_, dispName_, direction_, type_, hidden_, order_, emptyText_;

    com::ComPtr<model::CQnPSTable> oldTable_;
    CListBase mergeList_;
    std::vector<MergeColumn> mergeColumns_;
    std::unordered_map<std::wstring, CColomnEl*> recordsByName_;
    std::unordered_map<const model::CQnPSColumnDef*, CColomnEl*> recordByColumn_;
    std::unordered_map<std::wstring, model::CQnPSRow*> oldRowsById_;
    std::unordered_map<std::wstring, long> oldCellIndexByName_;
    std::vector<model::CQnPSColumnDef*> oldColumns_;
};

}  // namespace xml
