// The four entry points of the in-process server.
#include <string>

#include "com/ComPtr.h"
#include "com/ErrorBoundary.h"
#include "com/TypeInfoCache.h"
#include "model/Interfaces.h"
#include "module/AppIdentity.h"
#include "module/CQnPropStorageApp.h"
#include "module/ClassFactory.h"
#include "module/Registrar.h"

namespace {

using module::CQnPropStorageApp;

// Single quotes end a string in the registrar's script, so the path doubles them.
std::wstring EscapeForScript(const wchar_t* text) {
    std::wstring escaped;
    for (const wchar_t* c = text; *c; ++c) {
        escaped.push_back(*c);
        if (*c == L'\'') escaped.push_back(L'\'');
    }
    return escaped;
}

HRESULT RunRegistrationScript(bool registering) {
    wchar_t path[MAX_PATH];
    if (!CQnPropStorageApp::ModulePath(path, MAX_PATH)) return HRESULT_FROM_WIN32(::GetLastError());
    com::ComPtr<IRegistrar> registrar;
    HRESULT hr = ::CoCreateInstance(module::kRegistrarClsid, nullptr, CLSCTX_INPROC_SERVER,
                                    __uuidof(IRegistrar), registrar.put_void());
    if (FAILED(hr)) return hr;
    // An in-process server's path needs no surrounding quotes; an escaped one is quoted enough.
    const std::wstring escaped = EscapeForScript(path);
    if (FAILED(hr = registrar->AddReplacement(L"MODULE", escaped.c_str()))) return hr;
    if (FAILED(hr = registrar->AddReplacement(L"MODULE_RAW", escaped.c_str()))) return hr;
    if (FAILED(hr = registrar->AddReplacement(L"APPID", module::kAppId))) return hr;
    return registering ? registrar->ResourceRegister(path, module::kRegistryScriptId, L"REGISTRY")
                       : registrar->ResourceUnregister(path, module::kRegistryScriptId, L"REGISTRY");
}

HRESULT RegisterTypeLibrary() {
    wchar_t path[MAX_PATH];
    if (!CQnPropStorageApp::ModulePath(path, MAX_PATH)) return HRESULT_FROM_WIN32(::GetLastError());
    com::ComPtr<ITypeLib> library;
    HRESULT hr = ::LoadTypeLibEx(path, REGKIND_NONE, library.put());
    if (FAILED(hr)) return hr;
    return ::RegisterTypeLib(library.get(), path, nullptr);
}

// A 32-bit and a 64-bit build may be registered side by side: each removes only its own kind.
constexpr SYSKIND kOwnSysKind = sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32;

HRESULT UnregisterTypeLibrary() {
    const HRESULT hr = ::UnRegisterTypeLib(LIBID_QnPropStorageLib, 1, 0, LOCALE_NEUTRAL, kOwnSysKind);
    // Nothing registered is what unregistering wants: a second removal succeeds too.
    if (hr == E_INVALIDARG || hr == TYPE_E_REGISTRYACCESS || hr == TYPE_E_CANTLOADLIBRARY) return S_OK;
    return hr;
}

}  // namespace

STDAPI DllCanUnloadNow() {
    return com::RunGuarded([] {
        if (com::ModuleLock::Count() != 0) return S_FALSE;
        com::TypeInfoCache::Clear();
        return S_OK;
    });
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
    return com::RunGuarded([&] {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        IClassFactory* factory = module::FindClassObject(rclsid);
        if (!factory) return CLASS_E_CLASSNOTAVAILABLE;
        return factory->QueryInterface(riid, ppv);
    });
}

STDAPI DllRegisterServer() {
    return com::RunGuarded([] {
        const HRESULT hr = RunRegistrationScript(true);
        return FAILED(hr) ? hr : RegisterTypeLibrary();
    });
}

STDAPI DllUnregisterServer() {
    return com::RunGuarded([] {
        const HRESULT hr = RunRegistrationScript(false);
        return FAILED(hr) ? hr : UnregisterTypeLibrary();
    });
}
