#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/UniqueVariant.h"
#include "model/CQnPSColumnDefCollection.h"
#include "xml/CXmlReaderBase.h"

namespace format {

// The document a merge replaces, as the merge asks about it: its application, and the old value of
// a column in the row of an identifier. Built once from the parsed old document; rows are found by
// their folded identifier and columns by their folded name, the first of each winning, as a search
// from the top without regard to case would find them. Values are read from the old document only
// when asked for, so a merge that carries nothing over reads none.
class OldDocument {
public:
    // The old document the reader stands on, or null when it is no table this library reads (no
    // carry-over then, and no application to compare).
    static std::unique_ptr<OldDocument> Read(xml::CXmlReaderBase& reader);

    BSTR Application() const noexcept { return application_.get(); }
    // Where the old rows keep the column of that name, or -1 when the old document has none.
    long ColumnSlot(BSTR name) const;
    // The first old row of that identifier, or null; a null or empty identifier finds none.
    IXMLDOMElement* FindRow(BSTR rowId) const;
    // The old row's value of the column in `slot`, as a reader of the old document would see it
    // (empty when the row has no attribute for it).
    com::UniqueVariant Value(IXMLDOMElement* row, long slot) const;
    // The old column in `slot`: its values' encoding and the name the old document gave it.
    const model::CQnPSColumnDef& Column(long slot) const { return *columns_[static_cast<size_t>(slot)]; }

private:
    OldDocument() = default;

    com::UniqueBstr application_;
    com::ComPtr<model::CQnPSColumnDefCollection> definitions_;
    std::vector<model::CQnPSColumnDef*> columns_;
    std::unordered_map<std::wstring, long> slotsByName_;
    std::unordered_map<std::wstring, com::ComPtr<IXMLDOMElement>> rowsById_;
};

}  // namespace format
