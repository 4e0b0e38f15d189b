#include "com/ModuleState.h"

namespace com {
namespace {

// Thread slots of the system rather than thread_local: the runtime allocates a thread_local on a
// thread's first use and ends the process when that allocation fails.
class ThreadSlot {
public:
    ThreadSlot() noexcept : index_(::TlsAlloc()) {}
    ~ThreadSlot() {
        if (index_ != TLS_OUT_OF_INDEXES) ::TlsFree(index_);
    }
    void* Get() const noexcept { return index_ != TLS_OUT_OF_INDEXES ? ::TlsGetValue(index_) : nullptr; }
    void Set(void* value) const noexcept {
        if (index_ != TLS_OUT_OF_INDEXES) ::TlsSetValue(index_, value);
    }

private:
    DWORD index_;
};

ModuleState ownState;
const ThreadSlot currentState;
const ThreadSlot threadPrepared;
volatile LONG lockCount = 0;

}  // namespace

ModuleState& OwnModuleState() noexcept { return ownState; }
ModuleState* CurrentModuleState() noexcept { return static_cast<ModuleState*>(currentState.Get()); }

void PrepareThreadForExceptions() noexcept {
    if (threadPrepared.Get()) return;
    // The runtime keeps a thread's exception state in memory it allocates at the thread's first
    // throw, and ends the process if it cannot: that first throw is made here, before anything can
    // fail for want of memory.
    try {
        throw 0;
    } catch (int) {
    }
    threadPrepared.Set(&ownState);
}

ModuleStateGuard::ModuleStateGuard() noexcept : previous_(CurrentModuleState()) {
    PrepareThreadForExceptions();
    currentState.Set(&ownState);
}
ModuleStateGuard::~ModuleStateGuard() { currentState.Set(previous_); }

namespace ModuleLock {
// Objects are apartment-bound, but each apartment has its own thread, so the shared count is
// interlocked.
void Lock() noexcept { ::InterlockedIncrement(&lockCount); }
void Unlock() noexcept { ::InterlockedDecrement(&lockCount); }
long Count() noexcept { return lockCount; }
}  // namespace ModuleLock

}  // namespace com
