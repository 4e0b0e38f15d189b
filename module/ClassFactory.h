#pragma once

#include "com/Platform.h"

#include "com/UnknownObject.h"

namespace module {

// The class object of CQnPropStorage. It is static: its references do not count, while
// LockServer does.
class ClassFactory final : public com::UnknownObject<IClassFactory, com::Lifetime::kStatic> {
public:
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** object) override;
    STDMETHODIMP LockServer(BOOL lock) override;
};

// The class object for a class identifier, or null for a class the module does not serve.
IClassFactory* FindClassObject(REFCLSID clsid) noexcept;

}  // namespace module
