#include "support/StreamSupport.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace qnps_test {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

CompoundFile::CompoundFile(const wchar_t* path) : path_(path ? path : L"") {
    ComPtr<ILockBytes> bytes;
    if (path) {
        EXPECT_EQ(S_OK, ::StgCreateDocfile(path, kCreate, 0, storage_.put()));
    } else {
        EXPECT_EQ(S_OK, ::CreateILockBytesOnHGlobal(nullptr, TRUE, bytes.put()));
        EXPECT_EQ(S_OK, ::StgCreateDocfileOnILockBytes(bytes.get(), kCreate, 0, storage_.put()));
    }
}

ComPtr<IStream> CompoundFile::CreateStream(const wchar_t* name) {
    ComPtr<IStream> stream;
    EXPECT_EQ(S_OK, storage_->CreateStream(name, kCreate, 0, 0, stream.put()));
    return stream;
}

std::string StreamBytes(IStream* stream) {
    Rewind(stream);
    std::string bytes;
    char buffer[4096];
    ULONG read = 0;
    while (SUCCEEDED(stream->Read(buffer, sizeof buffer, &read)) && read > 0) bytes.append(buffer, read);
    return bytes;
}

std::string StreamText(IStream* stream) {
    std::string text = StreamBytes(stream);
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }), text.end());
    return text;
}

ComPtr<IStream> HGlobalStream(const std::string& bytes) {
    ComPtr<IStream> stream;
    EXPECT_EQ(S_OK, ::CreateStreamOnHGlobal(nullptr, TRUE, stream.put()));
    if (stream) SetStreamBytes(stream.get(), bytes);
    return stream;
}

void SetStreamBytes(IStream* stream, const std::string& bytes) {
    EXPECT_EQ(S_OK, stream->SetSize(ULARGE_INTEGER{}));
    Rewind(stream);
    ULONG written = 0;
    EXPECT_EQ(S_OK, stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written));
    Rewind(stream);
}

void KeepWrittenDocument(IStream* stream) {
    static int kept = 0;
    const char* folder = std::getenv("QNPS_WRITTEN_DOCUMENTS");
    ComPtr<IStream> clone;
    if (!folder || FAILED(stream->Clone(clone.put()))) return;
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    std::replace(name.begin(), name.end(), '/', '_');
    std::ofstream(std::string(folder) + "/" + name + "." + std::to_string(++kept) + ".xml", std::ios::binary)
        << StreamBytes(clone.get());
}

}  // namespace qnps_test
