#include "Commands.h"

#include <algorithm>
#include <cstdio>

#include "CompoundFile.h"
#include "Console.h"
#include "PropertyTable.h"
#include "TableJson.h"
#include "TableText.h"
#include "ToolError.h"
#include "Utf8.h"
#include "com/Bstr.h"
#include "com/UniqueHandle.h"
#include "format/PropertyStorageFormat.h"

namespace qnps {
namespace {

std::string Count(size_t count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string Context(const std::wstring& file, const std::wstring& stream) { return ToUtf8(file) + ": " + ToUtf8(stream); }

std::string FileBytes(const std::wstring& path) {
    com::UniqueHandle<HANDLE, &::CloseHandle> file;
    const HANDLE handle = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) throw ToolError::Failed(ToUtf8(path), HRESULT_FROM_WIN32(::GetLastError()));
    file.reset(handle);
    std::string bytes;
    char buffer[65536];
    DWORD read = 0;
    while (::ReadFile(file.get(), buffer, sizeof buffer, &read, nullptr) && read > 0) bytes.append(buffer, read);
    return bytes;
}

// Reading never needs write access: the file is opened for reading and the stream with it.
PropertyTable ReadTable(IQnPropertyStorage* storage, const std::wstring& file, const std::wstring& stream) {
    const auto compound = CompoundFile::OpenForReading(file);
    const auto source = compound.OpenStream(stream);
    com::ComPtr<IQnPSTable> table;
    const HRESULT hr = storage->ReadProperties(source.get(), table.put());
    if (FAILED(hr)) throw ToolError::Failed(Context(file, stream), hr);
    return PropertyTable::Read(table.get());
}

}  // namespace

Commands::Commands(std::vector<std::wstring> arguments) : arguments_(std::move(arguments)) {}

const char* Commands::Usage() {
    return "usage: qnps streams FILE\n"
           "       qnps show FILE STREAM\n"
           "       qnps export FILE STREAM [--csv]\n"
           "       qnps import FILE STREAM TABLE.json [--overwrite] [--skip-direction] [--application NAME]\n"
           "       qnps check FILE STREAM\n"
           "FILE is a compound file; STREAM a stream, or storages and a stream separated by \"/\".\n";
}

int Commands::Run() {
    const std::wstring command = arguments_.empty() ? std::wstring() : arguments_[0];
    if (command == L"streams") return Streams();
    if (command == L"show") return Show(false, false);
    if (command == L"export") return Show(true, true);
    if (command == L"import") return Import();
    if (command == L"check") return Check();
    if (command == L"help" || command == L"--help" || command == L"-h") {
        Console::Out(Usage());
        return 0;
    }
    throw ToolError::Usage(command.empty() ? "no command" : "unknown command \"" + ToUtf8(command) + "\"");
}

void Commands::Parse(size_t count, const std::vector<std::wstring>& flags, const std::vector<std::wstring>& valued) {
    for (size_t i = 1; i < arguments_.size(); ++i) {
        const std::wstring& argument = arguments_[i];
        if (argument.size() > 2 && argument.compare(0, 2, L"--") == 0) {
            if (std::find(valued.begin(), valued.end(), argument) != valued.end()) {
                if (i + 1 == arguments_.size()) throw ToolError::Usage(ToUtf8(argument) + " needs a value");
                options_[argument] = arguments_[++i];
            } else if (std::find(flags.begin(), flags.end(), argument) != flags.end()) {
                options_[argument];
            } else {
                throw ToolError::Usage("unknown option " + ToUtf8(argument) + " for " + ToUtf8(arguments_[0]));
            }
        } else {
            operands_.push_back(argument);
        }
    }
    if (operands_.size() != count)
        throw ToolError::Usage(ToUtf8(arguments_[0]) + " takes " + std::to_string(count) + " operand" +
                               (count == 1 ? "" : "s"));
}

StorageServer& Commands::Server() {
    if (!server_) server_ = std::make_unique<StorageServer>();
    return *server_;
}

int Commands::Streams() {
    Parse(1, {});
    std::string out;
    for (const auto& entry : CompoundFile::OpenForReading(operands_[0]).List()) {
        out += entry.isStorage ? "storage  " + ToUtf8(entry.path) + "\n"
                               : "stream   " + ToUtf8(entry.path) + "  (" + std::to_string(entry.size) + " bytes)\n";
    }
    Console::Out(out);
    return 0;
}

int Commands::Show(bool csvAllowed, bool asJson) {
    Parse(2, csvAllowed ? std::vector<std::wstring>{L"--csv"} : std::vector<std::wstring>{});
    const auto table = ReadTable(Server().get(), operands_[0], operands_[1]);
    if (!asJson) Console::Out(TableText::Show(table));
    else if (Has(L"--csv")) Console::Out(TableText::Csv(table));
    else Console::Out(TableJson::Write(table).dump(2) + "\n");
    return 0;
}

int Commands::Check() {
    Parse(2, {});
    const auto table = ReadTable(Server().get(), operands_[0], operands_[1]);
    Console::Out(Context(operands_[0], operands_[1]) + ": a property table of \"" + ToUtf8(table.application) +
                 "\" with " + Count(table.columns.size(), "column") + " and " +
                 Count(table.rows.size(), "row") + "\n");
    return 0;
}

int Commands::Import() {
    Parse(3, {L"--overwrite", L"--skip-direction"}, {L"--application"});
    const std::wstring& path = operands_[0];
    const std::wstring& streamPath = operands_[1];
    auto table = TableJson::Read(FileBytes(operands_[2]), ToUtf8(operands_[2]));
    if (Has(L"--application")) table.application = options_[L"--application"];
    for (const auto& column : table.columns) {
        if (column.type != qnpsPropType_Double) continue;
        Console::Error("qnps: warning: \"" + ToUtf8(column.name) +
                       "\" is a double column: its values are stored as decimal text under \"DOUBLE\", which "
                       "reads back as 0 (and the written table reports the column as string)\n");
    }
    // A column the document cannot name would be left out without a word; the user is told before
    // anything is written. The characters the document cannot carry the library itself refuses.
    for (const auto& column : table.columns) {
        if (format::IsWritableColumnName(column.name.data(), column.name.size())) continue;
        throw ToolError(ToUtf8(operands_[2]) + ": the column \"" + ToUtf8(column.name) +
                        "\" cannot be written: a column's name must be an XML name without a colon (letters, "
                        "digits, '_', '-', '.'; not starting with a digit, '-' or '.') and none of RowID and xmlns");
    }
    const long flags = (Has(L"--overwrite") ? qnpsOverwrite : 0) | (Has(L"--skip-direction") ? qnpsSkipDirection : 0);

    StorageServer& server = Server();
    const auto built = table.Build(server.get());
    auto file = CompoundFile::OpenForWriting(path);
    try {
        const auto stream = file.OpenOrCreateStream(streamPath);
        // The library writes over a foreign document by keeping its root, which leaves a stream
        // that no longer reads: only an empty stream or a property document is written to.
        std::wstring existing;  // the application of the stream's document
        STATSTG stat{};
        com::ThrowIfFailed(stream.get()->Stat(&stat, STATFLAG_NONAME));
        if (stat.cbSize.QuadPart > 0) {
            com::ComPtr<IQnPSTable> old;
            const HRESULT read = server->ReadProperties(stream.get(), old.put());
            if (FAILED(read)) throw ToolError::Failed(Context(path, streamPath), read);
            com::UniqueBstr application;
            com::ThrowIfFailed(old->get_Application(application.put()));
            existing.assign(application.get() ? application.get() : L"", com::BstrLength(application.get()));
            // The merge reads the old document again from the stream's position.
            com::ThrowIfFailed(stream.get()->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr));
        }
        const HRESULT hr = server->WriteProperties(stream.get(), built.get(), flags);
        if (hr == static_cast<HRESULT>(QNPS_E_WRONGAPPLICATION))
            throw ToolError(Context(path, streamPath) + ": the stream's document belongs to \"" + ToUtf8(existing) +
                                "\", not \"" + ToUtf8(table.application) + "\" (--overwrite writes it all the same)",
                            hr);
        if (FAILED(hr)) throw ToolError::FailedWithRecord(Context(path, streamPath), hr);
        file.Commit();
    } catch (...) {
        file.RemoveCreated();
        throw;
    }
    Console::Out(Context(path, streamPath) + ": wrote " + Count(table.columns.size(), "column") + " and " +
                 Count(table.rows.size(), "row") + "\n");
    return 0;
}

}  // namespace qnps
