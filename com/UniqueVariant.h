#pragma once

#include "com/Platform.h"

#include <utility>

#include "com/ComError.h"

namespace com {

// VariantCopy into an initialised or cleared target; the platform header takes the source as
// non-const although it never writes it.
inline HRESULT CopyVariant(VARIANT* target, const VARIANT& source) noexcept {
    return ::VariantCopy(target, const_cast<VARIANT*>(&source));
}

// Owner of one VARIANT: initialised empty, cleared when reset or destroyed. It contains the VARIANT
// rather than deriving from it, so a raw VARIANT never leaks out by slicing.
class UniqueVariant {
public:
    UniqueVariant() noexcept { ::VariantInit(&value_); }
    UniqueVariant(UniqueVariant&& other) noexcept : value_(other.value_) { ::VariantInit(&other.value_); }
    UniqueVariant& operator=(UniqueVariant&& other) noexcept {
        if (this != &other) {
            reset();
            value_ = other.value_;
            ::VariantInit(&other.value_);
        }
        return *this;
    }
    UniqueVariant(const UniqueVariant&) = delete;
    UniqueVariant& operator=(const UniqueVariant&) = delete;
    ~UniqueVariant() { reset(); }

    // A deep copy of any variant; a by-reference variant stays by reference. Throws on failure.
    static UniqueVariant CopyOf(const VARIANT& source) {
        UniqueVariant copy;
        ThrowIfFailed(CopyVariant(&copy.value_, source));
        return copy;
    }

    const VARIANT& get() const noexcept { return value_; }
    VARIANT& get() noexcept { return value_; }
    VARTYPE type() const noexcept { return value_.vt; }

    void reset() noexcept {
        // An empty value owns nothing: the reader alone would otherwise make several platform calls
        // per cell for nothing.
        if (value_.vt == VT_EMPTY) return;
        ::VariantClear(&value_);
        ::VariantInit(&value_);
    }
    // Clears the value and gives its address for an out-parameter to fill.
    VARIANT* put() noexcept {
        reset();
        return &value_;
    }
    // Moves the value into a caller's VARIANT, which must hold nothing that needs freeing.
    void release(VARIANT* target) noexcept {
        *target = value_;
        ::VariantInit(&value_);
    }
    void swap(UniqueVariant& other) noexcept { std::swap(value_, other.value_); }

private:
    VARIANT value_;
};

}  // namespace com
