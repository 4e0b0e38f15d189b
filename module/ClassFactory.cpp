#include "module/ClassFactory.h"

#include "com/ErrorBoundary.h"
#include "module/CQnPropStorage.h"

namespace module {
namespace {

// The one creatable class: its factory is a static object that needs no reference counting.
ClassFactory propStorageFactory;

}  // namespace

IClassFactory* FindClassObject(REFCLSID clsid) noexcept {
    return ::IsEqualCLSID(clsid, CLSID_CQnPropStorage) ? &propStorageFactory : nullptr;
}

STDMETHODIMP ClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** object) {
    return com::RunGuarded([&] {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        return com::MakeObject<CQnPropStorage>()->QueryInterface(riid, object);
    });
}

STDMETHODIMP ClassFactory::LockServer(BOOL lock) {
    if (lock) {
        com::ModuleLock::Lock();
    } else {
        com::ModuleLock::Unlock();
    }
    return S_OK;
}

}  // namespace module
