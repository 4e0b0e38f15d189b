#include "module/CQnPropStorageApp.h"

#include "com/ModuleState.h"
#include "module/RuntimeReadiness.h"

namespace module {

void CQnPropStorageApp::InitInstance(HINSTANCE instance) noexcept {
    com::OwnModuleState().resourceInstance = instance;
}

HINSTANCE CQnPropStorageApp::Instance() noexcept { return com::OwnModuleState().resourceInstance; }

bool CQnPropStorageApp::ModulePath(wchar_t* path, DWORD capacity) noexcept {
    const DWORD length = ::GetModuleFileNameW(Instance(), path, capacity);
    return length > 0 && length < capacity;
}

}  // namespace module

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        module::CQnPropStorageApp::InitInstance(instance);
        module::PrepareRuntime();
        ::DisableThreadLibraryCalls(instance);
    }
    return TRUE;
}
