#pragma once

#include "com/Platform.h"

#include <new>

#include "com/ComError.h"
#include "com/ModuleState.h"

namespace com {

// The edge of the library: every entry point, exported function and interface member alike, runs
// its body here. Inside, code throws; here the body runs in the module's state, and whatever it
// throws becomes its HRESULT, passed through `onFailure(code, description)` so that an object can
// record the failure for ISupportErrorInfo. Nothing is thrown across an interface.
template <class Body, class OnFailure>
HRESULT RunGuarded(Body&& body, OnFailure&& onFailure) noexcept {
    ModuleStateGuard state;
    try {
        return body();
    } catch (const ComError& error) {
        return onFailure(error.Code(), error.Description());
    } catch (const std::bad_alloc&) {
        return onFailure(E_OUTOFMEMORY, nullptr);
    } catch (...) {
        return onFailure(E_UNEXPECTED, nullptr);
    }
}

// For entry points that keep no error record of their own.
template <class Body>
HRESULT RunGuarded(Body&& body) noexcept {
    return RunGuarded(static_cast<Body&&>(body), [](HRESULT code, const wchar_t*) noexcept { return code; });
}

}  // namespace com
