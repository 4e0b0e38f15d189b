#pragma once

// The library's interfaces as the type library declares them, and the parent of each, from which
// QueryInterface answers an object's whole interface chain.
#include "com/Platform.h"

#include "QnPropStorage.h"
#include "com/InterfaceChain.h"

namespace com {
template <> struct InterfaceParent<IQnPSObject> { using type = IDispatch; };
template <> struct InterfaceParent<IQnPSCollection> { using type = IQnPSObject; };
template <> struct InterfaceParent<IQnPSColumnDef> { using type = IQnPSObject; };
template <> struct InterfaceParent<IQnPSColumnDefCollection> { using type = IQnPSCollection; };
template <> struct InterfaceParent<IQnPSColumnDefCollection1> { using type = IQnPSColumnDefCollection; };
template <> struct InterfaceParent<IQnPSProperty> { using type = IQnPSObject; };
template <> struct InterfaceParent<IQnPSRow> { using type = IQnPSCollection; };
template <> struct InterfaceParent<IQnPSRowCollection> { using type = IQnPSCollection; };
template <> struct InterfaceParent<IQnPSTable> { using type = IQnPSObject; };
template <> struct InterfaceParent<IQnPropertyStorage> { using type = IQnPSObject; };
}  // namespace com
