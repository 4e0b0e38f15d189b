#include "values/VariantArray.h"

#include <cstring>
#include <vector>

namespace values {

void VariantArray::Init() noexcept {
    VARIANT& raw = value_.get();
    std::memset(&raw, 0, sizeof raw);
}

HRESULT VariantArray::Create(VARTYPE elementType, ULONG count, const void* data, LONG lowerBound) {
    value_.reset();
    SAFEARRAYBOUND bound{count, lowerBound};
    SAFEARRAY* array = ::SafeArrayCreate(elementType, 1, &bound);
    if (!array) return E_OUTOFMEMORY;
    VARIANT& raw = value_.get();
    raw.vt = static_cast<VARTYPE>(elementType | VT_ARRAY);
    raw.parray = array;
    if (!data) return S_OK;
    void* target = nullptr;
    HRESULT hr = ::SafeArrayAccessData(array, &target);
    if (FAILED(hr)) return hr;
    std::memcpy(target, data, static_cast<size_t>(count) * ::SafeArrayGetElemsize(array));
    return ::SafeArrayUnaccessData(array);
}

HRESULT VariantArray::CreateMulti(VARTYPE elementType, UINT dimensions, const ULONG* counts) {
    value_.reset();
    std::vector<SAFEARRAYBOUND> bounds(dimensions);
    for (UINT i = 0; i < dimensions; ++i) bounds[i] = SAFEARRAYBOUND{counts[i], 0};
    SAFEARRAY* array = ::SafeArrayCreate(elementType, dimensions, bounds.data());
    if (!array) return E_OUTOFMEMORY;
    VARIANT& raw = value_.get();
    raw.vt = static_cast<VARTYPE>(elementType | VT_ARRAY);
    raw.parray = array;
    return S_OK;
}

bool VariantArray::PutElement(LONG index, void* value) {
    SAFEARRAY* array = Array();
    return array && SUCCEEDED(::SafeArrayPutElement(array, &index, value));
}

bool VariantArray::GetElement(LONG index, void* value) const {
    SAFEARRAY* array = Array();
    return array && SUCCEEDED(::SafeArrayGetElement(array, &index, value));
}

HRESULT VariantArray::Redim(ULONG count) {
    SAFEARRAY* array = Array();
    if (!array) return E_UNEXPECTED;
    SAFEARRAYBOUND bound{count, 0};
    return ::SafeArrayRedim(array, &bound);
}

void VariantArray::Detach(VARIANT* target) noexcept { value_.release(target); }

SAFEARRAY* VariantArray::Array() const noexcept {
    const VARIANT& raw = value_.get();
    return (raw.vt & VT_ARRAY) ? raw.parray : nullptr;
}

}  // namespace values
