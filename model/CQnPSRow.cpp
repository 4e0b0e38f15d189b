#include "model/CQnPSRow.h"

#include "model/ObjectTypes.h"
#include "model/TextField.h"

namespace model {

bool CQnPSRow::HasRowID(const wchar_t* id) const noexcept {
    return id && !com::IsEmptyBstr(rowId_.get()) && com::NamesEqual(rowId_.get(), id);
}

CQnPSProperty* CQnPSRow::PropertyAt(size_t index) const noexcept {
    return OwnObject<CQnPSProperty>(ItemAt(index), qnpsObjType_QnPSProperty);
}

CQnPSProperty* CQnPSRow::FindProperty(const wchar_t* name) const noexcept {
    if (!name) return nullptr;
    for (size_t i = 0; i < ItemCount(); ++i) {
        CQnPSProperty* property = PropertyAt(i);
        if (property && property->HasColumnName(name)) return property;
    }
    return nullptr;
}

STDMETHODIMP CQnPSRow::get_Property(BSTR Name, IQnPSProperty** ppProperty) {
    return Guarded([&] {
        if (!Name || !ppProperty) return E_INVALIDARG;
        *ppProperty = nullptr;
        if (CQnPSProperty* property = FindProperty(Name)) {
            return property->QueryInterface(IID_IQnPSProperty, reinterpret_cast<void**>(ppProperty));
        }
        return S_OK;
    });
}

STDMETHODIMP CQnPSRow::get_RowID(BSTR* pbstID) {
    return Guarded([&] { return GetTextField(rowId_, pbstID); });
}

STDMETHODIMP CQnPSRow::put_RowID(BSTR newVal) {
    return Guarded([&] {
        if (!newVal) return E_INVALIDARG;
        SetTextField(rowId_, newVal);
        return S_OK;
    });
}

}  // namespace model
