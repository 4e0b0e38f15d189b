#pragma once

#include "com/Platform.h"

#include <exception>
#include <memory>
#include <string>

namespace com {

// The one exception type the library throws for a failing platform call; the error boundary turns
// it back into its HRESULT.
class ComError : public std::exception {
public:
    explicit ComError(HRESULT code, const IID& source = GUID_NULL) noexcept
        : code_(code), source_(source) {}
    // With a text for the error record, where the code alone would not tell the caller enough.
    ComError(HRESULT code, std::shared_ptr<const std::wstring> description) noexcept
        : code_(code), source_(GUID_NULL), description_(std::move(description)) {}

    HRESULT Code() const noexcept { return code_; }
    const IID& Source() const noexcept { return source_; }
    // Null when the code's system message is description enough.
    const wchar_t* Description() const noexcept { return description_ ? description_->c_str() : nullptr; }
    const char* what() const noexcept override { return "COM call failed"; }

private:
    HRESULT code_;
    IID source_;
    std::shared_ptr<const std::wstring> description_;
};

inline void ThrowIfFailed(HRESULT hr, const IID& source = GUID_NULL) {
    if (FAILED(hr)) throw ComError(hr, source);
}

[[noreturn]] inline void ThrowOutOfMemory() { throw ComError(E_OUTOFMEMORY); }

}  // namespace com
