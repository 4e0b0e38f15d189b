#pragma once

#include "com/Platform.h"

#include <type_traits>

namespace com {

// The interface an interface derives from. Each interface the library implements names its
// parent, so QueryInterface can answer the whole chain from one template.
template <class Interface>
struct InterfaceParent;

template <>
struct InterfaceParent<IDispatch> {
    using type = IUnknown;
};
template <>
struct InterfaceParent<IEnumVARIANT> {
    using type = IUnknown;
};
template <>
struct InterfaceParent<ISequentialStream> {
    using type = IUnknown;
};
template <>
struct InterfaceParent<IStream> {
    using type = ISequentialStream;
};
template <>
struct InterfaceParent<IClassFactory> {
    using type = IUnknown;
};

template <class Interface>
bool IsInInterfaceChain(REFIID riid) noexcept {
    if (::IsEqualGUID(riid, __uuidof(Interface))) return true;
    if constexpr (std::is_same_v<Interface, IUnknown>) {
        return false;
    } else {
        return IsInInterfaceChain<typename InterfaceParent<Interface>::type>(riid);
    }
}

}  // namespace com
