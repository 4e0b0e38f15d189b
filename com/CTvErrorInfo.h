#pragma once

#include "com/Platform.h"

#include "com/Bstr.h"

namespace TVL {

// An object's own record of its last failure: source, description, help file and the code.
// Objects create it on their first failure only.
struct CTvErrorInfo {
    com::UniqueBstr source;
    com::UniqueBstr description;
    com::UniqueBstr helpFile;
    HRESULT code = S_OK;
};

}  // namespace TVL
