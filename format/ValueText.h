#pragma once

#include "com/Bstr.h"
#include "com/UniqueVariant.h"
#include "model/Interfaces.h"

// How cell values are written as attribute text, and read back, by the type of their column.
namespace format {

// String: the value as text; Int: as a 32-bit integer; Date and Double: the 16 hexadecimal digits
// of the double; Bool: "1" or "0" from the value's 16-bit boolean field, unconverted; any other
// type: the empty text. A conversion that fails is thrown.
com::UniqueBstr EncodeValue(const VARIANT& value, qnpsPropertyType type);

// Int: VT_I4 of the leading digits; Date and Double: VT_R8 from the hexadecimal digits; Bool:
// VT_I2, 0 for "0" and -1 for anything else; any other type: the text as VT_BSTR.
// The text is taken over: a String value keeps it as it is.
com::UniqueVariant DecodeValue(com::UniqueBstr text, qnpsPropertyType type);

}  // namespace format
