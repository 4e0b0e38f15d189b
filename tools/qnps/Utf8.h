#pragma once

#include <string>
#include <string_view>

namespace qnps {

// The tool keeps text as UTF-16 where it meets the platform and the library, and as UTF-8 where it
// meets JSON and the console's byte streams.
std::string ToUtf8(std::wstring_view text);
// Throws ToolError for bytes that are not UTF-8.
std::wstring FromUtf8(std::string_view text);

}  // namespace qnps
