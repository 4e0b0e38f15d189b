#pragma once

#include "model/CQnPSCollectionBase.h"
#include "model/CQnPSProperty.h"

namespace model {

// A row: its cells in insertion order, and the identifier by which the host finds it again.
class CQnPSRow final : public CQnPSCollectionBase<IQnPSRow> {
public:
    CQnPSRow() noexcept { SetObjectType(qnpsObjType_Row); }

    STDMETHODIMP get_Property(BSTR Name, IQnPSProperty** ppProperty) override;
    STDMETHODIMP get_RowID(BSTR* pbstID) override;
    STDMETHODIMP put_RowID(BSTR newVal) override;

    BSTR RowID() const noexcept { return rowId_.get(); }
    void SetRowID(const wchar_t* id) { rowId_ = com::CopyText(id); }
    // True when the row has a non-empty identifier equal to `id` without regard to case.
    bool HasRowID(const wchar_t* id) const noexcept;

    // The cell at `index`, or null when that item is not one of our cells.
    CQnPSProperty* PropertyAt(size_t index) const noexcept;
    // The first cell whose column is named `name`, without regard to case.
    CQnPSProperty* FindProperty(const wchar_t* name) const noexcept;

private:
    com::UniqueBstr rowId_;
};

}  // namespace model
