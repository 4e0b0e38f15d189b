#pragma once

#include "com/Platform.h"

namespace module {

// The module's application object: it gives the library its own module state (the instance its
// resources come from) when the platform loads it.
class CQnPropStorageApp {
public:
    static void InitInstance(HINSTANCE instance) noexcept;
    static HINSTANCE Instance() noexcept;
    // The module's full path, as registration writes it.
    static bool ModulePath(wchar_t* path, DWORD capacity) noexcept;
};

}  // namespace module
