#pragma once

#include "com/Platform.h"

#include <utility>

#include "com/Bstr.h"
#include "com/ComError.h"

namespace com {

// VariantCopy into an initialised or cleared target; the platform header takes the source as
// non-const although it never writes it.
inline HRESULT CopyVariant(VARIANT* target, const VARIANT& source) noexcept {
    return ::VariantCopy(target, const_cast<VARIANT*>(&source));
}

// A caller's out-parameter made empty without freeing what it held: its content is not ours.
inline void InitOut(VARIANT* out) noexcept { ::VariantInit(out); }

// Replaces a caller's in-out VARIANT, freeing what it held, with a copy of `source`.
inline HRESULT ReplaceWithCopy(VARIANT* target, const VARIANT& source) noexcept {
    ::VariantClear(target);
    return CopyVariant(target, source);
}

// A VARIANT that lends a string to one call without owning it: never clear it.
inline VARIANT BorrowedText(BSTR text) noexcept {
    VARIANT value;
    value.vt = VT_BSTR;
    value.bstrVal = text;
    return value;
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

    // Owners of the values the library makes itself; each holds its own reference or copy.
    static UniqueVariant Unknown(IUnknown* object) noexcept {
        if (object) object->AddRef();
        return Of(VT_UNKNOWN, &VARIANT::punkVal, object);
    }
    static UniqueVariant Dispatch(IDispatch* object) noexcept {
        if (object) object->AddRef();
        return Of(VT_DISPATCH, &VARIANT::pdispVal, object);
    }
    static UniqueVariant Text(UniqueBstr text) noexcept { return Of(VT_BSTR, &VARIANT::bstrVal, text.detach()); }
    static UniqueVariant Text(const wchar_t* text) { return Text(CopyText(text ? text : L"")); }
    static UniqueVariant Int(long value) noexcept { return Of(VT_I4, &VARIANT::lVal, value); }
    static UniqueVariant Short(short value) noexcept { return Of(VT_I2, &VARIANT::iVal, value); }
    static UniqueVariant Double(double value) noexcept { return Of(VT_R8, &VARIANT::dblVal, value); }
    static UniqueVariant Bool(bool value) noexcept {
        return Of(VT_BOOL, &VARIANT::boolVal, static_cast<VARIANT_BOOL>(value ? VARIANT_TRUE : VARIANT_FALSE));
    }
    // Adopts a safe array of `elementType` elements.
    static UniqueVariant Array(SAFEARRAY* array, VARTYPE elementType) noexcept {
        return Of(static_cast<VARTYPE>(elementType | VT_ARRAY), &VARIANT::parray, array);
    }
    // A copy of a value that may be held by reference, dereferenced; empty when it cannot be made.
    static UniqueVariant DereferencedCopyOrEmpty(const VARIANT& source) noexcept {
        UniqueVariant copy;
        if (FAILED(::VariantCopyInd(&copy.value_, const_cast<VARIANT*>(&source)))) copy.reset();
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
    // Hands a text value over as a string and leaves the owner empty; any other value gives null.
    UniqueBstr TakeText() noexcept {
        if (value_.vt != VT_BSTR) return UniqueBstr();
        UniqueBstr text(value_.bstrVal);
        ::VariantInit(&value_);
        return text;
    }
    // Moves the value into a caller's VARIANT, which must hold nothing that needs freeing.
    void detach(VARIANT* target) noexcept {
        *target = value_;
        ::VariantInit(&value_);
    }
    void swap(UniqueVariant& other) noexcept { std::swap(value_, other.value_); }

private:
    // One field of the variant set, then its type.
    template <class Field, class Value>
    static UniqueVariant Of(VARTYPE type, Field VARIANT::*field, Value value) noexcept {
        UniqueVariant result;
        result.value_.*field = value;
        result.value_.vt = type;
        return result;
    }

    VARIANT value_;
};

}  // namespace com
