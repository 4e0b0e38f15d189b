#pragma once

#include "com/Platform.h"

namespace module {

// The class object of CQnPropStorage. It is static: its references do not count, while
// LockServer does.
class ClassFactory final : public IClassFactory {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** object) override;
    STDMETHODIMP LockServer(BOOL lock) override;
};

// The class object for a class identifier, or null for a class the module does not serve.
IClassFactory* FindClassObject(REFCLSID clsid) noexcept;

}  // namespace module
