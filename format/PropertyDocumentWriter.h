#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "com/Bstr.h"
#include "model/CQnPSTable.h"
#include "format/CColomnEl.h"
#include "format/OldDocument.h"
#include "xml/CXmlReaderBase.h"
#include "xml/CXmlWriterBase.h"

namespace format {

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
    HRESULT BeginNewDocument();
    HRESULT BeginExistingDocument(const std::vector<BYTE>& oldBytes);
    [[noreturn]] static void ThrowWriteError(const wchar_t* what, HRESULT code, const wchar_t* after);
    void WriteColumns();
    void WriteRows();
    void CarryOver(const model::CQnPSRow& row, long rowIndex);
    // The merge record that a cell of this column marks, or null.
    CColomnEl* RecordFor(const model::CQnPSColumnDef& column);
    void CarryValue(IXMLDOMElement* oldRow, const CColomnEl& record);
    // Writes one value under the name and encoding of `encoding`, provided the gate definition has a
    // name; empty and null values write nothing.
    void WriteValue(const VARIANT& value, const model::CQnPSColumnDef* gate,
                    const model::CQnPSColumnDef& encoding);

    model::CQnPSTable& table_;
    const long flags_;
    xml::CXmlWriterBase writer_;
    const com::UniqueBstr rowElement_, rowId_, dispName_, direction_, type_, hidden_, order_, emptyText_;

    // The merge's state, for one write: the old document, and the written columns in table order
    // (the first of each folded name is the one a cell marks).
    std::unique_ptr<OldDocument> old_;
    std::vector<CColomnEl> mergeColumns_;
    std::unordered_map<std::wstring, long> recordsByName_;
    std::unordered_map<const model::CQnPSColumnDef*, long> recordByColumn_;
};

}  // namespace format
