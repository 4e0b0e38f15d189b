#pragma once

#include "com/Platform.h"

#include <stdexcept>
#include <string>

namespace qnps {

// What the tool reports when a command cannot be done: a UTF-8 message and, when the failure came
// from the platform or the library, its HRESULT. Usage errors end with their own exit code.
class ToolError : public std::runtime_error {
public:
    explicit ToolError(const std::string& message, HRESULT code = S_OK, bool usage = false)
        : std::runtime_error(message), code_(code), usage_(usage) {}

    // "<context>: <what the HRESULT means>", carrying the HRESULT.
    static ToolError Failed(const std::string& context, HRESULT code) {
        return ToolError(context + ": " + Describe(code), code);
    }
    // The same, in the words of the error record the failing call left, when it left one.
    static ToolError FailedWithRecord(const std::string& context, HRESULT code);
    static ToolError Usage(const std::string& message) { return ToolError(message, S_OK, true); }

    // The library's own codes and the storage codes a user meets, in words; others as the
    // platform words them.
    static std::string Describe(HRESULT code);

    HRESULT Code() const noexcept { return code_; }
    // The message and, when there is one, the HRESULT: "... (0x80030002)".
    std::string WithCode() const;
    bool IsUsage() const noexcept { return usage_; }

private:
    HRESULT code_;
    bool usage_;
};

}  // namespace qnps
