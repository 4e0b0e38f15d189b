#include "model/VariantHash.h"

#include <cmath>
#include <cstring>
#include <memory>

namespace model {
namespace {

std::uint64_t Mix(std::uint64_t value) noexcept {
    value ^= value >> 30;
    value *= 0xbf58476d1ce4e5b9ULL;
    value ^= value >> 27;
    value *= 0x94d049bb133111ebULL;
    return value ^ (value >> 31);
}

std::uint64_t Combine(VARTYPE type, std::uint64_t payload) noexcept {
    return Mix(payload ^ Mix(type));
}

std::uint64_t BytesHash(const unsigned char* bytes, size_t count) noexcept {
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (size_t i = 0; i < count; ++i) hash = (hash ^ bytes[i]) * 0x100000001b3ULL;
    return hash;
}

// Exact as long as the comparison is; equal numbers of one type convert to the same double even
// if the comparison went through doubles, and both zeros become one.
bool NumberHash(double number, std::uint64_t& payload) noexcept {
    if (std::isnan(number)) return false;
    if (number == 0) number = 0;
    std::memcpy(&payload, &number, sizeof payload);
    return true;
}

// Text compares by the locale's rules: case, accents, width, expansions such as ß and ss, and
// characters the locale ignores. Its sort key encodes exactly those rules, and text the locale
// calls equal has one key; only the key's primary weights (up to the first level separator) are
// hashed, so a disagreement between the key and the comparison at the finer levels cannot split
// equal text, it merely puts case variants in one bucket.
bool TextHash(BSTR text, std::uint64_t& payload) noexcept {
    const int length = static_cast<int>(::SysStringLen(text));
    if (length == 0) {
        payload = BytesHash(nullptr, 0);
        return true;
    }
    unsigned char local[512];
    unsigned char* key = local;
    std::unique_ptr<unsigned char[]> heap;
    int size = ::LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_SORTKEY, text, length, reinterpret_cast<LPWSTR>(local),
                              sizeof local);
    if (size == 0 && ::GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
        const int needed = ::LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_SORTKEY, text, length, nullptr, 0);
        if (needed <= 0) return false;
        heap.reset(new (std::nothrow) unsigned char[needed]);
        if (!heap) return false;
        key = heap.get();
        size = ::LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_SORTKEY, text, length, reinterpret_cast<LPWSTR>(key),
                              needed);
    }
    if (size <= 0) return false;
    const void* separator = std::memchr(key, 1, static_cast<size_t>(size));
    const size_t primary = separator ? static_cast<const unsigned char*>(separator) - key : static_cast<size_t>(size);
    payload = BytesHash(key, primary);
    return true;
}

}  // namespace

bool EqualityHash(const VARIANT& value, std::uint64_t& hash) noexcept {
    std::uint64_t payload = 0;
    switch (value.vt) {
        case VT_I1: payload = static_cast<std::uint8_t>(value.cVal); break;
        case VT_UI2: payload = value.uiVal; break;
        case VT_UI4: payload = value.ulVal; break;
        case VT_UI8: payload = value.ullVal; break;
        case VT_UI1: payload = value.bVal; break;
        case VT_I2: payload = static_cast<std::uint64_t>(value.iVal); break;
        case VT_I4: payload = static_cast<std::uint64_t>(value.lVal); break;
        case VT_INT: payload = static_cast<std::uint64_t>(value.intVal); break;
        case VT_UINT: payload = value.uintVal; break;
        // Whether or not the comparison keeps all 64 bits, equal values stay equal as doubles.
        case VT_I8:
            if (!NumberHash(static_cast<double>(value.llVal), payload)) return false;
            break;
        // Any true is one bucket, in case the comparison does not tell -1 from other true values.
        case VT_BOOL: payload = value.boolVal != 0; break;
        // A NaN is hashed with nothing: whatever the comparison makes of it, it is compared with all.
        case VT_R4:
            if (!NumberHash(value.fltVal, payload)) return false;
            break;
        case VT_R8:
            if (!NumberHash(value.dblVal, payload)) return false;
            break;
        case VT_BSTR:
            if (!TextHash(value.bstrVal, payload)) return false;
            break;
        // Dates, currency, decimals, errors, objects, arrays and references: the type alone, so
        // these are compared with every value of their type, as before.
        default: break;
    }
    hash = Combine(value.vt, payload);
    return true;
}

}  // namespace model
