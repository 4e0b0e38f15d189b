#pragma once

#include <string>
#include <vector>

namespace qnps {

// The files a bulk command works on: those named, and the compound files in the folders named
// whose names match a pattern, in subfolders too on request; in name order within a folder.
class FileSearch {
public:
    struct Result {
        std::vector<std::wstring> files;
        std::vector<std::string> problems;  // operands that name nothing
    };
    static Result Find(const std::vector<std::wstring>& operands, const std::wstring& pattern, bool recurse);
    // "*" any run of characters, "?" one; compared without regard to case.
    static bool Matches(const std::wstring& pattern, const std::wstring& text);

private:
    static void SearchFolder(const std::wstring& folder, const std::wstring& pattern, bool recurse, Result& result);
};

}  // namespace qnps
