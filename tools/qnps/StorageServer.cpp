#include "StorageServer.h"

#include "ToolError.h"

namespace qnps {
namespace {

std::wstring OwnFolder() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            break;
        }
        path.resize(path.size() * 2);
    }
    const size_t slash = path.find_last_of(L"\\/");
    return slash == std::wstring::npos ? std::wstring() : path.substr(0, slash + 1);
}

}  // namespace

StorageServer::StorageServer() {
    const HRESULT registered = ::CoCreateInstance(CLSID_CQnPropStorage, nullptr, CLSCTX_INPROC_SERVER,
                                                  __uuidof(IQnPropertyStorage), storage_.put_void());
    if (SUCCEEDED(registered)) return;
    if (LoadUnregistered(OwnFolder() + L"QnPropStorage.dll")) return;
    throw ToolError("QnPropStorage.dll is neither registered nor found beside qnps.exe", registered);
}

bool StorageServer::LoadUnregistered(const std::wstring& path) {
    com::UniqueHandle<HMODULE, &::FreeLibrary> module(::LoadLibraryW(path.c_str()));
    if (!module) return false;
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const auto getClassObject =
        reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(::GetProcAddress(module.get(), "DllGetClassObject")));
    if (!getClassObject) return false;
    com::ComPtr<IClassFactory> factory;
    if (FAILED(getClassObject(CLSID_CQnPropStorage, IID_IClassFactory, factory.put_void()))) return false;
    if (FAILED(factory->CreateInstance(nullptr, __uuidof(IQnPropertyStorage), storage_.put_void()))) return false;
    factory.reset();
    module_ = std::move(module);
    return true;
}

}  // namespace qnps
