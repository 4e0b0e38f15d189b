#include "values/VariantArray.h"

#include <cstring>

#include "com/SafeArray.h"

namespace values {

HRESULT VariantArray::Create(VARTYPE elementType, ULONG count, const void* data) {
    value_.reset();
    SAFEARRAYBOUND bound{count, 0};
    SAFEARRAY* array = ::SafeArrayCreate(elementType, 1, &bound);
    if (!array) return E_OUTOFMEMORY;
    value_ = com::UniqueVariant::Array(array, elementType);
    if (!data) return S_OK;
    com::SafeArrayData<BYTE> target(array);
    std::memcpy(&target[0], data, static_cast<size_t>(count) * ::SafeArrayGetElemsize(array));
    return S_OK;
}

HRESULT VariantArray::Redim(ULONG count) {
    SAFEARRAY* array = Array();
    if (!array) return E_UNEXPECTED;
    SAFEARRAYBOUND bound{count, 0};
    return ::SafeArrayRedim(array, &bound);
}

void VariantArray::Detach(VARIANT* target) noexcept { value_.detach(target); }

SAFEARRAY* VariantArray::Array() const noexcept {
    const VARIANT& raw = value_.get();
    return (raw.vt & VT_ARRAY) ? raw.parray : nullptr;
}

}  // namespace values
