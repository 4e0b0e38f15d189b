#include "values/HexText.h"

#include <cstring>
#include <cwchar>
#include <string>

namespace values {
namespace {

wchar_t HexDigit(unsigned nibble) {
    return static_cast<wchar_t>(nibble < 10 ? L'0' + nibble : L'A' + (nibble - 10));
}

unsigned DigitValue(wchar_t digit) {
    return digit < L'A' ? static_cast<unsigned>(digit) - 48u : static_cast<unsigned>(digit) - 55u;
}

}  // namespace

com::UniqueBstr BytesToHex(const BYTE* bytes, size_t count) {
    std::wstring text;
    text.reserve(count * 2);
    for (size_t i = count; i-- > 0;) {
        text.push_back(HexDigit(bytes[i] >> 4));
        text.push_back(HexDigit(bytes[i] & 0x0F));
    }
    return com::CopyText(text.c_str());
}

bool HexToBytes(const wchar_t* text, BYTE* bytes, size_t count) {
    const bool valid = text && std::wcslen(text) >= count * 2;
    const wchar_t* digit = text;
    for (size_t i = count; i-- > 0;) {
        if (valid) {
            bytes[i] = static_cast<BYTE>(DigitValue(digit[0]) * 16 + DigitValue(digit[1]));
            digit += 2;
        } else {
            bytes[i] = 0;
        }
    }
    return valid;
}

com::UniqueBstr DoubleToHex(double value) {
    BYTE bytes[sizeof(double)];
    std::memcpy(bytes, &value, sizeof bytes);
    return BytesToHex(bytes, sizeof bytes);
}

double HexToDouble(const wchar_t* text) {
    BYTE bytes[sizeof(double)];
    HexToBytes(text, bytes, sizeof bytes);
    double value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

}  // namespace values
