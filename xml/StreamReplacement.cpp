#include "xml/StreamReplacement.h"

#include <climits>
#include <cwchar>

#include "com/ComError.h"

namespace xml {
namespace {

constexpr wchar_t kSeek[] = L"Seek";
constexpr wchar_t kWrite[] = L"Write";
constexpr wchar_t kSetSize[] = L"SetSize";

// One space in the document's encoding. The parser writes UTF-8 unless a document's declaration
// asks for UTF-16; a UTF-16 document starts with its byte-order mark or with "<" in two bytes.
std::vector<BYTE> SpaceOf(const std::vector<BYTE>& document) {
    if (document.size() >= 2) {
        const BYTE first = document[0], second = document[1];
        if ((first == 0xFF && second == 0xFE) || (first == '<' && second == 0)) return {0x20, 0x00};
        if ((first == 0xFE && second == 0xFF) || (first == 0 && second == '<')) return {0x00, 0x20};
    }
    return {0x20};
}

// White space after the root element is part of no document's content, so a padded document
// reads as the same document.
void PadTo(std::vector<BYTE>& document, size_t minimum) {
    if (document.size() >= minimum) return;
    const std::vector<BYTE> space = SpaceOf(document);
    const size_t spaces = (minimum - document.size() + space.size() - 1) / space.size();
    document.reserve(document.size() + spaces * space.size());
    for (size_t i = 0; i < spaces; ++i) document.insert(document.end(), space.begin(), space.end());
}

}  // namespace

std::vector<BYTE> ReadWholeStream(IStream* stream, ULONGLONG size) {
    if (size > ULONG_MAX) com::ThrowOutOfMemory();
    std::vector<BYTE> bytes(static_cast<size_t>(size));
    com::ThrowIfFailed(stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr));
    size_t done = 0;
    while (done < bytes.size()) {
        ULONG read = 0;
        com::ThrowIfFailed(stream->Read(bytes.data() + done, static_cast<ULONG>(bytes.size() - done), &read));
        if (read == 0) throw com::ComError(E_FAIL);
        done += read;
    }
    return bytes;
}

StreamReplacement::StreamReplacement(IStream* stream, std::vector<BYTE> oldBytes, std::vector<BYTE> newBytes)
    : stream_(stream), oldSize_(oldBytes.size()), newSize_(newBytes.size()) {
    newPadded_ = std::move(newBytes);
    PadTo(newPadded_, oldSize_);
    oldPadded_ = std::move(oldBytes);
    // An empty stream is put back by cutting it, not by writing over what the new document left.
    if (oldSize_ > 0) PadTo(oldPadded_, newPadded_.size());
    if (newPadded_.size() > ULONG_MAX || oldPadded_.size() > ULONG_MAX) com::ThrowOutOfMemory();
}

bool StreamReplacement::WriteFromStart(const std::vector<BYTE>& bytes, Failure& failure) noexcept {
    const HRESULT moved = stream_->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
    if (FAILED(moved)) {
        failure = {kSeek, moved, 0, 0};
        return false;
    }
    const ULONG expected = static_cast<ULONG>(bytes.size());
    ULONG written = 0;
    // One call: a document split over several writes would be neither document in between.
    const HRESULT hr = expected ? stream_->Write(bytes.data(), expected, &written) : S_OK;
    // A write that stops short is a failure even when the stream calls it a success.
    if (FAILED(hr) || written != expected) {
        failure = {kWrite, hr, written, expected};
        return false;
    }
    return true;
}

bool StreamReplacement::SetSize(size_t size, Failure& failure) noexcept {
    ULARGE_INTEGER newSize;
    newSize.QuadPart = size;
    const HRESULT hr = stream_->SetSize(newSize);
    if (FAILED(hr)) failure = {kSetSize, hr, 0, 0};
    return SUCCEEDED(hr);
}

StreamReplacement::Outcome StreamReplacement::Run() noexcept {
    if (!WriteFromStart(newPadded_, failure_)) {
        outcome_ = failure_.call == kSeek ? Outcome::kUntouched : Restore();
        return outcome_;
    }
    if (newPadded_.size() != newSize_ && !SetSize(newSize_, failure_)) {
        outcome_ = Restore();
        // The whole new document is in, followed by white space, and nothing could be written
        // over it: that is the new content, not a loss.
        if (outcome_ == Outcome::kNotRestored && restoreFailure_.written == 0) outcome_ = Outcome::kReplacedPadded;
        return outcome_;
    }
    outcome_ = Outcome::kReplaced;
    return outcome_;
}

StreamReplacement::Outcome StreamReplacement::Restore() noexcept {
    if (oldSize_ == 0) return SetSize(0, restoreFailure_) ? Outcome::kRestored : Outcome::kNotRestored;
    if (!WriteFromStart(oldPadded_, restoreFailure_)) return Outcome::kNotRestored;
    if (oldPadded_.size() != oldSize_ && !SetSize(oldSize_, restoreFailure_)) return Outcome::kRestoredPadded;
    return Outcome::kRestored;
}

std::wstring StreamReplacement::Describe() const {
    auto callText = [](const Failure& failure) {
        wchar_t text[160];
        if (failure.call == kWrite && failure.written != failure.expected) {
            std::swprintf(text, 160, L"IStream::Write answered 0x%08lX after writing %lu of %lu bytes",
                          static_cast<unsigned long>(failure.code), static_cast<unsigned long>(failure.written),
                          static_cast<unsigned long>(failure.expected));
        } else {
            std::swprintf(text, 160, L"IStream::%ls answered 0x%08lX", failure.call,
                          static_cast<unsigned long>(failure.code));
        }
        return std::wstring(text);
    };
    std::wstring text = L"The property document could not be written into the stream: " + callText(failure_) + L". ";
    switch (outcome_) {
        case Outcome::kUntouched: return text + L"The stream's content was not changed.";
        case Outcome::kRestored: return text + L"The stream's earlier content was put back.";
        case Outcome::kReplacedPadded: return text;
        case Outcome::kRestoredPadded:
            return text + L"The stream's earlier document was put back, followed by white space (" +
                   callText(restoreFailure_) + L" when its old length was restored).";
        case Outcome::kNotRestored:
            return text + L"The stream's earlier content could not be put back (" + callText(restoreFailure_) +
                   L"); the stream may hold neither document.";
        default: return text;
    }
}

}  // namespace xml
