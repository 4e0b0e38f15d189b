#pragma once

#include <string>

#include "support/ComTestSupport.h"

namespace qnps_test {

inline constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

// A stream of an OLE compound file (in memory when `path` is null), as hosts hand them over.
class CompoundFile {
public:
    explicit CompoundFile(const wchar_t* path = nullptr);
    ~CompoundFile() {
        storage_.reset();
        if (!path_.empty()) ::DeleteFileW(path_.c_str());
    }
    ComPtr<IStream> CreateStream(const wchar_t* name = L"Properties");

private:
    ComPtr<IStorage> storage_;
    std::wstring path_;
};

// The whole content, read from the start.
std::string StreamBytes(IStream* stream);
// Replaces the content and rewinds.
void SetStreamBytes(IStream* stream, const std::string& bytes);
// Without line ends: the parser ends lines as its platform does (CR LF on Windows, LF under Wine).
std::string StreamText(IStream* stream);
// Over the host's own memory; it reports no access mode, which a writer takes as read-only.
ComPtr<IStream> HGlobalStream(const std::string& bytes = std::string());
inline void Rewind(IStream* stream) { EXPECT_EQ(S_OK, stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr)); }
// With QNPS_WRITTEN_DOCUMENTS set, copies the document there for the schema check, through a clone.
void KeepWrittenDocument(IStream* stream);

}  // namespace qnps_test
