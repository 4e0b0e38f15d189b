// The read cursor on the platform parser: loading, sections, walking child elements, finding
// elements and reading and changing attributes.
#include "xml/CXmlReaderBase.h"
#include "xml/XmlTestSupport.h"

namespace {

using namespace xml_test;
using xml::CXmlReaderBase;

void WriteFileBytes(const std::wstring& path, const std::string& bytes) {
    HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, file);
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
    ::CloseHandle(file);
}

class XmlReader : public XmlTest {
protected:
    // The reader lets go of its document before the fixture checks that nobody else holds it.
    void TearDown() override {
        reader_.Close();
        XmlTest::TearDown();
    }

    // Reads `markup` loaded with white space kept.
    void Attach(const wchar_t* markup) { ASSERT_EQ(1, reader_.AttachDocument(Parse(markup, true).get())); }

    // The names of the level's remaining child elements, comma-separated.
    std::wstring RemainingElements() {
        std::wstring names;
        UniqueBstr name;
        while (reader_.NextElement(name.put())) names += (names.empty() ? L"" : L",") + Wide(name.get());
        return names;
    }
    std::wstring Attribute(const wchar_t* name) {
        std::wstring value = L"<none>";
        reader_.GetAttribute(com::CopyText(name).get(), value);
        return value;
    }

    CXmlReaderBase reader_;
};

TEST_F(XmlReader, NextElementPassesOverWhiteSpaceTextAndComments) {
    auto document = Parse(L"<Root>\n  <Section>\n    <A/>\n    <!-- note -->\n    <B x=\"1\"/>\n    loose text\n"
                          L"    <?pi data?>\n    <C/>\n  </Section>\n</Root>",
                          true);
    ASSERT_EQ(1, reader_.AttachDocument(document.get()));
    ASSERT_EQ(1, reader_.OpenSection(L"Section"));
    ASSERT_EQ(1, reader_.NextElement(nullptr));
    EXPECT_EQ(L"<none>", Attribute(L"x"));
    ASSERT_EQ(1, reader_.NextElement(nullptr));
    EXPECT_EQ(L"1", Attribute(L"x"));
    EXPECT_EQ(L"C", RemainingElements());
    EXPECT_EQ(0, reader_.NextElement(nullptr));

    // The white space really is in the document: the walk had text nodes to pass over.
    ComPtr<IXMLDOMNodeList> matches;
    ComPtr<IXMLDOMNode> section;
    ComPtr<IXMLDOMNodeList> children;
    long count = 0;
    ASSERT_EQ(S_OK, document->getElementsByTagName(com::CopyText(L"Section").get(), matches.put()));
    ASSERT_EQ(S_OK, matches->get_item(0, section.put()));
    ASSERT_EQ(S_OK, section->get_childNodes(children.put()));
    ASSERT_EQ(S_OK, children->get_length(&count));
    EXPECT_GT(count, 8);
}

TEST_F(XmlReader, OpenSectionFindsTheFirstElementOfTheNameAtAnyDepth) {
    Attach(L"<Root><P><Q><S><One/></S></Q></P><S><Two/></S></Root>");
    ASSERT_EQ(1, reader_.OpenSection(L"S"));
    EXPECT_EQ(L"One", RemainingElements());
    ASSERT_EQ(1, reader_.OpenSection(L"Q"));
    EXPECT_EQ(L"S", RemainingElements());
    EXPECT_EQ(0, reader_.OpenSection(L"Missing"));
    EXPECT_EQ(0, reader_.NextElement(nullptr));
    EXPECT_EQ(0, reader_.OpenSection(nullptr));
}

TEST_F(XmlReader, FindElementScansTheWholeLevelWithoutMovingTheWalk) {
    Attach(L"<Root><Rows><Row id=\"a\"/><row id=\"B\"/><Row/><Other id=\"c\"/></Rows></Root>");
    ASSERT_EQ(1, reader_.OpenSection(L"Rows"));
    ASSERT_EQ(1, reader_.NextElement(nullptr));
    const UniqueBstr id = com::CopyText(L"id");

    // Names and values without case.
    ASSERT_EQ(1, reader_.FindElement(L"ROW", id.get(), L"b"));
    EXPECT_EQ(L"B", Attribute(L"id"));
    // An element lacking the attribute matches whatever value is asked for.
    ASSERT_EQ(1, reader_.FindElement(L"Row", id.get(), L"zz"));
    EXPECT_EQ(L"<none>", Attribute(L"id"));
    // So the bare Row comes before Other, whatever name and value are asked for.
    ASSERT_EQ(1, reader_.FindElement(nullptr, id.get(), L"C"));
    EXPECT_EQ(L"<none>", Attribute(L"id"));
    ASSERT_EQ(1, reader_.FindElement(nullptr, id.get(), L"A"));
    EXPECT_EQ(L"a", Attribute(L"id"));
    ASSERT_EQ(1, reader_.FindElement(L"Other", id.get(), L"C"));
    EXPECT_EQ(L"c", Attribute(L"id"));
    ASSERT_EQ(1, reader_.FindElement(L"Other", nullptr, nullptr));
    EXPECT_EQ(0, reader_.FindElement(L"Missing", nullptr, nullptr));
    EXPECT_EQ(L"<none>", Attribute(L"id"));

    // The walk goes on behind the first element.
    EXPECT_EQ(L"row,Row,Other", RemainingElements());
}

TEST_F(XmlReader, GetRootInfoListsOnlyTheAttributesThatExist) {
    Attach(L"<Root A=\"1\" C=\"3\" D=\"4\"/>");
    const wchar_t* names[] = {L"A", L"B", L"C", nullptr};
    std::vector<std::wstring> values;
    std::wstring rootName = L"stale";
    ASSERT_EQ(1, reader_.GetRootInfo(names, &values, &rootName));
    EXPECT_EQ((std::vector<std::wstring>{L"1", L"3"}), values);
    EXPECT_EQ(L"Root", rootName);
    EXPECT_EQ(1, reader_.GetRootInfo(nullptr, nullptr, nullptr));

    reader_.Close();
    rootName = L"stale";
    EXPECT_EQ(0, reader_.GetRootInfo(names, &values, &rootName));
    EXPECT_EQ(L"", rootName);
}

TEST_F(XmlReader, LevelsArePushedAndPopped) {
    Attach(L"<Root><S><A><A1/><A2/></A><B/></S></Root>");
    ASSERT_EQ(1, reader_.OpenSection(L"S"));
    ASSERT_EQ(1, reader_.NextElement(nullptr));
    ASSERT_EQ(1, reader_.PushLevel());
    EXPECT_EQ(L"A1,A2", RemainingElements());
    ASSERT_EQ(1, reader_.PopLevel());
    EXPECT_EQ(L"B", RemainingElements());
    EXPECT_EQ(0, reader_.PopLevel());
    // A new section starts with an empty stack.
    ASSERT_EQ(1, reader_.PushLevel());
    ASSERT_EQ(1, reader_.OpenSection(L"A"));
    EXPECT_EQ(0, reader_.PopLevel());
}

TEST_F(XmlReader, ClosedReaderDoesNothing) {
    const UniqueBstr name = com::CopyText(L"x");
    BSTR out = nullptr;
    EXPECT_EQ(0, reader_.OpenSection(L"S"));
    EXPECT_EQ(0, reader_.NextElement(nullptr));
    EXPECT_EQ(0, reader_.FindElement(nullptr, nullptr, nullptr));
    EXPECT_EQ(0, reader_.GetAttribute(name.get(), &out));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(0, reader_.SetAttribute(name.get(), L"v"));
}

TEST_F(XmlReader, OpenDocumentLoadsAStreamAndRefusesWhatIsNoXml) {
    auto stream = StreamOf("<Root><S><A x=\"1\"/></S></Root>");
    Track(stream.get());
    ASSERT_EQ(1, reader_.OpenDocument(&SourceOf(stream.get()).get()));
    ASSERT_EQ(1, reader_.OpenSection(L"S"));
    EXPECT_EQ(L"A", RemainingElements());

    auto bad = StreamOf("<Root><S>");
    Track(bad.get());
    EXPECT_EQ(0, reader_.OpenDocument(&SourceOf(bad.get()).get()));
    EXPECT_FALSE(reader_.IsOpen());
    EXPECT_EQ(0, reader_.OpenSection(L"S"));
    EXPECT_EQ(0, reader_.OpenDocument(nullptr));
    EXPECT_EQ(0, reader_.OpenFile(L"Z:\\no\\such\\file.xml"));
    EXPECT_FALSE(reader_.IsOpen());
}

TEST_F(XmlReader, SetAttributeChangesOnlyDocumentsLoadedFromAFile) {
    auto stream = StreamOf("<Root><S><A x=\"1\"/></S></Root>");
    ASSERT_EQ(1, reader_.OpenDocument(&SourceOf(stream.get()).get()));
    ASSERT_EQ(1, reader_.OpenSection(L"S"));
    ASSERT_EQ(1, reader_.NextElement(nullptr));
    const UniqueBstr x = com::CopyText(L"x");
    EXPECT_EQ(0, reader_.SetAttribute(x.get(), L"2"));
    EXPECT_EQ(L"1", Attribute(L"x"));
    EXPECT_FALSE(reader_.IsModified());
    reader_.Close();

    wchar_t directory[MAX_PATH] = {};
    ASSERT_NE(0u, ::GetTempPathW(MAX_PATH, directory));
    const std::wstring path = std::wstring(directory) + L"qnps-reader-" +
                              std::to_wstring(::GetCurrentProcessId()) + L".xml";
    WriteFileBytes(path, "<Root><S><A x=\"1\"/></S></Root>");
    ASSERT_EQ(1, reader_.OpenFile(path.c_str()));
    ASSERT_EQ(1, reader_.OpenSection(L"S"));
    ASSERT_EQ(1, reader_.NextElement(nullptr));
    EXPECT_EQ(1, reader_.SetAttribute(x.get(), L"1"));
    EXPECT_FALSE(reader_.IsModified());
    EXPECT_EQ(0, reader_.SetAttribute(com::CopyText(L"y").get(), L"1"));
    EXPECT_EQ(1, reader_.SetAttribute(x.get(), L"2"));
    EXPECT_TRUE(reader_.IsModified());
    reader_.SaveIfModified();
    EXPECT_FALSE(reader_.IsModified());
    reader_.Close();

    ASSERT_EQ(1, reader_.OpenFile(path.c_str()));
    ASSERT_EQ(1, reader_.OpenSection(L"S"));
    ASSERT_EQ(1, reader_.NextElement(nullptr));
    EXPECT_EQ(L"2", Attribute(L"x"));
    reader_.Close();
    EXPECT_TRUE(::DeleteFileW(path.c_str()));
}

}  // namespace
