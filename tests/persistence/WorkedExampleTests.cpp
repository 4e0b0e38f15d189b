#include <algorithm>

#include "support/StreamSupport.h"

namespace {

using namespace qnps_test;

class WorkedExample : public ComTest {
protected:
    // Drafting's table: Title (String, "Drawing title", FromDocument, order 0) and Sheets (Int,
    // hidden, order 1); rows R1 (Ground floor, 3) and R2 (Roof, no Sheets).
    ComPtr<IQnPSTable> MakeDraftingTable() {
        auto table = MakeTable(L"Drafting");
        auto title = MakeColumn(L"Title", qnpsPropType_String, 0);
        EXPECT_EQ(S_OK, title->put_DispName(Bstr(L"Drawing title").get()));
        EXPECT_EQ(S_OK, title->put_Direction(qnpsPropDirection_FromDocument));
        auto sheets = MakeColumn(L"Sheets", qnpsPropType_Int, 1);
        EXPECT_EQ(S_OK, sheets->put_Hidden(VARIANT_TRUE));
        auto definitions = Definitions(table.get());
        EXPECT_EQ(S_OK, definitions->AddDefinition(title.get()));
        EXPECT_EQ(S_OK, definitions->AddDefinition(sheets.get()));
        const auto groundFloor = VariantOf(L"Ground floor");
        const auto three = VariantOf(3L);
        const auto roof = VariantOf(L"Roof");
        const UniqueVariant empty;
        AddRow(table.get(), L"R1", {{title.get(), &groundFloor.get()}, {sheets.get(), &three.get()}});
        AddRow(table.get(), L"R2", {{title.get(), &roof.get()}, {sheets.get(), &empty.get()}});
        return table;
    }
};

// The parser ends lines as its platform does (CR LF on Windows, LF under Wine).
std::string WithoutCarriageReturns(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

TEST_F(WorkedExample, WritesTheDocumentOfTheFormat) {
    CompoundFile file;
    auto stream = file.CreateStream();
    auto table = MakeDraftingTable();
    ASSERT_EQ(S_OK, storage_->WriteProperties(stream.get(), table.get(), qnpsWriteNormal));
    EXPECT_EQ(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<PropertyStorage Version=\"1.01\" Application=\"Drafting\">"
        "<ColumnDefs>"
        "<Title DispName=\"Drawing title\" Direction=\"FromDocument\" Order=\"0\"/>"
        "<Sheets DispName=\"Sheets\" Type=\"INT\" Hidden=\"1\" Order=\"1\"/>"
        "</ColumnDefs>"
        "<Properties>"
        "<Row RowID=\"R1\" Title=\"Ground floor\" Sheets=\"3\"/>"
        "<Row RowID=\"R2\" Title=\"Roof\"/>"
        "</Properties>"
        "</PropertyStorage>\n",
        WithoutCarriageReturns(StreamBytes(stream.get())));
}

TEST_F(WorkedExample, ReadsBackAttributeByAttribute) {
    CompoundFile file;
    auto stream = file.CreateStream();
    ASSERT_EQ(S_OK, storage_->WriteProperties(stream.get(), MakeDraftingTable().get(), qnpsWriteNormal));
    Rewind(stream.get());
    ComPtr<IQnPSTable> table;
    ASSERT_EQ(S_OK, storage_->ReadProperties(stream.get(), table.put()));
    UniqueBstr application;
    EXPECT_EQ(S_OK, table->get_Application(application.put()));
    EXPECT_EQ(L"Drafting", Text(application.get()));

    auto definitions = Definitions(table.get());
    ComPtr<IQnPSColumnDef> title, sheets;
    ASSERT_EQ(S_OK, definitions->get_ColumnDef(Bstr(L"Title").get(), title.put()));
    ASSERT_EQ(S_OK, definitions->get_ColumnDef(Bstr(L"Sheets").get(), sheets.put()));
    ASSERT_TRUE(title && sheets);
    UniqueBstr text;
    title->get_DispName(text.put());
    EXPECT_EQ(L"Drawing title", Text(text.get()));
    qnpsPropertyDirection direction{};
    title->get_Direction(&direction);
    EXPECT_EQ(qnpsPropDirection_FromDocument, direction);
    long order = -1;
    title->get_Order(&order);
    EXPECT_EQ(0, order);
    qnpsPropertyType type{};
    sheets->get_PropType(&type);
    EXPECT_EQ(qnpsPropType_Int, type);
    VARIANT_BOOL hidden = VARIANT_FALSE;
    sheets->get_Hidden(&hidden);
    EXPECT_EQ(VARIANT_TRUE, hidden);

    ComPtr<IQnPSProperty> cell;
    ASSERT_EQ(S_OK, table->get_Property(Bstr(L"r1").get(), Bstr(L"sheets").get(), cell.put()));
    UniqueVariant value;
    cell->get_Value(value.put());
    EXPECT_EQ(VT_I4, value.type());
    EXPECT_EQ(3, value.get().lVal);
    // R2 carries no Sheets attribute, yet has a cell for the column, empty.
    cell.reset();
    ASSERT_EQ(S_OK, table->get_Property(Bstr(L"R2").get(), Bstr(L"Sheets").get(), cell.put()));
    ASSERT_TRUE(cell);
    cell->get_Value(value.put());
    EXPECT_EQ(VT_EMPTY, value.type());
}

}  // namespace
