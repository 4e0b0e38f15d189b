#pragma once

#include <string>

#include "support/ComTestSupport.h"

namespace qnps_test {

inline constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

// A stream of an OLE compound file, on disk or in memory, as hosts hand them to the library.
class CompoundFile {
public:
    // In memory when `path` is null.
    explicit CompoundFile(const wchar_t* path = nullptr);
    ~CompoundFile();

    // Creates (replacing) the stream, opened read-write.
    ComPtr<IStream> CreateStream(const wchar_t* name = L"Properties");
    // Opens the existing stream with the given access (STGM_READ or STGM_READWRITE).
    ComPtr<IStream> OpenStream(DWORD access, const wchar_t* name = L"Properties");

private:
    ComPtr<IStorage> storage_;
    std::wstring path_;
};

// The stream's whole content, read from its start; the position is left at the end.
std::string StreamBytes(IStream* stream);
// Replaces the stream's content and moves the position back to the start.
void SetStreamBytes(IStream* stream, const std::string& bytes);
// The whole content without line ends: the parser ends lines as its platform does (CR LF on
// Windows, LF under Wine), and the library writes none of its own.
std::string StreamText(IStream* stream);
// A stream over memory of the host's own, holding `bytes`, positioned at the start. It reports no
// access mode at all, which a writer testing for write access takes as read-only.
ComPtr<IStream> HGlobalStream(const std::string& bytes = std::string());
void Rewind(IStream* stream);
ULONGLONG StreamSize(IStream* stream);
// When QNPS_WRITTEN_DOCUMENTS names a folder, keeps a copy of the document in `stream` there for
// the schema check; read through a clone, so the stream itself is left as the write left it.
void KeepWrittenDocument(IStream* stream);

}  // namespace qnps_test
