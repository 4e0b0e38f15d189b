#pragma once

#include <cstdint>

#include "com/Platform.h"

namespace model {

// A hash that agrees with VariantsEqual: two values it calls equal always hash alike, so a lookup
// need only confirm equality within one bucket. False when the value has no hash that can be
// trusted; such a value must be compared with every other.
bool EqualityHash(const VARIANT& value, std::uint64_t& hash) noexcept;

}  // namespace model
