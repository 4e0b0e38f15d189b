#include "format/PropertyStorageFormat.h"

#include <cwchar>

namespace format {

long VersionNumber(const wchar_t* text) noexcept {
    if (!text) return 0;
    wchar_t* end = nullptr;
    long number = std::wcstol(text, &end, 10);
    if (end && *end == L'.') number = number * 100 + std::wcstol(end + 1, nullptr, 10);
    return number;
}

bool IsReadableVersion(const wchar_t* text) noexcept {
    const long number = VersionNumber(text);
    return number >= 1 && number <= VersionNumber(kCurrentVersion);
}

}  // namespace format
