#pragma once

#include <vector>

#include "com/ComPtr.h"
#include "model/CQnPSTable.h"
#include "xml/CXmlReaderBase.h"

namespace xml {

// Turns a loaded property storage document into a new table: checks the root element, its
// version and application, then reads the column definitions and the rows.
class PropertyDocumentReader {
public:
    explicit PropertyDocumentReader(CXmlReaderBase& reader) noexcept : reader_(reader) {}

    // S_OK with the table, or the reason there is none (QNPS_E_WRONGXMLFILE for a document of
    // another shape or version, QNPS_E_EMPTYCOLLECTION when a section is missing).
    HRESULT Read(com::ComPtr<model::CQnPSTable>& table);

private:
    com::ComPtr<model::CQnPSColumnDefCollection> ReadColumnDefinitions();
    com::ComPtr<model::CQnPSRowCollection> ReadRows(const model::CQnPSColumnDefCollection& definitions);
    com::ComPtr<model::CQnPSRow> ReadRow(const std::vector<model::CQnPSColumnDef*>& columns, BSTR rowIdName);
    // One attribute of the root, null when it is missing.
    com::UniqueBstr RootAttribute(const wchar_t* name);

    CXmlReaderBase& reader_;
};

}  // namespace xml
