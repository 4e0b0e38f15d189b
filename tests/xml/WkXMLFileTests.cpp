// The wrapper of one parser document: creating, loading, sections under the root, and how a
// failed load is reported.
#include "xml/WkXMLFile.h"
#include "xml/XmlTestSupport.h"

namespace {

using namespace xml_test;
using xml::WkXMLFile;

class XmlFile : public XmlTest {
protected:
    // Loads `markup` from a stream into a wrapper with the given flags.
    std::unique_ptr<WkXMLFile> Loaded(const std::string& markup, DWORD flags) {
        auto file = std::make_unique<WkXMLFile>(flags);
        auto stream = StreamOf(markup);
        EXPECT_EQ(S_OK, file->LoadSource(&SourceOf(stream.get()).get(), nullptr));
        Track(file->Document());
        return file;
    }
    std::wstring RootMarkup(WkXMLFile& file) { return MarkupOf(file.GetRoot()); }
};

TEST_F(XmlFile, ReadOnlyWrapperNeverCreatesASection) {
    auto file = Loaded("<Root><A/></Root>", WkXMLFile::kReadOnly);
    EXPECT_TRUE(file->GetSection(L"A"));
    EXPECT_FALSE(file->GetSection(L"B"));
    EXPECT_FALSE(file->GetSection(L"A", L"Sub"));
    EXPECT_EQ(0, file->HasSection(L"B"));
    EXPECT_EQ(L"<Root><A/></Root>", RootMarkup(*file));
}

TEST_F(XmlFile, WritableWrapperAppendsMissingSections) {
    auto file = Loaded("<Root><A/><Deep><Inner/></Deep></Root>", 0);
    EXPECT_TRUE(file->GetSection(L"B"));
    // Names are matched with case, and only directly under the root.
    EXPECT_TRUE(file->GetSection(L"a"));
    EXPECT_TRUE(file->GetSection(L"Inner"));
    EXPECT_TRUE(file->GetSection(L"A", L"Sub"));
    EXPECT_EQ(1, file->HasSection(L"A"));
    EXPECT_EQ(L"<Root><A><Sub/></A><Deep><Inner/></Deep><B/><a/><Inner/></Root>", RootMarkup(*file));
}

TEST_F(XmlFile, EmptySourceMakesANewDocument) {
    WkXMLFile file(0);
    UniqueVariant empty;
    EXPECT_EQ(S_FALSE, file.LoadSource(&empty.get(), L"Root"));
    Track(file.Document());
    auto stream = StreamOf("");
    ASSERT_EQ(S_OK, file.Document()->save(SourceOf(stream.get()).get()));
    EXPECT_EQ(std::string(kDeclaration) + "<Root/>", SavedText(stream.get()));
    EXPECT_EQ(E_POINTER, file.LoadSource(nullptr, L"Root"));
}

TEST_F(XmlFile, AFailedLoadFailsAndLeavesAnErrorRecord) {
    ::SetErrorInfo(0, nullptr);
    WkXMLFile file(0);
    auto stream = StreamOf("<Root><Unclosed></Root>");
    const HRESULT hr = file.LoadSource(&SourceOf(stream.get()).get(), nullptr);
    Track(file.Document());
    EXPECT_TRUE(FAILED(hr)) << std::hex << hr;
    ComPtr<IErrorInfo> info;
    EXPECT_EQ(S_OK, ::GetErrorInfo(0, info.put()));
    EXPECT_TRUE(info);
}

TEST_F(XmlFile, MissingFilesAreNoParseErrors) {
    ::SetErrorInfo(0, nullptr);
    WkXMLFile file(0);
    EXPECT_EQ(0, file.LoadFile(L"Z:\\no\\such\\directory\\file.xml", 0));
    Track(file.Document());
    ComPtr<IErrorInfo> info;
    EXPECT_EQ(S_FALSE, ::GetErrorInfo(0, info.put()));
}

TEST_F(XmlFile, SavedFilesLoadAgain) {
    wchar_t directory[MAX_PATH] = {};
    ASSERT_NE(0u, ::GetTempPathW(MAX_PATH, directory));
    const std::wstring path = std::wstring(directory) + L"qnps-wrapper-" +
                              std::to_wstring(::GetCurrentProcessId()) + L".xml";
    {
        auto file = Loaded("<Root><A x=\"1\"/></Root>", 0);
        EXPECT_EQ(1, file->SaveFile(path.c_str()));
    }
    WkXMLFile again(0);
    EXPECT_EQ(1, again.LoadFile(path.c_str(), 0));
    Track(again.Document());
    EXPECT_EQ(L"<Root><A x=\"1\"/></Root>", RootMarkup(again));
    EXPECT_TRUE(::DeleteFileW(path.c_str()));
}

}  // namespace
