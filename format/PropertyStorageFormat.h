#pragma once

#include "com/Platform.h"

// The property storage document: element and attribute names, fixed texts and the version rule.
namespace format {

inline constexpr wchar_t kRoot[] = L"PropertyStorage";
inline constexpr wchar_t kVersion[] = L"Version";
inline constexpr wchar_t kApplication[] = L"Application";
inline constexpr wchar_t kColumnDefs[] = L"ColumnDefs";
inline constexpr wchar_t kProperties[] = L"Properties";
inline constexpr wchar_t kRow[] = L"Row";
inline constexpr wchar_t kRowId[] = L"RowID";
inline constexpr wchar_t kDispName[] = L"DispName";
inline constexpr wchar_t kDirection[] = L"Direction";
inline constexpr wchar_t kType[] = L"Type";
inline constexpr wchar_t kHidden[] = L"Hidden";
inline constexpr wchar_t kOrder[] = L"Order";

inline constexpr wchar_t kCurrentVersion[] = L"1.01";
inline constexpr wchar_t kToDocument[] = L"ToDocument";
inline constexpr wchar_t kFromDocument[] = L"FromDocument";
inline constexpr wchar_t kTypeInt[] = L"INT";
inline constexpr wchar_t kTypeDate[] = L"DATE";
inline constexpr wchar_t kTypeDouble[] = L"DOUBLE";
inline constexpr wchar_t kTypeBool[] = L"BOOL";

// A version text as a number: the leading decimal number, and when a point follows, that number
// times 100 plus the number after the point ("1.01" is 101, "1.1" too, "1.10" is 110).
long VersionNumber(const wchar_t* text) noexcept;
// Versions 1 to 101 are read; anything else, an empty text included, is refused.
bool IsReadableVersion(const wchar_t* text) noexcept;

}  // namespace format
