#pragma once

#include <string_view>

namespace qnps {

// Standard output and error as UTF-8 byte streams: no text-mode translation, no code page.
class Console {
public:
    Console();
    static void Out(std::string_view text);
    static void Error(std::string_view text);
};

}  // namespace qnps
