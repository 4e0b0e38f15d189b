#include "BulkImport.h"

#include "CompoundFile.h"
#include "Console.h"
#include "OleDate.h"
#include "ToolError.h"
#include "Utf8.h"
#include "ValueText.h"
#include "com/Bstr.h"
#include "com/ComError.h"
#include "format/PropertyStorageFormat.h"

#include <climits>
#include <map>
#include <memory>

namespace qnps {
namespace {

std::string Quoted(const std::optional<std::string>& text) { return text ? "\"" + *text + "\"" : "(none)"; }

// A cell's text as the column's type reads it, in the forms the JSON form takes and those a
// spreadsheet writes back (TRUE and FALSE); an empty text is no value. Nothing for text that does
// not parse, with the reason.
std::optional<com::UniqueVariant> ParseCell(long type, const std::string& text, std::string& why) {
    com::UniqueVariant value;
    VARIANT& v = value.get();
    if (text.empty()) return value;
    switch (type) {
    case qnpsPropType_Int: {
        long long number = 0;
        size_t used = 0;
        try {
            number = std::stoll(text, &used, 10);
        } catch (const std::exception&) {
            used = 0;
        }
        if (used != text.size() || text[0] == ' ' || number < LONG_MIN || number > LONG_MAX) {
            why = "an int value must be a 32-bit integer";
            return std::nullopt;
        }
        v.lVal = static_cast<long>(number);
        v.vt = VT_I4;
        return value;
    }
    case qnpsPropType_Bool: {
        const std::wstring wide = FromUtf8(text);
        const std::wstring folded = com::FoldedName(wide.c_str(), wide.size());
        if (folded != L"true" && folded != L"false") {
            why = "a bool value must be true or false";
            return std::nullopt;
        }
        v.boolVal = folded == L"true" ? VARIANT_TRUE : VARIANT_FALSE;
        v.vt = VT_BOOL;
        return value;
    }
    case qnpsPropType_Date: {
        const auto days = OleDate::Parse(text);
        if (!days) {
            why = "a date value must be ISO 8601 text (2024-03-05T14:30:00) or a day count";
            return std::nullopt;
        }
        v.date = *days;
        v.vt = VT_DATE;
        return value;
    }
    case qnpsPropType_Double: {
        const auto number = ValueText::ParseDouble(text);
        if (!number) {
            why = "a double value must be a number's decimal text";
            return std::nullopt;
        }
        v.dblVal = *number;
        v.vt = VT_R8;
        return value;
    }
    }
    const std::wstring wide = FromUtf8(text);
    format::UncarriableCharacter found;
    if (format::FindUncarriableCharacter(wide.data(), wide.size(), found)) {
        why = "the value holds " + ToUtf8(format::DescribeUncarriable(found)) + ", which a property document cannot carry";
        return std::nullopt;
    }
    v.bstrVal = ::SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
    if (!v.bstrVal) com::ThrowOutOfMemory();
    v.vt = VT_BSTR;
    return value;
}

// The library reads dates back as VT_R8 and booleans as VT_I2; written back, they take the types
// a JSON import gives them.
void AsWritten(PropertyTable& table) {
    for (auto& row : table.rows)
        for (size_t c = 0; c < row.cells.size(); ++c) {
            VARIANT& v = row.cells[c].value.get();
            if (table.columns[c].type == qnpsPropType_Date && v.vt == VT_R8) v.vt = VT_DATE;
            if (table.columns[c].type == qnpsPropType_Bool && v.vt == VT_I2) {
                v.boolVal = v.iVal ? VARIANT_TRUE : VARIANT_FALSE;
                v.vt = VT_BOOL;
            }
        }
}

std::wstring Key(const std::wstring& text) { return com::FoldedName(text.data(), text.size()); }

std::wstring FullPath(const std::wstring& path) {
    wchar_t full[MAX_PATH * 2];
    const DWORD length = ::GetFullPathNameW(path.c_str(), MAX_PATH * 2, full, nullptr);
    return Key(length > 0 && length < MAX_PATH * 2 ? std::wstring(full, length) : path);
}

}  // namespace

std::string BulkImport::Where(const Csv::Record& record, const std::wstring& column) const {
    return sheetName_ + ": line " + std::to_string(record.line) + (column.empty() ? "" : ", column " + ToUtf8(column)) +
           ": ";
}

void BulkImport::Fail(const std::string& message) {
    Console::Error("qnps: " + message + "\n");
    if (options_.stopOnError) stopped_ = true;
}

int BulkImport::Run(const std::string& sheetText, const std::string& sheetName) {
    sheetName_ = sheetName;
    const auto records = Csv::Parse(sheetText, sheetName);
    if (records.empty()) throw ToolError(sheetName + ": an empty sheet");
    for (const auto& name : records[0].fields) header_.push_back(FromUtf8(name));
    auto find = [&](const wchar_t* name) {
        for (size_t i = 0; i < header_.size(); ++i)
            if (com::NamesEqual(header_[i].c_str(), name)) return i;
        throw ToolError(sheetName + ": line " + std::to_string(records[0].line) + ": no \"" + ToUtf8(name) +
                        "\" column (the sheet needs File, Stream and RowID)");
    };
    fileColumn_ = find(L"File");
    streamColumn_ = find(L"Stream");
    rowColumn_ = find(L"RowID");
    for (size_t i = 0; i < header_.size(); ++i) {
        if (header_[i].empty())
            throw ToolError(sheetName + ": line 1: column " + std::to_string(i + 1) + " has no name");
        for (size_t j = 0; j < i; ++j)
            if (com::NamesEqual(header_[i].c_str(), header_[j].c_str()))
                throw ToolError(sheetName + ": line 1: two columns named \"" + ToUtf8(header_[i]) +
                                "\" (names are compared without case)");
    }

    // Lines by file and stream, in the order first met.
    std::vector<FileLines> files;
    std::map<std::wstring, size_t> fileIndex;
    std::map<std::pair<size_t, std::wstring>, size_t> streamIndex;
    for (size_t i = 1; i < records.size(); ++i) {
        const auto& record = records[i];
        if (record.fields.size() <= std::max(fileColumn_, streamColumn_)) {
            Fail(Where(record) + "has " + std::to_string(record.fields.size()) + " fields, the header " +
                 std::to_string(header_.size()) + "; no file or stream to give it to");
            ++failed_;
            continue;
        }
        const std::wstring file = FromUtf8(record.fields[fileColumn_]);
        const std::wstring stream = FromUtf8(record.fields[streamColumn_]);
        auto [f, newFile] = fileIndex.emplace(FullPath(file), files.size());
        if (newFile) files.push_back({file, {}});
        auto [s, newStream] = streamIndex.emplace(std::make_pair(f->second, Key(stream)), files[f->second].streams.size());
        auto& streams = files[f->second].streams;
        if (newStream) streams.push_back({stream, {}, {}});
        auto& lines = streams[s->second];
        lines.records.push_back(&record);
        if (record.fields.size() != header_.size())
            lines.faults.push_back(Where(record) + "has " + std::to_string(record.fields.size()) +
                                   " fields, the header " + std::to_string(header_.size()));
    }

    Progress progress(files.size(), options_.progressEvery);
    progress_ = &progress;
    for (const auto& file : files) {
        if (stopped_) break;
        progress.Next(ToUtf8(file.file));
        ImportFile(file);
    }
    progress.Interrupt();
    progress_ = nullptr;
    const std::string would = options_.dryRun ? " would change" : " changed";
    const std::string totals = std::to_string(filesRead_) + " files read; streams: " + std::to_string(changed_) + would +
                               ", " + std::to_string(unchanged_) + " unchanged, " + std::to_string(failed_) +
                               " failed; " + std::to_string(cells_) + " cells" + would;
    if (options_.dryRun) Console::Out(changes_ + "dry run: " + totals + "; no file was changed\r\n");
    Console::Error("qnps: " + totals + (stopped_ ? "; stopped at the first failure (--stop-on-error)" : "") + "\n");
    return failed_ || stopped_ ? 1 : 0;
}

void BulkImport::ImportFile(const FileLines& lines) {
    const std::string name = ToUtf8(lines.file);
    const Csv::Record& first = *lines.streams.front().records.front();
    auto failAll = [&](const std::string& message) {
        progress_->Interrupt();
        Fail(Where(first) + message);
        failed_ += lines.streams.size();
    };
    const DWORD attributes = ::GetFileAttributesW(lines.file.c_str());
    // Opening for writing would make a missing file.
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return failAll(ToolError(name + ": not found", HRESULT_FROM_WIN32(::GetLastError())).WithCode());
    std::unique_ptr<CompoundFile> file;
    try {
        // A dry run refuses what the import would refuse.
        if (options_.dryRun && (attributes & FILE_ATTRIBUTE_READONLY))
            throw ToolError(name + ": the file is read-only", STG_E_ACCESSDENIED);
        file = std::make_unique<CompoundFile>(options_.dryRun ? CompoundFile::OpenForReading(lines.file)
                                                              : CompoundFile::OpenForWriting(lines.file));
    } catch (const ToolError& error) {
        return failAll(error.WithCode());
    }
    ++filesRead_;
    bool written = false;
    for (const auto& stream : lines.streams) {
        if (stopped_) return;
        const std::string context = name + ": " + ToUtf8(stream.stream);
        std::vector<std::string> faults = stream.faults;
        try {
            if (faults.empty()) {
                const auto opened = file->OpenStream(stream.stream);
                com::ComPtr<IQnPSTable> read;
                const HRESULT hr = server_->ReadProperties(opened.get(), read.put());
                if (FAILED(hr)) throw ToolError::Failed(context, hr);
                auto table = PropertyTable::Read(read.get());
                AsWritten(table);
                const auto changes = Apply(table, stream, faults);
                if (faults.empty()) {
                    for (const auto& change : changes)
                        changes_ += context + ": " + ToUtf8(change.row) + ": " + ToUtf8(change.column) + ": " +
                                    change.before + " \xE2\x86\x92 " + change.after + "\r\n";
                    if (changes.empty()) {
                        ++unchanged_;
                        continue;
                    }
                    if (!options_.dryRun) {
                        const auto built = table.Build(server_.get());
                        com::ThrowIfFailed(opened.get()->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr));
                        // The whole table is written, so toDocument columns keep their values only
                        // when the sheet leaves them as they are.
                        const HRESULT wrote = server_->WriteProperties(opened.get(), built.get(), qnpsSkipDirection);
                        if (FAILED(wrote)) throw ToolError::FailedWithRecord(context, wrote);
                        written = true;
                    }
                    ++changed_;
                    cells_ += changes.size();
                    continue;
                }
            }
        } catch (const ToolError& error) {
            faults.push_back(Where(*stream.records.front()) + error.WithCode());
        } catch (const com::ComError& error) {
            faults.push_back(Where(*stream.records.front()) + context + ": " + ToolError::Describe(error.Code()));
        }
        progress_->Interrupt();
        for (const auto& fault : faults) Fail(fault);
        ++failed_;
    }
    if (!written) return;
    try {
        file->Commit();
    } catch (const ToolError& error) {
        Fail(error.WithCode());
        ++failed_;
    }
}

std::vector<BulkImport::Change> BulkImport::Apply(PropertyTable& table, const StreamLines& lines,
                                                  std::vector<std::string>& faults) const {
    std::vector<Change> changes;
    const std::string context = lines.records.front()->fields[fileColumn_] + ": " + ToUtf8(lines.stream) + ": ";
    std::map<size_t, size_t> lineOfRow;  // row index → the line that set it
    for (const Csv::Record* record : lines.records) {
        const std::wstring id = FromUtf8(record->fields[rowColumn_]);
        size_t row = 0;
        while (row < table.rows.size() && !com::NamesEqual(table.rows[row].id.c_str(), id.c_str())) ++row;
        if (row == table.rows.size()) {
            if (!options_.addRows) {
                faults.push_back(Where(*record, L"RowID") + context + "no row \"" + ToUtf8(id) + "\" (--add-rows adds it)");
                continue;
            }
            table.rows.push_back({id, std::vector<PropertyTable::Cell>(table.columns.size())});
            changes.push_back({id, L"RowID", "(none)", "\"" + ToUtf8(id) + "\""});
        }
        const auto [earlier, first] = lineOfRow.emplace(row, record->line);
        if (!first) {
            faults.push_back(Where(*record, L"RowID") + context + "row \"" + ToUtf8(id) + "\" is on line " +
                             std::to_string(earlier->second) + " too");
            continue;
        }
        for (size_t c = 0; c < header_.size(); ++c) {
            if (c == fileColumn_ || c == streamColumn_ || c == rowColumn_) continue;
            const std::string& text = record->fields[c];
            long column = table.FindColumn(header_[c]);
            if (column < 0) {
                if (text.empty()) continue;  // the sheet holds the columns of every stream
                if (!options_.addColumns) {
                    faults.push_back(Where(*record, header_[c]) + context + "the table has no column \"" +
                                     ToUtf8(header_[c]) + "\" (--add-columns adds it)");
                    continue;
                }
                if (!format::IsWritableColumnName(header_[c].data(), header_[c].size())) {
                    faults.push_back(Where(*record, header_[c]) + context + "the column \"" + ToUtf8(header_[c]) +
                                     "\" cannot be written: a column's name must be an XML name without a colon");
                    continue;
                }
                table.columns.push_back({header_[c], header_[c]});
                for (auto& each : table.rows) each.cells.emplace_back();
                column = static_cast<long>(table.columns.size() - 1);
            }
            std::string why;
            auto value = ParseCell(table.columns[column].type, text, why);
            if (!value) {
                faults.push_back(Where(*record, header_[c]) + context + "row " + ToUtf8(id) + ": \"" + text + "\": " + why);
                continue;
            }
            auto& cell = table.rows[row].cells[column];
            const long type = table.columns[column].type;
            const auto before = cell.present ? ValueText::Of(type, cell.value.get()) : std::nullopt;
            const auto after = ValueText::Of(type, value->get());
            if (before == after) continue;
            changes.push_back({table.rows[row].id, table.columns[column].name, Quoted(before), Quoted(after)});
            cell.present = true;
            cell.value = std::move(*value);
        }
    }
    return changes;
}

}  // namespace qnps
