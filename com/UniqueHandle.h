#pragma once

#include "com/Platform.h"

#include <utility>

namespace com {

// Owner of a resource reached through a pointer-like handle and freed by one close function
// (BSTR by SysFreeString, a module by FreeLibrary). Move-only; a null handle owns nothing.
template <class Handle, auto Close>
class UniqueHandle {
public:
    UniqueHandle() noexcept = default;
    explicit UniqueHandle(Handle handle) noexcept : handle_(handle) {}
    UniqueHandle(UniqueHandle&& other) noexcept : handle_(other.detach()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        if (this != &other) reset(other.detach());
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    ~UniqueHandle() { reset(); }

    Handle get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != nullptr; }

    void reset(Handle handle = nullptr) noexcept {
        Handle old = std::exchange(handle_, handle);
        if (old) Close(old);
    }
    // Hands the handle over to the caller, who then frees it.
    [[nodiscard]] Handle detach() noexcept { return std::exchange(handle_, nullptr); }
    // Frees the current handle and gives the address for an out-parameter to fill.
    Handle* put() noexcept {
        reset();
        return &handle_;
    }
    void swap(UniqueHandle& other) noexcept { std::swap(handle_, other.handle_); }

private:
    Handle handle_ = nullptr;
};

// Memory the system allocated for the caller and left to it to free: FormatMessage's text,
// CommandLineToArgvW's list.
template <class T>
using UniqueLocalMemory = UniqueHandle<T*, &::LocalFree>;

}  // namespace com
