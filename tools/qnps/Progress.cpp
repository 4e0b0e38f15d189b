#include "Progress.h"

#include "com/Platform.h"

#include "Console.h"

namespace qnps {

Progress::Progress(size_t total, size_t every)
    : total_(total), every_(every), terminal_(::GetFileType(::GetStdHandle(STD_ERROR_HANDLE)) == FILE_TYPE_CHAR) {}

Progress::~Progress() { Interrupt(); }

void Progress::Next(const std::string& file) {
    ++done_;
    const std::string count = std::to_string(done_) + " of " + std::to_string(total_) + " files";
    if (terminal_ && total_ > 1) {
        std::string line = "\rqnps: " + count + ": " + file;
        // Clears what a longer previous file name left.
        Console::Error(line + std::string(line.size() < 79 ? 79 - line.size() : 0, ' '));
        lineOpen_ = true;
    } else if (!terminal_ && every_ > 0 && done_ % every_ == 0) {
        Console::Error("qnps: " + count + "\n");
    }
}

void Progress::Interrupt() {
    if (!lineOpen_) return;
    Console::Error("\n");
    lineOpen_ = false;
}

}  // namespace qnps
