#pragma once

#include "com/Platform.h"

#include <exception>

namespace com {

// The one exception type the library throws for a failing platform call; the error boundary turns
// it back into its HRESULT.
class ComError : public std::exception {
public:
    explicit ComError(HRESULT code, const IID& source = GUID_NULL) noexcept
        : code_(code), source_(source) {}

    HRESULT Code() const noexcept { return code_; }
    const IID& Source() const noexcept { return source_; }
    const char* what() const noexcept override { return "COM call failed"; }

private:
    HRESULT code_;
    IID source_;
};

inline void ThrowIfFailed(HRESULT hr, const IID& source = GUID_NULL) {
    if (FAILED(hr)) throw ComError(hr, source);
}

[[noreturn]] inline void ThrowOutOfMemory() { throw ComError(E_OUTOFMEMORY); }

}  // namespace com
