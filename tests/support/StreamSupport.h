#pragma once

#include <string>

#include "support/ComTestSupport.h"

namespace qnps_test {

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
void Rewind(IStream* stream);
ULONGLONG StreamSize(IStream* stream);

}  // namespace qnps_test
