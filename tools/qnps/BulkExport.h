#pragma once

#include <string>
#include <vector>

#include "StorageServer.h"

namespace qnps {

// The tables of many streams of many files as one sheet: File, Stream, RowID, then every column
// any of the tables has, in the order first met.
class BulkExport {
public:
    struct Options {
        std::vector<std::wstring> operands;  // files and folders
        std::wstring filePattern = L"*";     // the names of the files taken from folders
        bool recurse = false;
        std::wstring streamPattern;          // empty: every stream that holds a property document
        size_t progressEvery = 100;
    };
    // Writes the sheet to standard output and answers the exit code: 1 when a file or stream
    // could not be read (each one said on standard error and left out).
    static int Run(StorageServer& server, const Options& options);
};

}  // namespace qnps
