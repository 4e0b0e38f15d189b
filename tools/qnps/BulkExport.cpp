#include "BulkExport.h"

#include "CompoundFile.h"
#include "Console.h"
#include "Csv.h"
#include "FileSearch.h"
#include "Progress.h"
#include "PropertyTable.h"
#include "ToolError.h"
#include "Utf8.h"
#include "ValueText.h"
#include "com/Bstr.h"
#include "com/ComError.h"

namespace qnps {
namespace {

// Streams of other kinds (summary information, an application's own data) are passed over
// unless the user names them: a property document says so near its start.
bool LooksLikePropertyDocument(IStream* stream) {
    char start[512];
    ULONG read = 0;
    if (FAILED(stream->Read(start, sizeof start, &read))) return true;  // let the read say what is wrong
    const std::string text(start, read);
    com::ThrowIfFailed(stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr));
    return text.find("<PropertyStorage") != std::string::npos;
}

}  // namespace

int BulkExport::Run(StorageServer& server, const Options& options) {
    const auto found = FileSearch::Find(options.operands, options.filePattern, options.recurse);
    size_t failed = 0, streams = 0, rowCount = 0;
    for (const auto& problem : found.problems) {
        Console::Error("qnps: " + problem + "\n");
        ++failed;
    }
    std::vector<std::wstring> columns;  // the union, first-seen order
    std::vector<std::vector<std::string>> rows;
    Progress progress(found.files.size(), options.progressEvery);
    auto report = [&](const std::string& message) {
        progress.Interrupt();
        Console::Error("qnps: " + message + "\n");
        ++failed;
    };
    for (const auto& path : found.files) {
        progress.Next(ToUtf8(path));
        try {
            const auto file = CompoundFile::OpenForReading(path);
            bool named = false;
            for (const auto& entry : file.List()) {
                if (entry.isStorage) continue;
                if (!options.streamPattern.empty() && !FileSearch::Matches(options.streamPattern, entry.path)) continue;
                named = true;
                if (entry.escaped) {
                    if (!options.streamPattern.empty()) report(ToUtf8(path) + ": " + ToUtf8(entry.path) + ": a name this tool cannot open");
                    continue;
                }
                try {
                    const auto stream = file.OpenStream(entry.path);
                    if (options.streamPattern.empty() && !LooksLikePropertyDocument(stream.get())) continue;
                    com::ComPtr<IQnPSTable> read;
                    const HRESULT hr = server->ReadProperties(stream.get(), read.put());
                    if (FAILED(hr)) throw ToolError::Failed(ToUtf8(path) + ": " + ToUtf8(entry.path), hr);
                    const auto table = PropertyTable::Read(read.get());
                    std::vector<size_t> at;  // each table column's place in the sheet
                    for (const auto& column : table.columns) {
                        size_t i = 0;
                        while (i < columns.size() && !com::NamesEqual(columns[i].c_str(), column.name.c_str())) ++i;
                        if (i == columns.size()) columns.push_back(column.name);
                        at.push_back(i);
                    }
                    for (const auto& row : table.rows) {
                        std::vector<std::string> line{ToUtf8(path), ToUtf8(entry.path), ToUtf8(row.id)};
                        for (size_t c = 0; c < row.cells.size(); ++c) {
                            if (line.size() < at[c] + 4) line.resize(at[c] + 4);
                            if (line[at[c] + 3].empty())
                                line[at[c] + 3] = ValueText::Of(table.columns[c].type, row.cells[c].value.get()).value_or("");
                        }
                        rows.push_back(std::move(line));
                    }
                    ++streams;
                    rowCount += table.rows.size();
                } catch (const ToolError& error) {
                    report(error.WithCode());
                } catch (const com::ComError& error) {
                    report(ToUtf8(path) + ": " + ToUtf8(entry.path) + ": " + ToolError::Describe(error.Code()));
                }
            }
            if (!named && !options.streamPattern.empty())
                report(ToUtf8(path) + ": no stream matches \"" + ToUtf8(options.streamPattern) + "\"");
        } catch (const ToolError& error) {
            report(error.WithCode());
        }
    }
    progress.Interrupt();

    std::string sheet = Csv::kByteOrderMark;
    std::vector<std::string> header{"File", "Stream", "RowID"};
    for (const auto& column : columns) header.push_back(ToUtf8(column));
    sheet += Csv::Line(header);
    for (auto& row : rows) {
        row.resize(header.size());
        sheet += Csv::Line(row);
    }
    Console::Out(sheet);
    Console::Error("qnps: exported " + std::to_string(rowCount) + " rows of " + std::to_string(streams) +
                   " streams from " + std::to_string(found.files.size()) + " files" +
                   (failed ? "; " + std::to_string(failed) + " failed" : "") + "\n");
    return failed ? 1 : 0;
}

}  // namespace qnps
