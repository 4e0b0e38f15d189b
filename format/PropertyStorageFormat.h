#pragma once

#include "com/Platform.h"

#include <cstddef>
#include <string>

#include "QnPropStorage.h"

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

// A column's "Type" and "Direction" texts. Written: null for a value that is written without the
// attribute (the text type, no direction). Read: compared without regard to case; a text that is
// none of them keeps `fallback`.
const wchar_t* TypeText(qnpsPropertyType type) noexcept;
qnpsPropertyType TypeFromText(const wchar_t* text, qnpsPropertyType fallback) noexcept;
const wchar_t* DirectionText(qnpsPropertyDirection direction) noexcept;
qnpsPropertyDirection DirectionFromText(const wchar_t* text, qnpsPropertyDirection fallback) noexcept;

// A version text as a number: the leading decimal number, and when a point follows, that number
// times 100 plus the number after the point ("1.01" is 101, "1.1" too, "1.10" is 110).
long VersionNumber(const wchar_t* text) noexcept;
// Versions 1 to 101 are read; anything else, an empty text included, is refused.
bool IsReadableVersion(const wchar_t* text) noexcept;

// What a document can carry. The parsers that read these documents differ: the Windows parser takes
// names by the older edition of XML 1.0, libxml2 by the newer one; Wine's takes at build time what it
// refuses at load. So the library decides by the rules every XML 1.0 parser shares, never by what one
// parser accepts.

// A column is written only under a name without a colon that every XML 1.0 parser takes as an
// element and attribute name, and that is none of the names the document keeps for itself
// ("RowID" and "xmlns", without regard to case). Any other column is left out of the document.
bool IsWritableColumnName(const wchar_t* name, size_t length) noexcept;

// A character of a text that no XML 1.0 document can carry, not even as a character reference:
// U+0000 to U+001F but tab, line feed and carriage return; U+FFFE, U+FFFF; a surrogate without
// its partner. `position` counts the text's UTF-16 units from 1.
struct UncarriableCharacter {
    size_t position = 0;
    unsigned long code = 0;
};
// The first such character of the text, which is read by its length (a NUL is a character too);
// false when there is none.
bool FindUncarriableCharacter(const wchar_t* text, size_t length, UncarriableCharacter& found) noexcept;
// "U+000B at position 12".
std::wstring DescribeUncarriable(const UncarriableCharacter& found);

}  // namespace format
