#include "com/ModuleState.h"

namespace com {
namespace {

ModuleState ownState;
thread_local ModuleState* currentState = nullptr;
volatile LONG lockCount = 0;

}  // namespace

ModuleState& OwnModuleState() noexcept { return ownState; }
ModuleState* CurrentModuleState() noexcept { return currentState; }

ModuleStateGuard::ModuleStateGuard() noexcept : previous_(currentState) { currentState = &ownState; }
ModuleStateGuard::~ModuleStateGuard() { currentState = previous_; }

namespace ModuleLock {
// Objects are apartment-bound, but each apartment has its own thread, so the shared count is
// interlocked.
void Lock() noexcept { ::InterlockedIncrement(&lockCount); }
void Unlock() noexcept { ::InterlockedDecrement(&lockCount); }
long Count() noexcept { return lockCount; }
}  // namespace ModuleLock

}  // namespace com
