#pragma once

#include "com/Platform.h"

namespace com {

// The library's own framework state: which module its resources (type library, registration
// script) come from. The library runs inside a host's process, so each entry switches the calling
// thread to this state and back, and nothing reads resources from the host by accident.
struct ModuleState {
    HINSTANCE resourceInstance = nullptr;
};

// The state of the module that this code was linked into; its instance is set once at load.
ModuleState& OwnModuleState() noexcept;
// The state the calling thread is in, or null outside every entry of the library.
ModuleState* CurrentModuleState() noexcept;

// Makes the calling thread able to throw when memory has run out; cheap after its first call.
void PrepareThreadForExceptions() noexcept;

// Enters the library's module state for one scope and restores the caller's state on every path.
class ModuleStateGuard {
public:
    ModuleStateGuard() noexcept;
    ~ModuleStateGuard();
    ModuleStateGuard(const ModuleStateGuard&) = delete;
    ModuleStateGuard& operator=(const ModuleStateGuard&) = delete;

private:
    ModuleState* previous_;
};

// The count of live objects and server locks; non-zero keeps the module loaded.
namespace ModuleLock {
void Lock() noexcept;
void Unlock() noexcept;
long Count() noexcept;
}  // namespace ModuleLock

}  // namespace com
