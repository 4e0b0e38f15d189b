#include "com/TypeInfoCache.h"

#include <mutex>
#include <utility>
#include <vector>

#include "com/ComError.h"
#include "com/ComPtr.h"
#include "com/ModuleState.h"

namespace com::TypeInfoCache {
namespace {

std::mutex cacheMutex;
ComPtr<ITypeLib> library;
std::vector<std::pair<IID, ComPtr<ITypeInfo>>> infos;

ITypeLib* Library() {
    if (!library) {
        // Resources come from the module whose state the caller entered, never from the host.
        const ModuleState* state = CurrentModuleState();
        if (!state) throw ComError(E_UNEXPECTED);
        wchar_t path[MAX_PATH];
        const DWORD length = ::GetModuleFileNameW(state->resourceInstance, path, MAX_PATH);
        if (length == 0 || length == MAX_PATH) throw ComError(HRESULT_FROM_WIN32(::GetLastError()));
        ThrowIfFailed(::LoadTypeLibEx(path, REGKIND_NONE, library.put()));
    }
    return library.get();
}

}  // namespace

ITypeInfo* Get(const IID& iid) {
    std::lock_guard<std::mutex> lock(cacheMutex);
    for (const auto& entry : infos) {
        if (::IsEqualGUID(entry.first, iid)) return entry.second.get();
    }
    ComPtr<ITypeInfo> info;
    ThrowIfFailed(Library()->GetTypeInfoOfGuid(iid, info.put()));
    infos.emplace_back(iid, info);
    return info.get();
}

void Clear() noexcept {
    std::lock_guard<std::mutex> lock(cacheMutex);
    infos.clear();
    library.reset();
}

}  // namespace com::TypeInfoCache
