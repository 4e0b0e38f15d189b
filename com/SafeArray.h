#pragma once

#include "com/Platform.h"

#include "com/ComError.h"

namespace com {

// The elements of a safe array, locked for direct access for one scope (AccessData paired with
// UnaccessData on every path).
template <class Element>
class SafeArrayData {
public:
    explicit SafeArrayData(SAFEARRAY* array) : array_(array) {
        ThrowIfFailed(::SafeArrayAccessData(array_, reinterpret_cast<void**>(&data_)));
    }
    ~SafeArrayData() { ::SafeArrayUnaccessData(array_); }
    SafeArrayData(const SafeArrayData&) = delete;
    SafeArrayData& operator=(const SafeArrayData&) = delete;

    Element& operator[](size_t index) noexcept { return data_[index]; }

private:
    SAFEARRAY* array_;
    Element* data_ = nullptr;
};

}  // namespace com
