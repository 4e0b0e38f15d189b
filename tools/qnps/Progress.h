#pragma once

#include <string>

namespace qnps {

// Progress through many files on standard error: on a terminal one line rewritten in place with
// the count and the current file; otherwise, as in a log, one line every `every` files.
class Progress {
public:
    Progress(size_t total, size_t every);
    ~Progress();
    void Next(const std::string& file);
    // Ends the rewritten line before other output goes to standard error.
    void Interrupt();

private:
    size_t total_;
    size_t every_;
    size_t done_ = 0;
    bool terminal_;
    bool lineOpen_ = false;
};

}  // namespace qnps
