// The error values of ReadProperties and WriteProperties: a refused read hands out no table, a
// refused or failed write leaves the stream's bytes exactly as they were.
#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

using ErrorValues = PersistenceTest;

const std::string kSections = "<ColumnDefs><A/></ColumnDefs><Properties><Row RowID=\"R1\" A=\"x\"/></Properties>";

std::string WithVersion(const char* version) {
    return Document(kSections, std::string(" Version=\"") + version + "\" Application=\"Drafting\"");
}

const struct {
    std::string bytes;
    HRESULT expected;
} kReads[] = {
    // An empty stream is no document, rather than one with empty collections.
    {"", kWrongXmlFile},
    {std::string("\0\1\2\3 binary", 11), kWrongXmlFile},
    {kDeclaration, kWrongXmlFile},
    {Document("<ColumnDefs><A/></ColumnDefs><Properties>"), kWrongXmlFile},
    {"<?xml version=\"1.0\"?><!DOCTYPE PropertyStorage [<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">]>"
     "<PropertyStorage Version=\"1.01\"><ColumnDefs><A/></ColumnDefs><Properties><Row RowID=\"&a;\"/>"
     "</Properties></PropertyStorage>",
     kWrongXmlFile},
    {"<Other Version=\"1.01\">" + kSections + "</Other>", kWrongXmlFile},
    {Document("<Properties><Row RowID=\"R1\"/></Properties>"), kEmptyCollection},
    {Document("<ColumnDefs><A/></ColumnDefs>"), kEmptyCollection},
    // Empty but present collections are a table.
    {Document("<ColumnDefs/><Properties><Row RowID=\"R1\" A=\"x\"/></Properties>"), S_OK},
    // The version as a number: the leading number, and after a point that number times 100 plus
    // the number behind the point. 1 to 101 are read; a missing version is refused.
    {Document(kSections, " Application=\"Drafting\""), kWrongXmlFile},
    {WithVersion("1.01"), S_OK}, {WithVersion("1.0"), S_OK}, {WithVersion("1.1"), S_OK},
    {WithVersion("0.99"), S_OK}, {WithVersion("2"), S_OK}, {WithVersion("101"), S_OK},
    {WithVersion("1.02"), kWrongXmlFile}, {WithVersion("1.10"), kWrongXmlFile}, {WithVersion("2.0"), kWrongXmlFile},
    {WithVersion("0"), kWrongXmlFile}, {WithVersion(""), kWrongXmlFile}, {WithVersion("102"), kWrongXmlFile},
    {WithVersion("abc"), kWrongXmlFile},
};

TEST_F(ErrorValues, ReadPropertiesOfEachDocument) {
    for (const auto& c : kReads) {
        SCOPED_TRACE(c.bytes);
        ComPtr<IQnPSTable> table;
        EXPECT_EQ(c.expected, ReadResult(StreamWith(c.bytes).get(), table));
        // A stream over the host's own memory is read alike, though it counts as read-only.
        table.reset();
        EXPECT_EQ(c.expected, ReadResult(HGlobalStream(c.bytes).get(), table));
    }
}

const std::string kOld = Document("<ColumnDefs><Title DispName=\"Title\"/></ColumnDefs><Properties>"
                                  "<Row RowID=\"R1\" Title=\"Old\"/></Properties>");
const std::string kNotXml = "just some text that is not XML";

enum class Kind { ReadWrite, HGlobal };
enum class Subject { Title, Office, IntText, DateText, RowAsTable, Bare, WithoutRows, WithoutDefinitions };

const struct {
    Kind kind;
    std::string content;
    Subject table;
    HRESULT expected;
    bool overwriteToo = true;
} kWrites[] = {
    // The collections are walked directly: the table must be the library's own and complete. A row
    // reaches the call as a table only by a cast; its object type gives it away.
    {Kind::ReadWrite, kOld, Subject::RowAsTable, E_INVALIDARG},
    {Kind::ReadWrite, kOld, Subject::Bare, E_INVALIDARG},
    {Kind::ReadWrite, kOld, Subject::WithoutRows, E_INVALIDARG},
    {Kind::ReadWrite, kOld, Subject::WithoutDefinitions, E_INVALIDARG},
    // A read-only stream is refused before its content is looked at. A stream over the host's
    // memory reports no access mode; one opened for reading alone is refused in every sample.
    {Kind::HGlobal, kOld, Subject::Office, kStreamIsReadOnly},
    {Kind::HGlobal, kNotXml, Subject::Title, kStreamIsReadOnly},
    {Kind::HGlobal, "", Subject::Title, kStreamIsReadOnly},
    // Another application's document is left alone, unless it is overwritten.
    {Kind::ReadWrite, kOld, Subject::Office, kWrongApplication, false},
    // Content that is no XML is never written over, not even when overwriting.
    {Kind::ReadWrite, kNotXml, Subject::Title, kWriteXmlError},
    {Kind::ReadWrite, kOld.substr(0, kOld.size() - 10), Subject::Title, kWriteXmlError},
    // A value that does not convert to its column's type fails the whole write.
    {Kind::ReadWrite, "", Subject::IntText, kWriteXmlError},
    {Kind::ReadWrite, kOld, Subject::DateText, kWriteXmlError},
};

const long kFlags[] = {qnpsWriteNormal, qnpsSkipDirection, qnpsOverwrite, qnpsOverwrite | qnpsSkipDirection};

TEST_F(ErrorValues, WritePropertiesRefusalsLeaveTheStreamAsItWas) {
    for (const auto& c : kWrites) {
        SCOPED_TRACE(testing::Message() << "write case " << (&c - kWrites));
        auto stream = c.kind == Kind::HGlobal ? HGlobalStream(c.content) : StreamWith(c.content);
        auto row = MakeRow(L"R1");
        auto table = Create<IQnPSTable>(qnpsObjType_Table);
        switch (c.table) {
            case Subject::Title: table = TitleTable(L"New"); break;
            case Subject::Office: table = TitleTable(L"New", L"Office"); break;
            case Subject::IntText: table = TitleTable(L"abc", L"Drafting", qnpsPropType_Int); break;
            case Subject::DateText: table = TitleTable(L"abc", L"Drafting", qnpsPropType_Date); break;
            case Subject::RowAsTable:
                table = ComPtr<IQnPSTable>(reinterpret_cast<IQnPSTable*>(static_cast<IQnPSObject*>(row.get())));
                break;
            case Subject::WithoutRows:
                table->put_ColumnDefs(Create<IQnPSColumnDefCollection>(qnpsObjType_ColumnDefCollection).get());
                break;
            case Subject::WithoutDefinitions:
                table->put_Rows(Create<IQnPSRowCollection>(qnpsObjType_RowCollection).get());
                break;
            case Subject::Bare: break;
        }
        const std::string before = StreamBytes(stream.get());
        for (const long flags : kFlags) {
            if (!c.overwriteToo && (flags & qnpsOverwrite)) continue;
            EXPECT_EQ(c.expected, Write(stream.get(), table.get(), flags)) << "flags " << flags;
            EXPECT_EQ(before, StreamBytes(stream.get())) << "flags " << flags;
        }
    }
}

}  // namespace
