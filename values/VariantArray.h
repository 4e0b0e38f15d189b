#pragma once

#include "com/Platform.h"

#include "com/UniqueVariant.h"

namespace values {

// A one-dimensional safe array held in a VARIANT (element type | VT_ARRAY), the form in which
// arrays of values cross the automation interfaces. The holder owns the array until Detach.
class VariantArray {
public:
    VariantArray() noexcept = default;

    // `count` elements from index 0, copied from `data` when given: E_OUTOFMEMORY when the array
    // cannot be made, and thrown when the array, once made, refuses access for the copy.
    HRESULT Create(VARTYPE elementType, ULONG count, const void* data = nullptr);
    // Changes the element count, lower bound 0.
    HRESULT Redim(ULONG count);
    // Moves the whole VARIANT into `target` and leaves the holder empty.
    void Detach(VARIANT* target) noexcept;

    SAFEARRAY* Array() const noexcept;
    const VARIANT& get() const noexcept { return value_.get(); }

private:
    com::UniqueVariant value_;
};

}  // namespace values
