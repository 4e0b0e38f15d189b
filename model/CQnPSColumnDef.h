#pragma once

#include "model/CPSObjectBase.h"

namespace model {

// A column of a property table: its name (the key, matched without regard to case), caption,
// value type, visibility, direction of exchange with the host document and place in the host's
// column order. No field is validated; readers take the values as they find them.
class CQnPSColumnDef final : public CPSObjectBase<IQnPSColumnDef> {
public:
    CQnPSColumnDef() noexcept { SetObjectType(qnpsObjType_ColumnDef); }

    STDMETHODIMP get_Name(BSTR* pBstName) override;
    STDMETHODIMP put_Name(BSTR newVal) override;
    STDMETHODIMP get_DispName(BSTR* pBstName) override;
    STDMETHODIMP put_DispName(BSTR newVal) override;
    STDMETHODIMP get_PropType(qnpsPropertyType* peType) override;
    STDMETHODIMP put_PropType(qnpsPropertyType newVal) override;
    STDMETHODIMP get_Hidden(VARIANT_BOOL* pfHidden) override;
    STDMETHODIMP put_Hidden(VARIANT_BOOL newVal) override;
    STDMETHODIMP get_Direction(qnpsPropertyDirection* peDirection) override;
    STDMETHODIMP put_Direction(qnpsPropertyDirection newVal) override;
    STDMETHODIMP get_Order(long* plOrder) override;
    STDMETHODIMP put_Order(long newVal) override;

    // Direct field access for the model and the persistence code.
    BSTR Name() const noexcept { return name_.get(); }
    BSTR DispName() const noexcept { return dispName_.get(); }
    qnpsPropertyType PropType() const noexcept { return propType_; }
    qnpsPropertyDirection Direction() const noexcept { return direction_; }
    VARIANT_BOOL Hidden() const noexcept { return hidden_; }
    long Order() const noexcept { return order_; }
    // True when the definition has a name that equals `name` without regard to case; a null or
    // empty name never matches.
    bool HasName(const wchar_t* name) const noexcept;

    void SetName(const wchar_t* name) { name_ = com::CopyText(name); }
    void SetDispName(const wchar_t* name) { dispName_ = com::CopyText(name); }
    void SetPropType(qnpsPropertyType type) noexcept { propType_ = type; }
    void SetDirection(qnpsPropertyDirection direction) noexcept { direction_ = direction; }
    void SetHidden(VARIANT_BOOL hidden) noexcept { hidden_ = hidden; }
    void SetOrder(long order) noexcept { order_ = order; }

private:
    com::UniqueBstr name_;
    com::UniqueBstr dispName_;
    qnpsPropertyType propType_ = qnpsPropType_String;
    qnpsPropertyDirection direction_ = qnpsPropDirection_Any;
    VARIANT_BOOL hidden_ = VARIANT_FALSE;
    long order_ = -1;
};

}  // namespace model
