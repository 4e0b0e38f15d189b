#include "format/OldDocument.h"

#include "format/PropertyDocumentReader.h"
#include "format/RowAttribute.h"

namespace format {

std::unique_ptr<OldDocument> OldDocument::Read(xml::CXmlReaderBase& reader) {
    std::unique_ptr<OldDocument> old(new OldDocument);
    PropertyDocumentReader document(reader);
    if (document.ReadRoot(old->application_) != S_OK) return nullptr;
    old->definitions_ = document.ReadColumnDefinitions();
    if (!old->definitions_) return nullptr;
    old->columns_ = PropertyDocumentReader::NamedColumns(*old->definitions_);
    for (size_t i = 0; i < old->columns_.size(); ++i) {
        old->slotsByName_.emplace(com::FoldedName(old->columns_[i]->Name()), static_cast<long>(i));
    }
    const bool hasRows = document.ForEachRow([&](BSTR rowId, IXMLDOMElement* row) {
        // A row with no column to hold a value has none to give.
        if (!old->columns_.empty() && !com::IsEmptyBstr(rowId)) {
            old->rowsById_.try_emplace(com::FoldedName(rowId), com::ComPtr<IXMLDOMElement>(row));
        }
    });
    if (!hasRows) return nullptr;
    return old;
}

long OldDocument::ColumnSlot(BSTR name) const {
    const auto found = slotsByName_.find(com::FoldedName(name));
    return found == slotsByName_.end() ? -1 : found->second;
}

IXMLDOMElement* OldDocument::FindRow(BSTR rowId) const {
    if (com::IsEmptyBstr(rowId)) return nullptr;
    const auto found = rowsById_.find(com::FoldedName(rowId));
    return found == rowsById_.end() ? nullptr : found->second.get();
}

com::UniqueVariant OldDocument::Value(IXMLDOMElement* row, long slot) const {
    return ReadCellValue(row, Column(slot));
}

}  // namespace format
