// Writing over a document already in the stream: what the root keeps, which old values are carried
// over under each write flag, and what is dropped. One new table throughout: r1 (in lower case)
// with a new Title only, R2 with a new Title and an empty Sheets, and R4, which no old document has.
#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

const std::string kOldRoot = " Version=\"1.0\" Application=\"Drafting\" Owner=\"someone\"";
// Long enough that the old document is read in more than one piece.
const std::string kNote = "<Note>" + std::string(20000, 'k') + "</Note>";
// R1 has a value in every column; Gone is a column the new table does not have.
const std::string kOld = Document(
    kNote + "<ColumnDefs><Title DispName=\"Title\"/><Sheets DispName=\"Sheets\" Type=\"INT\"/>"
    "<Scale DispName=\"Scale\" Type=\"DOUBLE\"/><Gone DispName=\"Gone\"/></ColumnDefs><Properties>"
    "<Row RowID=\"R1\" Title=\"Old one\" Sheets=\"3\" Scale=\"3FE0000000000000\" Gone=\"g1\"/>"
    "<Row RowID=\"R2\" Title=\"Old two\" Sheets=\"4\"/><Row RowID=\"R3\" Title=\"Old three\"/></Properties>",
    kOldRoot);

const std::string kColumns = "<Title DispName=\"Title\"/><Sheets DispName=\"Sheets\" Type=\"INT\"/>"
                             "<Scale DispName=\"Scale\" Type=\"DOUBLE\"/>";
const std::string kDefs = "<ColumnDefs>" + kColumns + "</ColumnDefs>";
const std::string kToDocumentDefs = "<ColumnDefs><Title DispName=\"Title\" Direction=\"ToDocument\"/>" +
                                    kColumns.substr(kColumns.find("<Sheets")) + "</ColumnDefs>";
const std::string kOtherRows = "<Row RowID=\"R2\" Title=\"New two\"/><Row RowID=\"R4\" Title=\"Four\"/>";
const std::string kNewRows = "<Row RowID=\"r1\" Title=\"New one\"/>" + kOtherRows;
const std::string kCarried = "Sheets=\"3\" Scale=\"3FE0000000000000\"";

std::string Merged(const std::string& defs, const std::string& rows, const std::string& root = kOldRoot) {
    return Document(kNote + defs + "<Properties>" + rows + "</Properties>", root);
}
std::string Plain(const std::string& rows, const std::string& root = " Version=\"1.01\" Application=\"Drafting\"") {
    return Document(kDefs + "<Properties>" + rows + "</Properties>", root);
}

struct MergeCase {
    std::string old;
    long flags;
    std::string expected;
    const wchar_t* application = L"Drafting";
    qnpsPropertyDirection titleDirection = qnpsPropDirection_Any;
};

const std::string kWithoutApplication = Document("<ColumnDefs/><Properties/>", " Version=\"1.01\"");
const std::string kFirstCarried = "<Row RowID=\"r1\" Title=\"New one\" " + kCarried + "/>" + kOtherRows;

const MergeCase kMerges[] = {
    // r1 finds R1 without case and gets its missing values, the Double one in its hexadecimal form;
    // R2's empty Sheets removes the old value; R3 and the column Gone are dropped. The root keeps
    // its attributes and its foreign child. Application names are compared without case; a table
    // without one is not compared.
    {kOld, qnpsWriteNormal, Merged(kDefs, kFirstCarried)},
    {kOld, qnpsWriteNormal, Merged(kDefs, kFirstCarried), L"DRAFTING"},
    {kOld, qnpsWriteNormal, Merged(kDefs, kFirstCarried), nullptr},
    // Overwriting carries nothing over and compares no application; the root keeps its own. Bits
    // beyond the two flags are ignored.
    {kOld, qnpsOverwrite, Merged(kDefs, kNewRows)},
    {kOld, qnpsOverwrite, Merged(kDefs, kNewRows), L"Office"},
    {kOld, qnpsOverwrite | 0x100, Merged(kDefs, kNewRows)},
    // ToDocument values are the stored ones, row by row (R4 has none). The tool's merge cases cover
    // the direction skipped and overwriting.
    {kOld, qnpsWriteNormal,
     Merged(kToDocumentDefs, "<Row RowID=\"r1\" Title=\"Old one\" " + kCarried +
                                 "/><Row RowID=\"R2\" Title=\"Old two\"/><Row RowID=\"R4\"/>"),
     L"Drafting", qnpsPropDirection_ToDocument},
    // The first old row of an identifier wins.
    {Plain("<Row RowID=\"R1\" Sheets=\"1\"/><Row RowID=\"r1\" Sheets=\"2\" Scale=\"3FF0000000000000\"/>"),
     qnpsWriteNormal, Plain("<Row RowID=\"r1\" Title=\"New one\" Sheets=\"1\"/>" + kOtherRows)},
    // Columns are matched without case; the carried value takes the name the table gives the column
    // now, so that it reads back under it.
    {Document("<ColumnDefs><sheets Type=\"INT\"/></ColumnDefs><Properties><Row RowID=\"R1\" sheets=\"3\"/>"
              "</Properties>"),
     qnpsWriteNormal, Plain("<Row RowID=\"r1\" Title=\"New one\" Sheets=\"3\"/>" + kOtherRows)},
    // A root without Application gets none, with or without overwriting.
    {kWithoutApplication, qnpsWriteNormal, Plain(kNewRows, " Version=\"1.01\"")},
    {kWithoutApplication, qnpsOverwrite, Plain(kNewRows, " Version=\"1.01\"")},
    // Foreign children stay and the sections go after them. Only direct children are removed and
    // filled: a nested Properties stays as it was (a column may be called Properties too).
    {Document("<ColumnDefs><Gone/></ColumnDefs><Before><Properties/></Before><Properties/><After a=\"1\"/>"),
     qnpsWriteNormal,
     Document("<Before><Properties/></Before><After a=\"1\"/>" + kDefs + "<Properties>" + kNewRows + "</Properties>")},
    // What cannot be read as a table is written over without merging or comparing the application;
    // its root, version included, stays as it was.
    {Merged(kDefs, "<Row RowID=\"R1\" Sheets=\"3\"/>", " Version=\"2.0\" Application=\"Drafting\""), qnpsWriteNormal,
     Merged(kDefs, kNewRows, " Version=\"2.0\" Application=\"Drafting\""), L"Office"},
    // An old date beyond the range of automation dates cannot be encoded again: it alone stays behind.
    {Document("<ColumnDefs><Sheets Type=\"DATE\"/></ColumnDefs><Properties><Row RowID=\"R1\" "
              "Sheets=\"7FEFFFFFFFFFFFFF\"/><Row RowID=\"R4\" Sheets=\"3FF0000000000000\"/></Properties>"),
     qnpsWriteNormal,
     Plain("<Row RowID=\"r1\" Title=\"New one\"/><Row RowID=\"R2\" Title=\"New two\"/>"
           "<Row RowID=\"R4\" Title=\"Four\" Sheets=\"3FF0000000000000\"/>")},
    {std::string(kDeclaration) + "<Other x=\"y\"/>", qnpsWriteNormal,
     std::string(kDeclaration) + "<Other x=\"y\">" + kDefs + "<Properties>" + kNewRows + "</Properties></Other>"},
};

class Merge : public PersistenceTest {
protected:
    // Its columns are new each time: a write changes the Double column's type.
    ComPtr<IQnPSTable> NewTable(const wchar_t* application, qnpsPropertyDirection titleDirection) {
        auto table = MakeTable(application);
        auto title = MakeColumn(L"Title"), sheets = MakeColumn(L"Sheets", qnpsPropType_Int);
        EXPECT_EQ(S_OK, title->put_Direction(titleDirection));
        auto scale = MakeColumn(L"Scale", qnpsPropType_Double);
        for (auto* column : {title.get(), sheets.get(), scale.get()}) Definitions(table.get())->AddDefinition(column);
        const auto one = VariantOf(L"New one"), two = VariantOf(L"New two"), four = VariantOf(L"Four");
        const UniqueVariant empty;
        AddRow(table.get(), L"r1", {{title.get(), &one.get()}});
        AddRow(table.get(), L"R2", {{title.get(), &two.get()}, {sheets.get(), &empty.get()}});
        AddRow(table.get(), L"R4", {{title.get(), &four.get()}});
        return table;
    }
};

// The write replaces the whole content, so it merges with the whole old document wherever the
// host left the stream's position: at its start, in its middle or at its end.
TEST_F(Merge, EachFlagOverEachOldDocumentFromAnyPosition) {
    for (const MergeCase& c : kMerges) {
        for (const double where : {0.0, 0.5, 1.0}) {
            SCOPED_TRACE(testing::Message() << "merge case " << (&c - kMerges) << " from " << where);
            auto stream = StreamWith(c.old);
            LARGE_INTEGER position;
            position.QuadPart = static_cast<LONGLONG>(where * static_cast<double>(c.old.size()));
            ASSERT_EQ(S_OK, stream->Seek(position, STREAM_SEEK_SET, nullptr));
            auto table = NewTable(c.application, c.titleDirection);
            EXPECT_EQ(S_OK, storage_->WriteProperties(stream.get(), table.get(), c.flags));
            EXPECT_EQ(c.expected, StreamText(stream.get()));
        }
    }
}

}  // namespace
