#include "com/EnumVariant.h"

#include "com/ErrorBoundary.h"

namespace com {

ComPtr<IEnumVARIANT> EnumVariant::Create(Snapshot values) {
    auto shared = std::make_shared<const Snapshot>(std::move(values));
    return ComPtr<IEnumVARIANT>(new EnumVariant(std::move(shared), 0));
}

STDMETHODIMP EnumVariant::Next(ULONG count, VARIANT* values, ULONG* fetched) {
    if (fetched) *fetched = 0;
    if (count == 0) return S_OK;
    if (!values) return E_POINTER;
    if (count > 1 && !fetched) return E_INVALIDARG;
    ULONG copied = 0;
    for (; copied < count && position_ < values_->size(); ++copied, ++position_) {
        ::VariantInit(&values[copied]);
        const HRESULT hr = CopyVariant(&values[copied], (*values_)[position_].get());
        if (FAILED(hr)) {
            for (ULONG i = 0; i < copied; ++i) ::VariantClear(&values[i]);
            position_ -= copied;
            return hr;
        }
    }
    if (fetched) *fetched = copied;
    return copied == count ? S_OK : S_FALSE;
}

STDMETHODIMP EnumVariant::Skip(ULONG count) {
    const size_t remaining = values_->size() - position_;
    if (count > remaining) {
        position_ = values_->size();
        return S_FALSE;
    }
    position_ += count;
    return S_OK;
}

STDMETHODIMP EnumVariant::Reset() {
    position_ = 0;
    return S_OK;
}

STDMETHODIMP EnumVariant::Clone(IEnumVARIANT** clone) {
    if (!clone) return E_POINTER;
    *clone = nullptr;
    return RunGuarded([&] {
        ComPtr<IEnumVARIANT>(new EnumVariant(values_, position_)).copy_to(clone);
        return S_OK;
    });
}

}  // namespace com
