#pragma once

#include "com/Platform.h"

namespace com {

// ISupportErrorInfo for an object that reports errors on the listed interfaces. It lives apart from
// the object (made only when asked for) and is one face of it: identity and lifetime are the
// owner's.
template <class... Interfaces>
class CTvSupportErrorInfo final : public ISupportErrorInfo {
public:
    explicit CTvSupportErrorInfo(IUnknown* owner) noexcept : owner_(owner) {}
    CTvSupportErrorInfo(const CTvSupportErrorInfo&) = delete;
    CTvSupportErrorInfo& operator=(const CTvSupportErrorInfo&) = delete;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override { return owner_->QueryInterface(riid, object); }
    STDMETHODIMP_(ULONG) AddRef() override { return owner_->AddRef(); }
    // May destroy the owner, and this face with it: nothing of this object is touched afterwards.
    STDMETHODIMP_(ULONG) Release() override { return owner_->Release(); }

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override {
        return ((::IsEqualGUID(riid, __uuidof(Interfaces))) || ...) ? S_OK : S_FALSE;
    }

private:
    IUnknown* owner_;
};

}  // namespace com
