#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "StorageServer.h"

namespace qnps {

// The tool's commands over its arguments (after the program name); Run answers the exit code.
class Commands {
public:
    explicit Commands(std::vector<std::wstring> arguments);
    int Run();

    // One line per command, and where the full guide is.
    static std::string Usage();

private:
    int Help(const std::wstring& command);
    int Streams();
    int Show();
    int Export();
    int Import();
    int ImportSheet();
    int Check();

    // Splits the arguments after the command into `count` operands and the named options, which
    // may come anywhere; an option in `valued` takes the next argument as its value.
    void Parse(size_t count, const std::vector<std::wstring>& flags, const std::vector<std::wstring>& valued = {});
    void ParseOptions(const std::vector<std::wstring>& flags, const std::vector<std::wstring>& valued);
    void RequireOperands(size_t count) const;
    // Refuses options of the command's other form.
    void RefuseOptions(const std::vector<std::wstring>& options, const std::string& why) const;
    size_t ProgressEvery() const;
    bool Has(const std::wstring& option) const { return options_.count(option) != 0; }
    StorageServer& Server();

    std::vector<std::wstring> arguments_;
    std::vector<std::wstring> operands_;
    std::map<std::wstring, std::wstring> options_;
    std::unique_ptr<StorageServer> server_;
};

}  // namespace qnps
