#include "Console.h"

#include "com/Platform.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>

namespace qnps {

Console::Console() {
    ::_setmode(::_fileno(stdout), _O_BINARY);
    ::_setmode(::_fileno(stderr), _O_BINARY);
    // A console shows the bytes by its code page; files and pipes take them as they are.
    if (::GetFileType(::GetStdHandle(STD_OUTPUT_HANDLE)) == FILE_TYPE_CHAR) ::SetConsoleOutputCP(CP_UTF8);
}

void Console::Out(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void Console::Error(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace qnps
