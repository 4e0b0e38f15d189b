#pragma once

#include "com/Platform.h"

#include <cwctype>
#include <string>

#include "com/ComError.h"
#include "com/UniqueHandle.h"

namespace com {

using UniqueBstr = UniqueHandle<BSTR, &::SysFreeString>;

inline UINT BstrLength(BSTR text) noexcept { return text ? ::SysStringLen(text) : 0; }
inline bool IsEmptyBstr(BSTR text) noexcept { return BstrLength(text) == 0; }

// Copies a zero-terminated text; a null text gives a null string. Throws std::bad_alloc.
inline UniqueBstr CopyText(const wchar_t* text) {
    if (!text) return UniqueBstr();
    UniqueBstr copy(::SysAllocString(text));
    if (!copy) ThrowOutOfMemory();
    return copy;
}

// Copies a string by its byte length, so embedded null characters survive. Never throws: a copy
// that cannot be made is a null string.
inline BSTR CopyBstrBytes(BSTR text) noexcept {
    if (!text) return nullptr;
    return ::SysAllocStringByteLen(reinterpret_cast<const char*>(text), ::SysStringByteLen(text));
}

// Case-insensitive, ordinal comparison of two names, as every name lookup of the library does it.
inline bool NamesEqual(const wchar_t* a, const wchar_t* b) noexcept { return _wcsicmp(a, b) == 0; }

// A name folded to lower case by the same character mapping that NamesEqual applies, so that two
// names are equal exactly when their folded forms are: a key for hashed name lookups.
inline std::wstring FoldedName(const wchar_t* name, size_t length) {
    std::wstring folded(name ? name : L"", name ? length : 0);
    for (wchar_t& c : folded) c = static_cast<wchar_t>(towlower(c));
    return folded;
}
inline std::wstring FoldedName(BSTR name) { return FoldedName(name, BstrLength(name)); }

}  // namespace com
