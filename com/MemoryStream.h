#pragma once

#include "com/Platform.h"

#include <vector>

#include "com/ComPtr.h"
#include "com/UnknownObject.h"

namespace com {

// An IStream over a buffer that grows geometrically. The platform's HGlobal stream reallocates to
// the exact size on every write under some implementations, which makes a large document's save
// cost grow with the square of its size.
class MemoryStream final : public UnknownObject<IStream> {
public:
    static ComPtr<MemoryStream> Create();

    // Whether a write or resize ran out of memory. Some writers, the platform's DOM among them,
    // report success after a write into them failed.
    bool Failed() const noexcept { return failed_; }
    // Hands the content over and leaves the stream empty.
    std::vector<BYTE> TakeBytes() noexcept {
        position_ = 0;
        return std::move(bytes_);
    }

    STDMETHODIMP Read(void* buffer, ULONG count, ULONG* read) override;
    STDMETHODIMP Write(const void* buffer, ULONG count, ULONG* written) override;
    STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
    STDMETHODIMP SetSize(ULARGE_INTEGER size) override;
    STDMETHODIMP CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                        ULARGE_INTEGER* written) override;
    STDMETHODIMP Commit(DWORD) override { return S_OK; }
    STDMETHODIMP Revert() override { return S_OK; }
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    STDMETHODIMP Stat(STATSTG* status, DWORD flags) override;
    STDMETHODIMP Clone(IStream** clone) override;

private:
    MemoryStream() = default;
    ~MemoryStream() override = default;

    std::vector<BYTE> bytes_;
    size_t position_ = 0;
    bool failed_ = false;
};

}  // namespace com
