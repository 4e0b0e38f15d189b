// Test executables run in a single-threaded apartment, as the library's hosts do.
#include "support/ComTestSupport.h"

std::vector<std::wstring> qnps_test::arguments;

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    for (int i = 1; i < argc; ++i) {
        wchar_t full[MAX_PATH];
        ::GetFullPathNameW(std::wstring(argv[i], argv[i] + std::strlen(argv[i])).c_str(), MAX_PATH, full, nullptr);
        qnps_test::arguments.push_back(full);
    }
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    const int result = RUN_ALL_TESTS();
    ::CoUninitialize();
    return result;
}
