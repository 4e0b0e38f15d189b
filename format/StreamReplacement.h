#pragma once

#include <string>
#include <vector>

#include "com/Platform.h"

namespace format {

// The whole content of a stream, read from its start; `size` is what the stream's status reports.
// A read that fails or ends early throws the stream's failure (E_FAIL for a short read), and the
// stream's position is all it changes.
std::vector<BYTE> ReadWholeStream(IStream* stream, ULONGLONG size);

// Replaces a stream's content with a new document so that, after every single call made to the
// stream, it holds a whole document, old or new. Nothing is truncated first: the new document is
// written over the old one from offset 0, padded with white space after its root element to at
// least the old length, and cut to its own length only once every byte is in. When a step fails,
// the old document is written back the same way. Every buffer this needs is made before the
// stream is touched, so running out of memory never leaves it half written.
class StreamReplacement {
public:
    // kReplacedPadded: the new document is in whole, followed by white space that could not be cut.
    enum class Outcome { kReplaced, kReplacedPadded, kUntouched, kRestored, kRestoredPadded, kNotRestored };

    // Running out of memory for the buffers is thrown here, before the stream is touched.
    StreamReplacement(IStream* stream, std::vector<BYTE> oldBytes, std::vector<BYTE> newBytes);

    Outcome Run() noexcept;
    // What went wrong and what the stream holds now, for the caller's error record.
    std::wstring Describe() const;

private:
    struct Failure {
        const wchar_t* call = nullptr;
        HRESULT code = S_OK;
        ULONG written = 0, expected = 0;
    };

    bool WriteFromStart(const std::vector<BYTE>& bytes, Failure& failure) noexcept;
    bool SetSize(size_t size, Failure& failure) noexcept;
    Outcome Restore() noexcept;

    IStream* stream_;
    size_t oldSize_, newSize_;
    // Each padded with its own encoding's space to a length no shorter than what precedes it.
    std::vector<BYTE> oldPadded_, newPadded_;
    Failure failure_, restoreFailure_;
    Outcome outcome_ = Outcome::kUntouched;
};

}  // namespace format
