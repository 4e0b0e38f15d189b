#include "module/RuntimeReadiness.h"

#include <cstddef>

#include "com/ModuleState.h"

// The library is linked with --wrap=malloc, so the runtime's own calls of malloc come here.
extern "C" void* __real_malloc(std::size_t size);

namespace {

volatile bool refuseNextAllocation = false;

}  // namespace

extern "C" void* __wrap_malloc(std::size_t size) {
    if (refuseNextAllocation) {
        refuseNextAllocation = false;
        return nullptr;
    }
    return __real_malloc(size);
}

namespace module {

void PrepareRuntime() noexcept {
    // An exception thrown when memory has run out comes from the runtime's emergency pool, whose
    // lock is made on first use, with memory. Left until then, that fails too, and its own
    // failure throws again, until the stack is gone. One throw whose allocation is refused goes
    // through the pool now and leaves the lock made.
    refuseNextAllocation = true;
    try {
        throw 0;
    } catch (int) {
    }
    refuseNextAllocation = false;
    com::PrepareThreadForExceptions();
}

}  // namespace module
