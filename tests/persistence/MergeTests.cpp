// Writing over a document that is already in the stream: what the root keeps, which old values are
// carried over under each write flag, and what is dropped.
#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

// Drafting's old document, version 1.0, with a foreign root attribute and a foreign child. R1 has a
// value in every column; Gone is a column the new table no longer has.
const std::string kOld = Document(
    "<Note>kept</Note>"
    "<ColumnDefs><Title DispName=\"Title\"/><Sheets DispName=\"Sheets\" Type=\"INT\"/>"
    "<Scale DispName=\"Scale\" Type=\"DOUBLE\"/><Gone DispName=\"Gone\"/></ColumnDefs>"
    "<Properties>"
    "<Row RowID=\"R1\" Title=\"Old one\" Sheets=\"3\" Scale=\"3FE0000000000000\" Gone=\"g1\"/>"
    "<Row RowID=\"R2\" Title=\"Old two\" Sheets=\"4\"/>"
    "<Row RowID=\"R3\" Title=\"Old three\"/>"
    "</Properties>",
    " Version=\"1.0\" Application=\"Drafting\" Owner=\"someone\"");

const std::string kColumnDefs =
    "<ColumnDefs><Title DispName=\"Title\"/><Sheets DispName=\"Sheets\" Type=\"INT\"/>"
    "<Scale DispName=\"Scale\" Type=\"DOUBLE\"/></ColumnDefs>";

std::string Merged(const std::string& rows, const std::string& root = " Version=\"1.0\" Application=\"Drafting\" "
                                                                      "Owner=\"someone\"") {
    return Document("<Note>kept</Note>" + kColumnDefs + "<Properties>" + rows + "</Properties>", root);
}

class Merge : public PersistenceTest {
protected:
    // The new table: r1 (spelled in lower case) with a new Title only; R2 with a new Title and an
    // empty Sheets; R4, which the old document does not have.
    // Its columns are new each time, as a write changes the Double column's type.
    ComPtr<IQnPSTable> NewTable(const wchar_t* application = L"Drafting",
                                qnpsPropertyDirection titleDirection = qnpsPropDirection_Any) {
        auto table = MakeTable(application);
        auto title = MakeColumn(L"Title");
        EXPECT_EQ(S_OK, title->put_Direction(titleDirection));
        auto sheets = MakeColumn(L"Sheets", qnpsPropType_Int);
        auto scale = MakeColumn(L"Scale", qnpsPropType_Double);
        auto definitions = Definitions(table.get());
        for (auto* column : {title.get(), sheets.get(), scale.get()}) {
            EXPECT_EQ(S_OK, definitions->AddDefinition(column));
        }
        const auto one = VariantOf(L"New one");
        const auto two = VariantOf(L"New two");
        const auto four = VariantOf(L"Four");
        const UniqueVariant empty;
        AddRow(table.get(), L"r1", {{title.get(), &one.get()}});
        AddRow(table.get(), L"R2", {{title.get(), &two.get()}, {sheets.get(), &empty.get()}});
        AddRow(table.get(), L"R4", {{title.get(), &four.get()}});
        return table;
    }

    std::string WrittenOver(const std::string& old, IQnPSTable* table, long flags, HRESULT expected = S_OK) {
        auto stream = StreamWith(file_, old);
        EXPECT_EQ(expected, Write(stream.get(), table, flags));
        return DocumentText(stream.get());
    }

    CompoundFile file_;
};

TEST_F(Merge, NormalWriteCarriesOldValuesOverByRowAndColumn) {
    // r1 finds R1 without case and gets its missing values, the Double one in its hexadecimal form;
    // R2's empty Sheets removes the old value; R3 and the column Gone are dropped.
    EXPECT_EQ(Merged("<Row RowID=\"r1\" Title=\"New one\" Sheets=\"3\" Scale=\"3FE0000000000000\"/>"
                     "<Row RowID=\"R2\" Title=\"New two\"/>"
                     "<Row RowID=\"R4\" Title=\"Four\"/>"),
              WrittenOver(kOld, NewTable().get(), qnpsWriteNormal));
}

TEST_F(Merge, MergedDocumentReadsBack) {
    auto stream = StreamWith(file_, kOld);
    ASSERT_EQ(S_OK, Write(stream.get(), NewTable().get()));
    auto table = Read(stream.get());
    EXPECT_EQ(L"r1,R2,R4", RowIds(table.get()));
    EXPECT_EQ(3, ColumnCount(table.get()));
    EXPECT_EQ(3, ValueAt(table.get(), L"R1", L"Sheets").get().lVal);
    EXPECT_EQ(0.5, ValueAt(table.get(), L"R1", L"Scale").get().dblVal);
    EXPECT_EQ(VT_EMPTY, ValueAt(table.get(), L"R2", L"Sheets").type());
}

TEST_F(Merge, OverwriteCarriesNothingOverAndIgnoresTheApplication) {
    const std::string expected = Merged("<Row RowID=\"r1\" Title=\"New one\"/><Row RowID=\"R2\" Title=\"New two\"/>"
                                        "<Row RowID=\"R4\" Title=\"Four\"/>");
    EXPECT_EQ(expected, WrittenOver(kOld, NewTable().get(), qnpsOverwrite));
    // The root keeps its own Application: it is never rewritten once the document exists.
    EXPECT_EQ(expected, WrittenOver(kOld, NewTable(L"Office").get(), qnpsOverwrite));
    // Bits beyond the two flags are ignored.
    EXPECT_EQ(expected, WrittenOver(kOld, NewTable().get(), qnpsOverwrite | 0x100));
}

TEST_F(Merge, ToDocumentColumnsKeepTheirStoredValuesUnlessDirectionIsSkipped) {
    const auto toDocument = [](std::string document) {
        const std::string title = "<Title DispName=\"Title\"";
        return document.insert(document.find(title) + title.size(), " Direction=\"ToDocument\"");
    };
    // Row by row the stored titles stay; R4 has none stored, so it has no title at all.
    EXPECT_EQ(toDocument(Merged("<Row RowID=\"r1\" Title=\"Old one\" Sheets=\"3\" Scale=\"3FE0000000000000\"/>"
                                "<Row RowID=\"R2\" Title=\"Old two\"/>"
                                "<Row RowID=\"R4\"/>")),
              WrittenOver(kOld, NewTable(L"Drafting", qnpsPropDirection_ToDocument).get(), qnpsWriteNormal));
    EXPECT_EQ(toDocument(Merged("<Row RowID=\"r1\" Title=\"New one\" Sheets=\"3\" Scale=\"3FE0000000000000\"/>"
                                "<Row RowID=\"R2\" Title=\"New two\"/>"
                                "<Row RowID=\"R4\" Title=\"Four\"/>")),
              WrittenOver(kOld, NewTable(L"Drafting", qnpsPropDirection_ToDocument).get(), qnpsSkipDirection));
    // Overwriting without skipping the direction writes no title anywhere.
    EXPECT_EQ(toDocument(Merged("<Row RowID=\"r1\"/><Row RowID=\"R2\"/><Row RowID=\"R4\"/>")),
              WrittenOver(kOld, NewTable(L"Drafting", qnpsPropDirection_ToDocument).get(), qnpsOverwrite));
}

TEST_F(Merge, TheFirstOldRowOfAnIdentifierWins) {
    const std::string old = Document(kColumnDefs + "<Properties><Row RowID=\"R1\" Sheets=\"1\"/>"
                                                   "<Row RowID=\"r1\" Sheets=\"2\" Title=\"second\"/></Properties>");
    auto table = MakeTable(L"Drafting");
    ASSERT_EQ(S_OK, Definitions(table.get())->AddDefinition(MakeColumn(L"Title").get()));
    ASSERT_EQ(S_OK, Definitions(table.get())->AddDefinition(MakeColumn(L"Sheets", qnpsPropType_Int).get()));
    AddRow(table.get(), L"R1", {});
    EXPECT_EQ(Document("<ColumnDefs><Title DispName=\"Title\"/><Sheets DispName=\"Sheets\" Type=\"INT\"/></ColumnDefs>"
                       "<Properties><Row RowID=\"R1\" Sheets=\"1\"/></Properties>"),
              WrittenOver(old, table.get(), qnpsWriteNormal));
}

TEST_F(Merge, CarriedValuesKeepTheColumnNameAsTheOldDocumentWroteIt) {
    const std::string old = Document("<ColumnDefs><sheets Type=\"INT\"/></ColumnDefs>"
                                     "<Properties><Row RowID=\"R1\" sheets=\"3\"/></Properties>");
    auto table = MakeTable(L"Drafting");
    ASSERT_EQ(S_OK, Definitions(table.get())->AddDefinition(MakeColumn(L"Sheets", qnpsPropType_Int).get()));
    AddRow(table.get(), L"R1", {});
    EXPECT_EQ(Document("<ColumnDefs><Sheets DispName=\"Sheets\" Type=\"INT\"/></ColumnDefs>"
                       "<Properties><Row RowID=\"R1\" sheets=\"3\"/></Properties>"),
              WrittenOver(old, table.get(), qnpsWriteNormal));
}

TEST_F(Merge, TheRootKeepsWhatItHadAndGetsNothingNew) {
    // No Application on the old root: the table's is not added, with or without overwriting.
    const std::string old = Document("<ColumnDefs/><Properties/>", " Version=\"1.01\"");
    for (long flags : {qnpsWriteNormal, qnpsOverwrite}) {
        EXPECT_EQ(Document(kColumnDefs + "<Properties><Row RowID=\"r1\" Title=\"New one\"/>"
                                         "<Row RowID=\"R2\" Title=\"New two\"/><Row RowID=\"R4\" Title=\"Four\"/>"
                                         "</Properties>",
                           " Version=\"1.01\""),
                  WrittenOver(old, NewTable().get(), flags));
    }
}

TEST_F(Merge, ForeignChildrenStayAndTheSectionsGoAfterThem) {
    const std::string old = Document("<ColumnDefs><Gone/></ColumnDefs><Before/><Properties/><After a=\"1\"/>");
    auto table = MakeTable(L"Drafting");
    ASSERT_EQ(S_OK, Definitions(table.get())->AddDefinition(MakeColumn(L"Title").get()));
    EXPECT_EQ(Document("<Before/><After a=\"1\"/><ColumnDefs><Title DispName=\"Title\"/></ColumnDefs><Properties/>"),
              WrittenOver(old, table.get(), qnpsWriteNormal));
}

TEST_F(Merge, ADocumentOfARefusedVersionIsWrittenOverWithoutMerging) {
    // The old content cannot be read as a table, so nothing is carried over and no application is
    // compared; its root, version included, stays as it was, and so the result stays unreadable.
    std::string old = kOld;
    old.replace(old.find("Version=\"1.0\""), 13, "Version=\"2.0\"");
    const std::string written = WrittenOver(old, NewTable(L"Office").get(), qnpsWriteNormal);
    EXPECT_EQ(Merged("<Row RowID=\"r1\" Title=\"New one\"/><Row RowID=\"R2\" Title=\"New two\"/>"
                     "<Row RowID=\"R4\" Title=\"Four\"/>",
                     " Version=\"2.0\" Application=\"Drafting\" Owner=\"someone\""),
              written);
    ComPtr<IQnPSTable> table;
    auto stream = StreamWith(file_, written);
    EXPECT_EQ(kWrongXmlFile, ReadResult(stream.get(), table));
}

TEST_F(Merge, AForeignXmlDocumentKeepsItsRoot) {
    auto table = MakeTable(L"Drafting");
    ASSERT_EQ(S_OK, Definitions(table.get())->AddDefinition(MakeColumn(L"Title").get()));
    EXPECT_EQ(std::string(kDeclaration) + "<Other x=\"y\"><ColumnDefs><Title DispName=\"Title\"/></ColumnDefs>"
                                          "<Properties/></Other>",
              WrittenOver(std::string(kDeclaration) + "<Other x=\"y\"/>", table.get(), qnpsWriteNormal));
}

}  // namespace
