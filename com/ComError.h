#pragma once

#include "com/Platform.h"

#include <exception>
#include <memory>
#include <new>
#include <string>

namespace com {

// The one exception type the library throws for a failing platform call; the error boundary turns
// it back into its HRESULT. Running out of memory is never a ComError but std::bad_alloc, as `new`
// throws it, so that handlers need to know one form only.
class ComError : public std::exception {
public:
    explicit ComError(HRESULT code) noexcept : code_(code) {}
    // With a text for the error record, where the code alone would not tell the caller enough.
    ComError(HRESULT code, std::shared_ptr<const std::wstring> description) noexcept
        : code_(code), description_(std::move(description)) {}

    HRESULT Code() const noexcept { return code_; }
    // Null when the code's system message is description enough.
    const wchar_t* Description() const noexcept { return description_ ? description_->c_str() : nullptr; }
    const char* what() const noexcept override { return "COM call failed"; }

private:
    HRESULT code_;
    std::shared_ptr<const std::wstring> description_;
};

[[noreturn]] inline void ThrowOutOfMemory() { throw std::bad_alloc(); }

inline void ThrowIfFailed(HRESULT hr) {
    if (hr == E_OUTOFMEMORY) ThrowOutOfMemory();
    if (FAILED(hr)) throw ComError(hr);
}

}  // namespace com
