#pragma once

#include "com/Platform.h"

#include <cstddef>

#include "com/Bstr.h"

namespace values {

// Exact text of little-endian binary values: two upper-case hexadecimal digits per byte, the last
// byte first, so an 8-byte double reads as its IEEE bit pattern, most significant digit first.
com::UniqueBstr BytesToHex(const BYTE* bytes, size_t count);

// Reads what BytesToHex wrote. A text shorter than 2 * count characters (or null) is invalid:
// the bytes are then all zero and the answer is false. Lower-case digits are not recognised and
// give wrong bytes rather than an error; the documents this reads are written in upper case.
bool HexToBytes(const wchar_t* text, BYTE* bytes, size_t count);

com::UniqueBstr DoubleToHex(double value);
// A short or null text reads as 0.0.
double HexToDouble(const wchar_t* text);

}  // namespace values
