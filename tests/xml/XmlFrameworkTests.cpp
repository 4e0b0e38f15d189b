// The XML framework on the platform parser, every DOM document gone with the test's own reference:
// read cursor, write cursor, wrapper of one document; and the list the writer keeps columns in.
#include <algorithm>
#include <memory>
#include <vector>

#include "support/StreamSupport.h"
#include "xml/CListBase.h"
#include "xml/CXmlReaderBase.h"
#include "xml/CXmlWriterBase.h"
#include "xml/WkXMLFile.h"

namespace {

using com::ComPtr;
using com::UniqueBstr;
using qnps_test::HGlobalStream;
using qnps_test::kDeclaration;
using qnps_test::StreamText;
using xml::CListEntryBase;
using xml::WkXMLFile;

// A VARIANT holding the stream, as the parser's load and save take it.
com::UniqueVariant SourceOf(IStream* stream) {
    com::UniqueVariant source;
    source.get().vt = VT_UNKNOWN;
    ComPtr<IStream>(stream).copy_to(reinterpret_cast<IStream**>(&source.get().punkVal));
    return source;
}

// The document as the parser saves it, without the indentation its markup property adds.
std::string SavedText(IXMLDOMDocument* document) {
    if (!document) return "<no document>";
    auto stream = HGlobalStream();
    EXPECT_EQ(S_OK, document->save(SourceOf(stream.get()).get()));
    return StreamText(stream.get());
}

class XmlTest : public ::testing::Test {
protected:
    void TearDown() override {
        reader_.Close();
        writer_.CloseElement();
        writer_.Close();
        for (IUnknown* object : tracked_) EXPECT_EQ(0u, object->Release()) << "a DOM document outlived its user";
    }
    template <class T>
    T* Track(T* object) {
        if (object) {
            object->AddRef();
            tracked_.push_back(object);
        }
        return object;
    }
    // Reads a document keeping the white space between elements, which the library's loading drops.
    void AttachReader(const wchar_t* markup) {
        ComPtr<IXMLDOMDocument> document;
        ASSERT_EQ(S_OK, ::CoCreateInstance(xml::kFreeThreadedDOMDocument60, nullptr, CLSCTX_INPROC_SERVER,
                                           __uuidof(IXMLDOMDocument), document.put_void()));
        VARIANT_BOOL loaded = VARIANT_FALSE;
        document->put_async(VARIANT_FALSE);
        document->put_preserveWhiteSpace(VARIANT_TRUE);
        ASSERT_EQ(S_OK, document->loadXML(com::CopyText(markup).get(), &loaded));
        ASSERT_EQ(1, reader_.AttachDocument(Track(document.get())));
    }
    void OpenReader(const std::string& markup) {
        auto stream = HGlobalStream(markup);
        ASSERT_EQ(1, reader_.OpenDocument(&SourceOf(Track(stream.get())).get()));
    }
    std::unique_ptr<WkXMLFile> Loaded(const std::string& markup, DWORD flags) {
        auto file = std::make_unique<WkXMLFile>(flags);
        EXPECT_EQ(S_OK, file->LoadSource(&SourceOf(HGlobalStream(markup).get()).get(), nullptr));
        Track(file->Document());
        return file;
    }
    // The names of the reader's remaining child elements at its level, comma-separated.
    std::wstring Remaining() {
        std::wstring names;
        UniqueBstr name;
        while (reader_.NextElement(name.put())) names += (names.empty() ? L"" : L",") + qnps_test::Text(name.get());
        return names;
    }
    std::wstring Attribute(const wchar_t* name) {
        std::wstring value = L"<none>";
        reader_.GetAttribute(com::CopyText(name).get(), value);
        return value;
    }

    xml::CXmlReaderBase reader_;
    xml::CXmlWriterBase writer_;

private:
    std::vector<IUnknown*> tracked_;
};

TEST_F(XmlTest, ReaderWalksPastWhiteSpaceTextCommentsAndInstructions) {
    AttachReader(L"<Root>\n <S>\n  <A/>\n  <!-- note -->\n  <B x=\"1\"/>\n  loose text\n"
                 L"  <?pi data?>\n  <C/>\n </S>\n</Root>");
    ASSERT_EQ(1, reader_.OpenSection(L"S"));
    ASSERT_EQ(1, reader_.NextElement(nullptr));
    EXPECT_EQ(L"<none>", Attribute(L"x"));
    ASSERT_EQ(1, reader_.NextElement(nullptr));
    EXPECT_EQ(L"1", Attribute(L"x"));
    EXPECT_EQ(L"C", Remaining());
}

TEST_F(XmlTest, ReaderOpensTheFirstSectionOfTheNameAtAnyDepth) {
    OpenReader("<Root><P><Q><S><One/></S></Q></P><S><Two/></S></Root>");
    ASSERT_EQ(1, reader_.OpenSection(L"S"));
    EXPECT_EQ(L"One", Remaining());
    ASSERT_EQ(1, reader_.OpenSection(L"Q"));
    EXPECT_EQ(L"S", Remaining());
    EXPECT_EQ(0, reader_.OpenSection(L"Missing"));
    EXPECT_EQ(0, reader_.NextElement(nullptr));
}

TEST_F(XmlTest, ReaderFindsElementsOfTheWholeLevelWithoutMovingTheWalk) {
    OpenReader("<Root><Rows><Row id=\"a\"/><row id=\"B\"/><Row/><Other id=\"c\"/></Rows></Root>");
    ASSERT_EQ(1, reader_.OpenSection(L"Rows"));
    ASSERT_EQ(1, reader_.NextElement(nullptr));
    const UniqueBstr id = com::CopyText(L"id");
    // Names and values without case; an element lacking the attribute matches any value asked for.
    ASSERT_EQ(1, reader_.FindElement(L"ROW", id.get(), L"b"));
    EXPECT_EQ(L"B", Attribute(L"id"));
    ASSERT_EQ(1, reader_.FindElement(nullptr, id.get(), L"C"));
    EXPECT_EQ(L"<none>", Attribute(L"id"));
    ASSERT_EQ(1, reader_.FindElement(L"Other", id.get(), L"C"));
    EXPECT_EQ(L"c", Attribute(L"id"));
    EXPECT_EQ(0, reader_.FindElement(L"Missing", nullptr, nullptr));
    EXPECT_EQ(L"row,Row,Other", Remaining());
}

TEST_F(XmlTest, ReaderListsTheRootAttributesThatExistAndChangesNoStreamDocument) {
    OpenReader("<Root A=\"1\" C=\"3\" D=\"4\"><S><E x=\"1\"/></S></Root>");
    const wchar_t* names[] = {L"A", L"B", L"C", nullptr};
    std::vector<std::wstring> values;
    std::wstring rootName;
    ASSERT_EQ(1, reader_.GetRootInfo(names, &values, &rootName));
    EXPECT_EQ((std::vector<std::wstring>{L"1", L"3"}), values);
    EXPECT_EQ(L"Root", rootName);
    ASSERT_EQ(1, reader_.OpenSection(L"S"));
    ASSERT_EQ(1, reader_.NextElement(nullptr));
    EXPECT_EQ(0, reader_.SetAttribute(com::CopyText(L"x").get(), L"2"));
    EXPECT_EQ(L"1", Attribute(L"x"));
    reader_.Close();
    EXPECT_EQ(0, reader_.GetRootInfo(names, &values, &rootName));
    EXPECT_EQ(L"", rootName);
}

TEST_F(XmlTest, WriterStartsWithTheDeclarationAndAnEmptyRootThatTakesAttributes) {
    ASSERT_EQ(1, writer_.CreateDocument(L"Root"));
    Track(writer_.Document());
    EXPECT_EQ(std::string(kDeclaration) + "<Root/>", SavedText(writer_.Document()));
    EXPECT_EQ(1, writer_.AddAttribute(com::CopyText(L"a").get(), L"1"));
    EXPECT_EQ(1, writer_.AddAttribute(com::CopyText(L"b").get(), L"x & y"));
    EXPECT_EQ(1, writer_.AddAttribute(com::CopyText(L"a").get(), L"2"));
    EXPECT_EQ(std::string(kDeclaration) + "<Root a=\"2\" b=\"x &amp; y\"/>", SavedText(writer_.Document()));
}

TEST_F(XmlTest, WriterRemovesDirectChildSectionsOnly) {
    auto stream = HGlobalStream("<Root a=\"1\"><Keep><S/></Keep><S/><T/></Root>");
    ASSERT_EQ(1, writer_.OpenDocument(&SourceOf(stream.get()).get()));
    Track(writer_.Document());
    writer_.RemoveSections(L"S");
    writer_.RemoveSections(L"Missing");
    EXPECT_EQ("<Root a=\"1\"><Keep><S/></Keep><T/></Root>", SavedText(writer_.Document()));
}

TEST_F(XmlTest, WriterSavesTheWholeDocumentAsBytes) {
    ASSERT_EQ(1, writer_.CreateDocument(L"R"));
    Track(writer_.Document());
    const std::vector<BYTE> bytes = writer_.SaveToBytes();
    std::string text(bytes.begin(), bytes.end());
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }), text.end());
    EXPECT_EQ(std::string(kDeclaration) + "<R/>", text);
}

TEST_F(XmlTest, WrapperFindsDirectChildSectionsAndCreatesMissingOnesUnlessReadOnly) {
    auto readOnly = Loaded("<Root><A/></Root>", WkXMLFile::kReadOnly);
    EXPECT_TRUE(readOnly->GetSection(L"A"));
    EXPECT_FALSE(readOnly->GetSection(L"B"));
    EXPECT_FALSE(readOnly->GetSection(L"A", L"Sub"));
    EXPECT_EQ("<Root><A/></Root>", SavedText(readOnly->Document()));
    // Names are matched with case, and only directly under the root.
    auto writable = Loaded("<Root><A/><Deep><Inner/></Deep></Root>", 0);
    for (const wchar_t* name : {L"B", L"a", L"Inner"}) EXPECT_TRUE(writable->GetSection(name));
    EXPECT_TRUE(writable->GetSection(L"A", L"Sub"));
    EXPECT_EQ("<Root><A><Sub/></A><Deep><Inner/></Deep><B/><a/><Inner/></Root>", SavedText(writable->Document()));
}

TEST_F(XmlTest, WrapperLeavesAnErrorRecordForAFailedLoadAndNoneForAMissingFile) {
    ComPtr<IErrorInfo> info;
    ::SetErrorInfo(0, nullptr);
    WkXMLFile missing(0);
    EXPECT_EQ(0, missing.LoadFile(L"Z:\\no\\such\\directory\\file.xml", 0));
    Track(missing.Document());
    EXPECT_EQ(S_FALSE, ::GetErrorInfo(0, info.put()));
    WkXMLFile broken(0);
    const HRESULT hr = broken.LoadSource(&SourceOf(HGlobalStream("<Root><Unclosed></Root>").get()).get(), nullptr);
    Track(broken.Document());
    EXPECT_TRUE(FAILED(hr)) << std::hex << hr;
    EXPECT_EQ(S_OK, ::GetErrorInfo(0, info.put()));
    EXPECT_TRUE(info);
}

// Counts destructions, so a test sees which entries the list deleted.
class Entry : public CListEntryBase {
public:
    Entry(const wchar_t* name, int* deleted) : CListEntryBase(name), deleted_(deleted) {}
    ~Entry() override { ++*deleted_; }

private:
    int* deleted_;
};

class ListTest : public ::testing::Test {
protected:
    Entry* Make(const wchar_t* name) { return new Entry(name, &deleted_); }
    // The names from head to tail, checked against the walk from tail to head.
    std::wstring Names() {
        std::wstring forward, backward;
        for (CListEntryBase* e = list_.Head(); e; e = e->next) forward += e->name + L",";
        for (CListEntryBase* e = list_.Tail(); e; e = e->previous) backward.insert(0, e->name + L",");
        EXPECT_EQ(forward, backward) << "links disagree";
        return forward;
    }

    int deleted_ = 0;
    xml::CListBase list_;
};

TEST_F(ListTest, AddTailLinksInOrderAndTheFirstOfANameIsFoundWithoutCase) {
    Entry* first = Make(L"Title");
    Entry* second = Make(L"TITLE");
    for (Entry* e : {Make(L"Other"), first, second}) list_.AddTail(e);
    EXPECT_EQ(L"Other,Title,TITLE,", Names());
    EXPECT_EQ(first, list_.FindByName(L"title"));
    EXPECT_EQ(second, list_.FindNextByName(L"title", first));
    EXPECT_EQ(nullptr, list_.FindNextByName(L"title", second));
    EXPECT_EQ(nullptr, list_.FindByName(L"Missing"));
}

TEST_F(ListTest, InsertMovesRemoveUnlinksAndTheListDeletesWhatItHolds) {
    Entry* a = Make(L"a");
    list_.InsertBefore(a, nullptr);
    list_.InsertAfter(Make(L"c"), a);
    list_.InsertBefore(Make(L"b"), list_.Tail());
    EXPECT_EQ(L"a,b,c,", Names());
    // An entry already in the list moves.
    list_.InsertBefore(list_.Tail(), a);
    EXPECT_EQ(L"c,a,b,", Names());
    EXPECT_EQ(1, list_.Remove(a));
    EXPECT_EQ(L"c,b,", Names());
    EXPECT_EQ(nullptr, a->next);
    EXPECT_EQ(0, deleted_);
    delete a;
    list_.RemoveAll();
    EXPECT_EQ(3, deleted_);
    EXPECT_EQ(nullptr, list_.Tail());
}

}  // namespace
