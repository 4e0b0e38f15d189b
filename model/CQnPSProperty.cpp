#include "model/CQnPSProperty.h"

#include "model/ObjectTypes.h"

namespace model {

CQnPSColumnDef* CQnPSProperty::Definition() const noexcept {
    return OwnObject<CQnPSColumnDef>(columnDef_.get(), qnpsObjType_ColumnDef);
}

bool CQnPSProperty::HasColumnName(const wchar_t* name) const noexcept {
    const CQnPSColumnDef* definition = Definition();
    return definition && definition->HasName(name);
}

void CQnPSProperty::LinkDefinition(CQnPSColumnDef* definition) noexcept {
    columnDef_ = com::ComPtr<IQnPSColumnDef>(definition);
}

STDMETHODIMP CQnPSProperty::get_ColumnDef(IQnPSColumnDef** ppColumnDef) {
    return Guarded([&] {
        if (!ppColumnDef) return E_INVALIDARG;
        *ppColumnDef = nullptr;
        if (!columnDef_) return S_OK;
        return columnDef_->QueryInterface(IID_IQnPSColumnDef, reinterpret_cast<void**>(ppColumnDef));
    });
}

STDMETHODIMP CQnPSProperty::put_ColumnDef(IQnPSColumnDef* newVal) {
    return Guarded([&] {
        if (!newVal) return E_INVALIDARG;
        columnDef_.reset();
        // An object of another type leaves the cell unlinked, silently: callers depend on the put
        // succeeding whatever they pass.
        if (Narrow(newVal, qnpsObjType_ColumnDef)) columnDef_ = com::ComPtr<IQnPSColumnDef>(newVal);
        return S_OK;
    });
}

STDMETHODIMP CQnPSProperty::get_Value(VARIANT* pvtPropValue) {
    return Guarded([&] {
        if (!pvtPropValue) return E_INVALIDARG;
        com::InitOut(pvtPropValue);
        return com::CopyVariant(pvtPropValue, value_.get());
    });
}

STDMETHODIMP CQnPSProperty::put_Value(VARIANT newVal) {
    return Guarded([&] {
        // A failed copy leaves the cell empty; the put still succeeds.
        value_ = com::UniqueVariant::DereferencedCopyOrEmpty(newVal);
        return S_OK;
    });
}

}  // namespace model
