#pragma once

#include <functional>
#include <vector>

#include "com/ComPtr.h"
#include "com/UniqueVariant.h"
#include "model/CQnPSTable.h"
#include "xml/CXmlReaderBase.h"

namespace format {

// Turns a loaded property storage document into a new table: checks the root element, its
// version and application, then reads the column definitions and the rows.
class PropertyDocumentReader {
public:
    explicit PropertyDocumentReader(xml::CXmlReaderBase& reader) noexcept : reader_(reader) {}

    // S_OK with the table, or the reason there is none (QNPS_E_WRONGXMLFILE for a document of
    // another shape or version, QNPS_E_EMPTYCOLLECTION when a section is missing).
    HRESULT Read(com::ComPtr<model::CQnPSTable>& table);

    // The steps of Read, for readers of the document that build no table of their own.
    // The root's name and version: S_OK with its application (null when missing), or
    // QNPS_E_WRONGXMLFILE.
    HRESULT ReadRoot(com::UniqueBstr& application);
    // Null when the document has no "ColumnDefs".
    com::ComPtr<model::CQnPSColumnDefCollection> ReadColumnDefinitions();
    // The definitions that have a name: each gives every row a cell, in this order.
    static std::vector<model::CQnPSColumnDef*> NamedColumns(const model::CQnPSColumnDefCollection& definitions);
    // Every "Row" (without regard to case) that has an identifier, in document order; false when
    // the document has no "Properties".
    bool ForEachRow(const std::function<void(BSTR rowId, IXMLDOMElement* row)>& visit);

private:
    com::ComPtr<model::CQnPSRowCollection> ReadRows(const model::CQnPSColumnDefCollection& definitions);
    com::ComPtr<model::CQnPSRow> ReadRow(const std::vector<model::CQnPSColumnDef*>& columns, BSTR rowId);
    // One attribute of the root, null when it is missing.
    com::UniqueBstr RootAttribute(const wchar_t* name);

    xml::CXmlReaderBase& reader_;
    // The values of the row being read, by column.
    std::vector<com::UniqueVariant> values_;
};

}  // namespace format
