#pragma once

#include "com/Platform.h"

#include <utility>

#include "com/ComError.h"

namespace com {

// Counted interface pointer: AddRef on copy, Release on reset. `query` throws where `try_query`
// answers null.
template <class T>
class ComPtr {
public:
    ComPtr() noexcept = default;
    ComPtr(std::nullptr_t) noexcept {}
    // Takes a new reference on a borrowed pointer.
    explicit ComPtr(T* borrowed) noexcept : ptr_(borrowed) {
        if (ptr_) ptr_->AddRef();
    }
    ComPtr(const ComPtr& other) noexcept : ComPtr(other.ptr_) {}
    ComPtr(ComPtr&& other) noexcept : ptr_(other.detach()) {}
    ComPtr& operator=(const ComPtr& other) noexcept {
        ComPtr(other).swap(*this);
        return *this;
    }
    ComPtr& operator=(ComPtr&& other) noexcept {
        ComPtr(std::move(other)).swap(*this);
        return *this;
    }
    ~ComPtr() { reset(); }

    // Adopts a pointer that already carries the reference this owner will release.
    static ComPtr Attach(T* owned) noexcept {
        ComPtr result;
        result.ptr_ = owned;
        return result;
    }

    T* get() const noexcept { return ptr_; }
    T* operator->() const noexcept { return ptr_; }
    T& operator*() const noexcept { return *ptr_; }
    explicit operator bool() const noexcept { return ptr_ != nullptr; }

    void reset() noexcept {
        if (T* old = std::exchange(ptr_, nullptr)) old->Release();
    }
    T** put() noexcept {
        reset();
        return &ptr_;
    }
    void** put_void() noexcept { return reinterpret_cast<void**>(put()); }
    [[nodiscard]] T* detach() noexcept { return std::exchange(ptr_, nullptr); }
    void swap(ComPtr& other) noexcept { std::swap(ptr_, other.ptr_); }

    // Hands an added reference to an out-parameter.
    void copy_to(T** target) const noexcept {
        *target = ptr_;
        if (ptr_) ptr_->AddRef();
    }

    template <class U>
    ComPtr<U> try_query() const noexcept {
        ComPtr<U> result;
        if (ptr_) ptr_->QueryInterface(__uuidof(U), result.put_void());
        return result;
    }
    template <class U>
    ComPtr<U> query() const {
        if (!ptr_) throw ComError(E_POINTER);
        ComPtr<U> result;
        ThrowIfFailed(ptr_->QueryInterface(__uuidof(U), result.put_void()));
        return result;
    }

private:
    T* ptr_ = nullptr;
};

}  // namespace com
