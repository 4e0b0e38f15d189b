#include "model/CQnPSColumnDef.h"

#include "model/TextField.h"

namespace model {

bool CQnPSColumnDef::HasName(const wchar_t* name) const noexcept {
    return name && !com::IsEmptyBstr(name_.get()) && com::NamesEqual(name_.get(), name);
}

STDMETHODIMP CQnPSColumnDef::get_Name(BSTR* pBstName) {
    return Guarded([&] { return GetTextField(name_, pBstName); });
}

STDMETHODIMP CQnPSColumnDef::put_Name(BSTR newVal) {
    return Guarded([&] {
        if (!newVal) return E_INVALIDARG;
        SetTextField(name_, newVal);
        return S_OK;
    });
}

STDMETHODIMP CQnPSColumnDef::get_DispName(BSTR* pBstName) {
    return Guarded([&] { return GetTextField(dispName_, pBstName); });
}

STDMETHODIMP CQnPSColumnDef::put_DispName(BSTR newVal) {
    return Guarded([&] {
        if (!newVal) return E_INVALIDARG;
        SetTextField(dispName_, newVal);
        return S_OK;
    });
}

STDMETHODIMP CQnPSColumnDef::get_PropType(qnpsPropertyType* peType) {
    return Guarded([&] {
        if (!peType) return E_INVALIDARG;
        *peType = propType_;
        return S_OK;
    });
}

STDMETHODIMP CQnPSColumnDef::put_PropType(qnpsPropertyType newVal) {
    return Guarded([&] {
        propType_ = newVal;
        return S_OK;
    });
}

STDMETHODIMP CQnPSColumnDef::get_Hidden(VARIANT_BOOL* pfHidden) {
    return Guarded([&] {
        if (!pfHidden) return E_INVALIDARG;
        *pfHidden = hidden_;
        return S_OK;
    });
}

STDMETHODIMP CQnPSColumnDef::put_Hidden(VARIANT_BOOL newVal) {
    return Guarded([&] {
        hidden_ = newVal;
        return S_OK;
    });
}

STDMETHODIMP CQnPSColumnDef::get_Direction(qnpsPropertyDirection* peDirection) {
    return Guarded([&] {
        if (!peDirection) return E_INVALIDARG;
        *peDirection = direction_;
        return S_OK;
    });
}

STDMETHODIMP CQnPSColumnDef::put_Direction(qnpsPropertyDirection newVal) {
    return Guarded([&] {
        direction_ = newVal;
        return S_OK;
    });
}

STDMETHODIMP CQnPSColumnDef::get_Order(long* plOrder) {
    return Guarded([&] {
        if (!plOrder) return E_INVALIDARG;
        *plOrder = order_;
        return S_OK;
    });
}

STDMETHODIMP CQnPSColumnDef::put_Order(long newVal) {
    return Guarded([&] {
        order_ = newVal;
        return S_OK;
    });
}

}  // namespace model
