#include "com/MemoryStream.h"

#include <algorithm>
#include <cstring>

#include "com/ErrorBoundary.h"

namespace com {

ComPtr<MemoryStream> MemoryStream::Create() { return ComPtr<MemoryStream>(new MemoryStream); }

STDMETHODIMP MemoryStream::Read(void* buffer, ULONG count, ULONG* read) {
    if (!buffer) return STG_E_INVALIDPOINTER;
    const size_t available = position_ < bytes_.size() ? bytes_.size() - position_ : 0;
    const ULONG copied = static_cast<ULONG>(std::min<size_t>(count, available));
    if (copied) std::memcpy(buffer, bytes_.data() + position_, copied);
    position_ += copied;
    if (read) *read = copied;
    return S_OK;
}

STDMETHODIMP MemoryStream::Write(const void* buffer, ULONG count, ULONG* written) {
    if (!buffer) return STG_E_INVALIDPOINTER;
    return RunGuarded(
        [&] {
            const size_t end = position_ + count;
            if (end > bytes_.size()) {
                if (end > bytes_.capacity()) bytes_.reserve(std::max(end, bytes_.capacity() * 2));
                bytes_.resize(end);
            }
            std::memcpy(bytes_.data() + position_, buffer, count);
            position_ += count;
            if (written) *written = count;
            return S_OK;
        },
        [this](HRESULT code, const wchar_t*) noexcept {
            failed_ = true;
            return code;
        });
}

STDMETHODIMP MemoryStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
    LONGLONG base = 0;
    switch (origin) {
        case STREAM_SEEK_SET: base = 0; break;
        case STREAM_SEEK_CUR: base = static_cast<LONGLONG>(position_); break;
        case STREAM_SEEK_END: base = static_cast<LONGLONG>(bytes_.size()); break;
        default: return STG_E_INVALIDFUNCTION;
    }
    const LONGLONG target = base + move.QuadPart;
    if (target < 0) return STG_E_INVALIDFUNCTION;
    position_ = static_cast<size_t>(target);
    if (position) position->QuadPart = position_;
    return S_OK;
}

STDMETHODIMP MemoryStream::SetSize(ULARGE_INTEGER size) {
    return RunGuarded(
        [&] {
            bytes_.resize(static_cast<size_t>(size.QuadPart));
            return S_OK;
        },
        [this](HRESULT code, const wchar_t*) noexcept {
            failed_ = true;
            return code;
        });
}

STDMETHODIMP MemoryStream::CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                                  ULARGE_INTEGER* written) {
    if (!target) return STG_E_INVALIDPOINTER;
    const size_t available = position_ < bytes_.size() ? bytes_.size() - position_ : 0;
    const ULONG copied = static_cast<ULONG>(std::min<ULONGLONG>(count.QuadPart, available));
    ULONG done = 0;
    const HRESULT hr = target->Write(bytes_.data() + position_, copied, &done);
    position_ += copied;
    if (read) read->QuadPart = copied;
    if (written) written->QuadPart = done;
    return hr;
}

STDMETHODIMP MemoryStream::Stat(STATSTG* status, DWORD) {
    if (!status) return STG_E_INVALIDPOINTER;
    std::memset(status, 0, sizeof *status);
    status->type = STGTY_STREAM;
    status->cbSize.QuadPart = bytes_.size();
    status->grfMode = STGM_READWRITE;
    return S_OK;
}

STDMETHODIMP MemoryStream::Clone(IStream** clone) {
    if (clone) *clone = nullptr;
    return E_NOTIMPL;
}

}  // namespace com
