#pragma once

#include "model/CPSObjectBase.h"
#include "model/CQnPSColumnDef.h"

namespace model {

// One cell: a value of any variant type, stored as given, and the column definition it belongs
// to. The cell has no name of its own; its name is its definition's.
class CQnPSProperty final : public CPSObjectBase<IQnPSProperty> {
public:
    CQnPSProperty() noexcept { SetObjectType(qnpsObjType_QnPSProperty); }

    STDMETHODIMP get_ColumnDef(IQnPSColumnDef** ppColumnDef) override;
    STDMETHODIMP put_ColumnDef(IQnPSColumnDef* newVal) override;
    STDMETHODIMP get_Value(VARIANT* pvtPropValue) override;
    STDMETHODIMP put_Value(VARIANT newVal) override;

    // The linked definition when it is one of ours, else null.
    CQnPSColumnDef* Definition() const noexcept;
    // True when the linked definition is named `name` (without regard to case).
    bool HasColumnName(const wchar_t* name) const noexcept;
    const VARIANT& Value() const noexcept { return value_.get(); }

    void LinkDefinition(CQnPSColumnDef* definition) noexcept;
    com::UniqueVariant& MutableValue() noexcept { return value_; }

private:
    com::ComPtr<IQnPSColumnDef> columnDef_;
    com::UniqueVariant value_;
};

}  // namespace model
