// qnps: lists, shows, exports, imports and checks the property tables that QnPropStorage keeps in
// the streams of compound files, through the library's own interfaces.
#include "com/Platform.h"

#include <shellapi.h>

#include <cstdio>
#include <new>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "ToolError.h"
#include "com/ComError.h"
#include "com/UniqueHandle.h"

namespace {

class ComApartment {
public:
    ComApartment() : hr_(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {
        if (FAILED(hr_)) throw qnps::ToolError::Failed("COM", hr_);
    }
    ~ComApartment() { ::CoUninitialize(); }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

private:
    HRESULT hr_;
};

std::string WithCode(const std::string& message, HRESULT code) {
    if (code == S_OK) return message;
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08lX", static_cast<unsigned long>(code));
    return message + " (" + hex + ")";
}

int Run() {
    int count = 0;
    const com::UniqueLocalMemory<wchar_t*> raw(::CommandLineToArgvW(::GetCommandLineW(), &count));
    if (!raw) throw qnps::ToolError::Failed("the command line", HRESULT_FROM_WIN32(::GetLastError()));
    std::vector<std::wstring> arguments(raw.get() + (count > 0 ? 1 : 0), raw.get() + count);
    ComApartment apartment;
    return qnps::Commands(std::move(arguments)).Run();
}

}  // namespace

int main() {
    qnps::Console console;
    try {
        return Run();
    } catch (const qnps::ToolError& error) {
        qnps::Console::Error("qnps: " + WithCode(error.what(), error.Code()) + "\n");
        if (!error.IsUsage()) return 1;
        qnps::Console::Error(qnps::Commands::Usage());
        return 2;
    } catch (const com::ComError& error) {
        qnps::Console::Error("qnps: " + WithCode("the library failed: " + qnps::ToolError::Describe(error.Code()),
                                                 error.Code()) + "\n");
    } catch (const std::bad_alloc&) {
        qnps::Console::Error("qnps: out of memory\n");
    } catch (const std::exception& error) {
        qnps::Console::Error(std::string("qnps: ") + error.what() + "\n");
    }
    return 1;
}
