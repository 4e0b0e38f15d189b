#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "com/Bstr.h"
#include "model/CQnPSTable.h"
#include "format/CColomnEl.h"
#include "format/OldDocument.h"
#include "format/PropertyStorageFormat.h"
#include "xml/CXmlWriterBase.h"

namespace format {

// Turns a table into the bytes of a property storage document. Without old bytes it makes a new
// document; over old ones that hold a document it keeps the root and everything under it but the
// two sections, which are written anew, and values the table does not supply are carried over from
// the old document's row of the same identifier unless the flags say otherwise.
//
// Only what a document can carry is written: a column whose name is no writable name, or that
// repeats an earlier column's name without regard to case, is left out with its values; a text the
// document would carry holding a character that XML cannot carry refuses the whole write.
class PropertyDocumentWriter {
public:
    PropertyDocumentWriter(model::CQnPSTable& table, long flags);

    // S_OK with the new document's bytes, QNPS_E_WRONGAPPLICATION or QNPS_E_WRITEXMLERROR; content
    // the document cannot carry is thrown as QNPS_E_WRITEXMLERROR with a text that says what and
    // where. The table's columns may be changed as the format writes them (an empty display name
    // takes the name, an unknown type becomes the text type).
    HRESULT Render(const std::vector<BYTE>& oldBytes, std::vector<BYTE>& newBytes);

private:
    HRESULT BeginNewDocument();
    HRESULT BeginExistingDocument(const std::vector<BYTE>& oldBytes);
    // Refuses the write when `text` holds a character the document cannot carry; `where()` names
    // where the text would have gone, and is asked only then.
    template <class Where>
    static void RequireCarriable(BSTR text, Where&& where) {
        UncarriableCharacter found;
        if (text && FindUncarriableCharacter(text, com::BstrLength(text), found)) ThrowUncarriable(where(), found);
    }
    [[noreturn]] static void ThrowUncarriable(const std::wstring& where, const UncarriableCharacter& found);
    void WriteColumns();
    void WriteRows();
    void CarryOver(const model::CQnPSRow& row, long rowIndex);
    // The written column whose values a cell of this definition gives, or null when the definition
    // was left out of the document.
    CColomnEl* RecordFor(const model::CQnPSColumnDef& column);
    void CarryValue(IXMLDOMElement* oldRow, const CColomnEl& record);
    // Writes one value under the written column's name, encoded by `encoding`; empty and null values
    // write nothing.
    void WriteValue(const VARIANT& value, const CColomnEl& record, qnpsPropertyType encoding);
    void SetAttribute(BSTR name, const VARIANT& value);
    void EndElement();
    // A document type declaration may declare entities and attribute defaults that the parser's
    // save does not keep as it read them: the saved bytes must read back as built, or the write
    // is refused.
    void VerifySaved(const std::vector<BYTE>& bytes);

    model::CQnPSTable& table_;
    const long flags_;
    xml::CXmlWriterBase writer_;
    const com::UniqueBstr rowElement_, rowId_, dispName_, direction_, type_, hidden_, order_, emptyText_;

    // The written columns in table order, by folded name, and the record of every definition the
    // table holds (-1 for those left out).
    std::vector<CColomnEl> columns_;
    std::unordered_map<std::wstring, long> recordsByName_;
    std::unordered_map<const model::CQnPSColumnDef*, long> recordByColumn_;
    std::vector<std::pair<const model::CQnPSColumnDef*, CColomnEl*>> recentRecords_;
    // The merge's old document, and the row being written (for messages).
    std::unique_ptr<OldDocument> old_;
    BSTR currentRowId_ = nullptr;
    // Only when the old document has a document type declaration: the number of attributes the
    // writer set on each element of the two sections, in document order.
    bool verifySaved_ = false;
    unsigned long attributesOfElement_ = 0;
    std::vector<unsigned long> attributeCounts_;
};

}  // namespace format
