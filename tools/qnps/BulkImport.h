#pragma once

#include <string>
#include <vector>

#include "Csv.h"
#include "Progress.h"
#include "PropertyTable.h"
#include "StorageServer.h"

namespace qnps {

// A sheet of File, Stream, RowID and column values written back: per stream, the cells the sheet
// names are set (a blank one removes the value) and everything else is kept. A stream is written
// once, and only when every line for it is sound; a stream that fails leaves its bytes as they were
// and the others go on.
class BulkImport {
public:
    struct Options {
        bool dryRun = false;
        bool stopOnError = false;
        bool addRows = false;
        bool addColumns = false;
        size_t progressEvery = 100;
    };
    BulkImport(StorageServer& server, Options options) : server_(server), options_(options) {}
    // Answers the exit code: 1 when anything failed.
    int Run(const std::string& sheetText, const std::string& sheetName);

private:
    struct StreamLines {
        std::wstring stream;
        std::vector<const Csv::Record*> records;
        std::vector<std::string> faults;  // found before the stream is opened
    };
    struct FileLines {
        std::wstring file;
        std::vector<StreamLines> streams;
    };
    struct Change {
        std::wstring row, column;
        std::string before, after;
    };

    void ImportFile(const FileLines& file);
    // The changes the lines make to the table, or the faults that keep the stream as it is.
    std::vector<Change> Apply(PropertyTable& table, const StreamLines& lines, std::vector<std::string>& faults) const;
    void Fail(const std::string& message);
    std::string Where(const Csv::Record& record, const std::wstring& column = std::wstring()) const;

    StorageServer& server_;
    Options options_;
    std::string sheetName_;
    std::vector<std::wstring> header_;
    size_t fileColumn_ = 0, streamColumn_ = 0, rowColumn_ = 0;
    size_t changed_ = 0, unchanged_ = 0, failed_ = 0, cells_ = 0, filesRead_ = 0;
    bool stopped_ = false;
    std::string changes_;  // the dry run's report
    Progress* progress_ = nullptr;
};

}  // namespace qnps
