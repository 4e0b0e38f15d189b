#pragma once

#include "com/Platform.h"

#include <string>

#include "QnPropStorage.h"
#include "com/ComPtr.h"
#include "com/UniqueHandle.h"

namespace qnps {

// The library's storage object, in this process: the registered class when there is one,
// otherwise QnPropStorage.dll beside the tool through its class object.
class StorageServer {
public:
    StorageServer();
    IQnPropertyStorage* operator->() const noexcept { return storage_.get(); }
    IQnPropertyStorage* get() const noexcept { return storage_.get(); }

private:
    bool LoadUnregistered(const std::wstring& path);

    // Declared first so that the library is unloaded only after the object is released.
    com::UniqueHandle<HMODULE, &::FreeLibrary> module_;
    com::ComPtr<IQnPropertyStorage> storage_;
};

}  // namespace qnps
