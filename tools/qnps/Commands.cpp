#include "Commands.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>

#include "BulkExport.h"
#include "BulkImport.h"
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
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
        throw ToolError(ToUtf8(path) + ": a folder, not a JSON file");
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

namespace {

struct CommandHelp {
    const char* name;
    const char* synopsis;  // after "qnps "
    const char* summary;   // one line for the usage
    const char* details;   // for help COMMAND
};

const CommandHelp kCommands[] = {
    {"streams", "streams FILE", "list the storages and streams of a compound file",
     "Lists every storage and stream of FILE, with each stream's size in bytes.\n"},
    {"show", "show FILE STREAM", "show a stream's table as aligned text",
     "Shows the table in STREAM: its application, its columns, then its rows.\n"},
    {"export", "export FILE STREAM [--csv]", "write a stream's table as JSON (or CSV) to standard output",
     "Writes the table in STREAM to standard output as UTF-8, in the JSON form that import reads.\n"
     "  --csv  RFC 4180 CSV instead: RowID and the column names, then one line per row\n"
     "\n"
     "usage: qnps export --csv PATH... [OPTION...]\n"
     "Writes the tables of many files as one sheet (UTF-8 with a byte order mark, CR LF): File, Stream,\n"
     "RowID, then every table's columns. PATH is a compound file or a folder of them.\n"
     "  --stream PATTERN   only the streams whose path matches (* and ?); otherwise every property document\n"
     "  --pattern PATTERN  the names of the files taken from folders (default *)\n"
     "  --recurse          take files from subfolders too\n"
     "  --progress N       without a terminal, a progress line every N files (default 100)\n"},
    {"import", "import FILE STREAM TABLE.json [OPTION...]", "write or merge a JSON table into a stream",
     "Writes the table of TABLE.json into STREAM, making the stream, its storages and FILE when they\n"
     "are missing. Into a stream that holds a table, it merges: values the JSON leaves out are carried\n"
     "over from the stream's row of the same RowID; null removes one.\n"
     "  --overwrite           carry nothing over, and write over another application's table\n"
     "  --skip-direction      also write the values of toDocument columns (otherwise left as they are)\n"
     "  --application NAME    the table's application instead of the JSON's\n"
     "\n"
     "usage: qnps import --csv SHEET.csv [OPTION...]\n"
     "Sets the cells a sheet of File, Stream, RowID and columns names (a blank cell removes the value),\n"
     "writing each stream once; rows and columns the sheet leaves out keep what the stream holds.\n"
     "  --dry-run          print every change and the totals; change nothing\n"
     "  --stop-on-error    stop at the first failure (otherwise other streams go on)\n"
     "  --add-rows         add rows the stream lacks (otherwise an error)\n"
     "  --add-columns      add string columns the table lacks (otherwise an error)\n"
     "  --progress N       without a terminal, a progress line every N files (default 100)\n"},
    {"check", "check FILE STREAM", "exit 0 when the stream holds a table the library reads",
     "Reads the table in STREAM through the library and says how many columns and rows it has.\n"},
    {"help", "help [COMMAND]", "this text, or one command in full (also: qnps COMMAND --help)",
     "Shows the usage, or what COMMAND does and its options.\n"},
};

const CommandHelp* FindCommand(const std::wstring& name) {
    for (const auto& command : kCommands)
        if (FromUtf8(command.name) == name) return &command;
    return nullptr;
}

// The ProductVersion of the tool's own version resource.
std::string ToolVersion() {
    wchar_t path[MAX_PATH];
    const DWORD length = ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (length == 0 || length == MAX_PATH) throw ToolError::Failed("the tool's path", HRESULT_FROM_WIN32(::GetLastError()));
    std::vector<char> block(::GetFileVersionInfoSizeW(path, nullptr));
    wchar_t* text = nullptr;
    UINT size = 0;
    if (block.empty() || !::GetFileVersionInfoW(path, 0, static_cast<DWORD>(block.size()), block.data()) ||
        !::VerQueryValueW(block.data(), L"\\StringFileInfo\\040904B0\\ProductVersion",
                          reinterpret_cast<void**>(&text), &size) || size == 0)
        throw ToolError("the tool carries no version resource");
    return ToUtf8(std::wstring(text, size - 1));
}

}  // namespace

std::string Commands::Usage() {
    size_t width = 0;
    for (const auto& command : kCommands) width = std::max(width, std::strlen(command.synopsis));
    std::string usage = "usage: qnps COMMAND ARGUMENTS\n\n";
    for (const auto& command : kCommands) {
        std::string line = std::string("  ") + command.synopsis;
        line.resize(width + 4, ' ');
        usage += line + command.summary + "\n";
    }
    return usage + "\nFILE is a compound file; STREAM a stream, or storages and a stream separated by \"/\",\n"
                   "each name at most 31 characters. qnps --version prints the version.\n"
                   "export --csv PATH... and import --csv SHEET.csv work on many files in one sheet.\n"
                   "The full guide: docs/qnps.md\n";
}

int Commands::Help(const std::wstring& name) {
    const CommandHelp* command = FindCommand(name);
    if (!command) throw ToolError::Usage("no command \"" + ToUtf8(name) + "\" to explain");
    Console::Out(std::string("usage: qnps ") + command->synopsis + "\n" + command->details);
    return 0;
}

int Commands::Run() {
    const std::wstring command = arguments_.empty() ? std::wstring() : arguments_[0];
    if (command == L"--help" || command == L"-h" || (command == L"help" && arguments_.size() == 1)) {
        Console::Out(Usage());
        return 0;
    }
    if (command == L"--version" && arguments_.size() == 1) {
        Console::Out("qnps " + ToolVersion() + "\n");
        return 0;
    }
    if (command == L"help" && arguments_.size() == 2) return Help(arguments_[1]);
    if (FindCommand(command) && std::find(arguments_.begin() + 1, arguments_.end(), L"--help") != arguments_.end())
        return Help(command);
    if (command == L"streams") return Streams();
    if (command == L"show") return Show();
    if (command == L"export") return Export();
    if (command == L"import") return Import();
    if (command == L"check") return Check();
    if (command == L"help") throw ToolError::Usage("help takes one command at most");
    throw ToolError::Usage(command.empty() ? "no command" : "unknown command \"" + ToUtf8(command) + "\"");
}

void Commands::Parse(size_t count, const std::vector<std::wstring>& flags, const std::vector<std::wstring>& valued) {
    ParseOptions(flags, valued);
    RequireOperands(count);
}

void Commands::ParseOptions(const std::vector<std::wstring>& flags, const std::vector<std::wstring>& valued) {
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
}

void Commands::RequireOperands(size_t count) const {
    if (operands_.size() != count)
        throw ToolError::Usage(ToUtf8(arguments_[0]) + " takes " + std::to_string(count) + " operand" +
                               (count == 1 ? "" : "s"));
}

void Commands::RefuseOptions(const std::vector<std::wstring>& options, const std::string& why) const {
    for (const auto& option : options)
        if (Has(option)) throw ToolError::Usage(ToUtf8(option) + " " + why);
}

size_t Commands::ProgressEvery() const {
    if (!Has(L"--progress")) return 100;
    const std::wstring& text = options_.at(L"--progress");
    wchar_t* end = nullptr;
    const unsigned long every = std::wcstoul(text.c_str(), &end, 10);
    if (text.empty() || *end || every == 0 || text[0] == L'-') throw ToolError::Usage("--progress takes a count of files");
    return every;
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

int Commands::Show() {
    Parse(2, {});
    Console::Out(TableText::Show(ReadTable(Server().get(), operands_[0], operands_[1])));
    return 0;
}

int Commands::Export() {
    const std::vector<std::wstring> bulkOptions{L"--stream", L"--pattern", L"--recurse", L"--progress"};
    ParseOptions({L"--csv", L"--recurse"}, {L"--stream", L"--pattern", L"--progress"});
    // FILE STREAM, unless the second names a file or folder too, or a bulk option is given.
    const bool single = operands_.size() == 2 && ::GetFileAttributesW(operands_[1].c_str()) == INVALID_FILE_ATTRIBUTES &&
                        std::none_of(bulkOptions.begin(), bulkOptions.end(), [this](const auto& o) { return Has(o); });
    if (single) {
        const auto table = ReadTable(Server().get(), operands_[0], operands_[1]);
        Console::Out(Has(L"--csv") ? TableText::Csv(table) : TableJson::Write(table).dump(2) + "\n");
        return 0;
    }
    if (operands_.empty()) throw ToolError::Usage("export takes FILE STREAM, or files and folders with --csv");
    if (!Has(L"--csv")) throw ToolError::Usage("several files are exported as one CSV sheet only: add --csv");
    BulkExport::Options options;
    options.operands = operands_;
    if (Has(L"--pattern")) options.filePattern = options_[L"--pattern"];
    options.recurse = Has(L"--recurse");
    if (Has(L"--stream")) options.streamPattern = options_[L"--stream"];
    options.progressEvery = ProgressEvery();
    return BulkExport::Run(Server(), options);
}

int Commands::ImportSheet() {
    RequireOperands(1);
    RefuseOptions({L"--overwrite", L"--skip-direction", L"--application"}, "is not for a CSV sheet");
    BulkImport::Options options;
    options.dryRun = Has(L"--dry-run");
    options.stopOnError = Has(L"--stop-on-error");
    options.addRows = Has(L"--add-rows");
    options.addColumns = Has(L"--add-columns");
    options.progressEvery = ProgressEvery();
    return BulkImport(Server(), options).Run(FileBytes(operands_[0]), ToUtf8(operands_[0]));
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
    ParseOptions({L"--overwrite", L"--skip-direction", L"--csv", L"--dry-run", L"--stop-on-error", L"--add-rows",
                  L"--add-columns"},
                 {L"--application", L"--progress"});
    if (Has(L"--csv")) return ImportSheet();
    RefuseOptions({L"--dry-run", L"--stop-on-error", L"--add-rows", L"--add-columns", L"--progress"},
                  "is for a CSV sheet (--csv)");
    RequireOperands(3);
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
    for (size_t i = 0; i < table.columns.size() && !Has(L"--skip-direction"); ++i) {
        if (table.columns[i].direction != qnpsPropDirection_ToDocument ||
            std::none_of(table.rows.begin(), table.rows.end(), [i](const auto& row) { return row.cells[i].present; }))
            continue;
        Console::Error("qnps: warning: \"" + ToUtf8(table.columns[i].name) +
                       "\" is a toDocument column: its values are written only with --skip-direction\n");
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
