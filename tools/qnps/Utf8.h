#pragma once

#include <string>
#include <string_view>

namespace qnps {

// The tool keeps text as UTF-16 where it meets the platform and the library, and as UTF-8 where it
// meets JSON and the console's byte streams.
std::string ToUtf8(std::wstring_view text);
// Throws std::range_error for bytes that are not UTF-8; the tool reports it as any other failure.
std::wstring FromUtf8(std::string_view text);

}  // namespace qnps
