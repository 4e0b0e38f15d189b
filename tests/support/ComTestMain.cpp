// Test executables run in a single-threaded apartment, as the library's hosts do.
#include <gtest/gtest.h>

#include "com/Platform.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    const int result = RUN_ALL_TESTS();
    ::CoUninitialize();
    return result;
}
