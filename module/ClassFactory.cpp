#include "module/ClassFactory.h"

#include <new>

#include "com/ModuleState.h"
#include "module/CQnPropStorage.h"

namespace module {
namespace {

// The one creatable class: its factory is a static object that needs no reference counting.
ClassFactory propStorageFactory;

}  // namespace

IClassFactory* FindClassObject(REFCLSID clsid) noexcept {
    return ::IsEqualCLSID(clsid, CLSID_CQnPropStorage) ? &propStorageFactory : nullptr;
}

STDMETHODIMP ClassFactory::QueryInterface(REFIID riid, void** object) {
    if (!object) return E_POINTER;
    if (::IsEqualIID(riid, IID_IUnknown) || ::IsEqualIID(riid, IID_IClassFactory)) {
        *object = static_cast<IClassFactory*>(this);
        return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
}

STDMETHODIMP ClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    com::ModuleStateGuard state;
    try {
        auto storage = com::MakeObject<CQnPropStorage>();
        return storage->QueryInterface(riid, object);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
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
