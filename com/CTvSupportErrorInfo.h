#pragma once

#include "com/Platform.h"

namespace com {

// ISupportErrorInfo for an object that reports errors on the listed interfaces. The IUnknown
// members come from the object that derives from it.
template <class... Interfaces>
class CTvSupportErrorInfo : public ISupportErrorInfo {
public:
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override {
        return ((::IsEqualGUID(riid, __uuidof(Interfaces))) || ...) ? S_OK : S_FALSE;
    }
};

}  // namespace com
