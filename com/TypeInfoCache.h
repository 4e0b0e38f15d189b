#pragma once

#include "com/Platform.h"

namespace com {

// Type information of the library's own interfaces, read from the type library that the module
// carries as a resource. Loaded once, kept per interface.
namespace TypeInfoCache {
// A borrowed pointer, valid until Clear; throws the loader's failure.
ITypeInfo* Get(const IID& iid);
// Drops the cached library; called when the module agrees to unload.
void Clear() noexcept;
}  // namespace TypeInfoCache

}  // namespace com
