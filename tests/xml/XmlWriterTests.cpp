// The write cursor on the platform parser: new and existing documents, sections, elements,
// attributes and saving into a stream.
#include "xml/CXmlWriterBase.h"
#include "xml/XmlTestSupport.h"

namespace {

using namespace xml_test;
using xml::CXmlWriterBase;

class XmlWriter : public XmlTest {
protected:
    void TearDown() override {
        writer_.CloseElement();
        writer_.Close();
        XmlTest::TearDown();
    }

    std::string Saved() {
        auto stream = StreamOf("");
        EXPECT_EQ(1, writer_.SaveToStream(stream.get()));
        return SavedText(stream.get());
    }
    int Add(const wchar_t* name) { return writer_.AddElement(nullptr, com::CopyText(name).get()); }
    int Set(const wchar_t* name, const wchar_t* value) {
        return writer_.AddAttribute(com::CopyText(name).get(), value);
    }

    CXmlWriterBase writer_;
};

TEST_F(XmlWriter, ANewDocumentIsTheDeclarationAndTheEmptyRoot) {
    ASSERT_EQ(1, writer_.CreateDocument(L"Root"));
    Track(writer_.Document());
    EXPECT_EQ(std::string(kDeclaration) + "<Root/>", Saved());
}

TEST_F(XmlWriter, AttributesWithoutAnElementGoOnTheRoot) {
    ASSERT_EQ(1, writer_.CreateDocument(L"Root"));
    Track(writer_.Document());
    EXPECT_EQ(1, Set(L"a", L"1"));
    EXPECT_EQ(1, Set(L"b", L"x & y"));
    // Setting an attribute again replaces it.
    EXPECT_EQ(1, Set(L"a", L"2"));
    EXPECT_EQ(std::string(kDeclaration) + "<Root a=\"2\" b=\"x &amp; y\"/>", Saved());
}

TEST_F(XmlWriter, ElementsGoUnderTheSelectedSection) {
    ASSERT_EQ(1, writer_.CreateDocument(L"Root"));
    Track(writer_.Document());
    ASSERT_EQ(1, writer_.SelectSection(L"First"));
    EXPECT_EQ(1, Add(L"A"));
    EXPECT_EQ(1, Set(L"x", L"1"));
    EXPECT_EQ(1, Add(L"B"));
    // Once the element is closed, attributes go to the section itself.
    writer_.CloseElement();
    EXPECT_EQ(1, Set(L"count", L"2"));
    ASSERT_EQ(1, writer_.SelectSection(L"Second"));
    EXPECT_EQ(1, Add(L"C"));
    // Selecting an existing section appends to it rather than making another.
    ASSERT_EQ(1, writer_.SelectSection(L"First"));
    EXPECT_EQ(1, Add(L"D"));
    EXPECT_EQ(std::string(kDeclaration) +
                  "<Root><First count=\"2\"><A x=\"1\"/><B/><D/></First><Second><C/></Second></Root>",
              Saved());
}

TEST_F(XmlWriter, RemoveSectionsTakesDirectChildrenOnly) {
    auto stream = StreamOf(std::string(kDeclaration) + "<Root a=\"1\"><Keep><S deep=\"1\"/></Keep><S/><T/></Root>");
    ASSERT_EQ(1, writer_.OpenDocument(&SourceOf(stream.get()).get()));
    Track(writer_.Document());
    writer_.RemoveSections(L"S");
    writer_.RemoveSections(L"Missing");
    writer_.RemoveSections(nullptr);
    EXPECT_EQ(std::string(kDeclaration) + "<Root a=\"1\"><Keep><S deep=\"1\"/></Keep><T/></Root>", Saved());
}

TEST_F(XmlWriter, SavingReplacesALongerContentEntirely) {
    auto stream = StreamOf(std::string(kDeclaration) + "<Root>" + std::string(10000, 'x') + "</Root>");
    ASSERT_EQ(1, writer_.CreateDocument(L"R"));
    Track(writer_.Document());
    ASSERT_EQ(1, writer_.SaveToStream(stream.get()));
    EXPECT_EQ(std::string(kDeclaration) + "<R/>", SavedText(stream.get()));
}

TEST_F(XmlWriter, AnExistingDocumentThatIsNoXmlIsNotOpened) {
    auto stream = StreamOf("no XML here");
    const std::string before = qnps_test::StreamBytes(stream.get());
    qnps_test::Rewind(stream.get());
    EXPECT_EQ(0, writer_.OpenDocument(&SourceOf(stream.get()).get()));
    EXPECT_FALSE(writer_.IsOpen());
    EXPECT_EQ(nullptr, writer_.Document());
    EXPECT_EQ(0, writer_.SaveToStream(stream.get()));
    EXPECT_EQ(before, qnps_test::StreamBytes(stream.get()));
}

TEST_F(XmlWriter, NothingIsBuiltWithoutADocument) {
    EXPECT_EQ(0, writer_.CreateDocument(nullptr));
    EXPECT_EQ(0, writer_.SelectSection(L"S"));
    EXPECT_EQ(0, Add(L"A"));
    EXPECT_EQ(0, Set(L"a", L"1"));
    auto stream = StreamOf("");
    EXPECT_EQ(0, writer_.SaveToStream(stream.get()));

    // Closing keeps the open flag, yet with the document gone nothing can be saved.
    ASSERT_EQ(1, writer_.CreateDocument(L"Root"));
    Track(writer_.Document());
    writer_.Close();
    EXPECT_TRUE(writer_.IsOpen());
    EXPECT_EQ(0, writer_.SaveToStream(stream.get()));
    EXPECT_EQ(0u, qnps_test::StreamSize(stream.get()));
}

}  // namespace
