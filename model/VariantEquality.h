#pragma once

#include "com/Platform.h"

namespace model {

// Equality of cell values: same variant type first, no conversion (the integer 5 never equals the
// double 5.0 or the text "5"); text compares with case under the user's locale. Column names and
// row identifiers, by contrast, match without regard to case.
bool VariantsEqual(const VARIANT& stored, const VARIANT& given) noexcept;

}  // namespace model
