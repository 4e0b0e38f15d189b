#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

UniqueVariant Null() {
    UniqueVariant value;
    value.get().vt = VT_NULL;
    return value;
}

// Cells, rows, the row collection and the table, over a table with a Layout and a Number column.
class Table : public ComTest {
protected:
    void SetUp() override {
        ComTest::SetUp();
        table_ = MakeTable();
        rows_ = Rows(table_.get());
        layout_ = MakeColumn(L"Layout");
        number_ = MakeColumn(L"Number", qnpsPropType_Int);
    }
    void TearDown() override {
        table_.reset(), rows_.reset(), layout_.reset(), number_.reset();
        ComTest::TearDown();
    }
    ComPtr<IQnPSRow> Add(const wchar_t* id, IQnPSColumnDef* column, const VARIANT& value) {
        return AddRow(table_.get(), id, {{column, &value}});
    }
    // The RowID of the row found by a column's value, or by RowID when `column` is null.
    std::wstring Found(const wchar_t* column, const VARIANT& value) {
        ComPtr<IQnPSRow> row;
        EXPECT_EQ(S_OK, column ? rows_->get_Row(Bstr(column).get(), value, row.put())
                               : rows_->get_RowByID(value.bstrVal, row.put()));
        UniqueBstr id;
        if (!row) return L"<none>";
        EXPECT_EQ(S_OK, row->get_RowID(id.put()));
        return Text(id.get());
    }
    UniqueVariant Values(const wchar_t* column, bool unique) {
        UniqueVariant result = VariantOf(-1L);
        const auto name = Bstr(column);
        EXPECT_EQ(S_OK, unique ? rows_->get_UniqueColumnValues(name.get(), &result.get())
                               : rows_->get_ColumnValues(name.get(), &result.get()));
        return result;
    }

    ComPtr<IQnPSTable> table_;
    ComPtr<IQnPSRowCollection> rows_;
    ComPtr<IQnPSColumnDef> layout_, number_;
};

// A row's cells, and the table's through the first row of an ID, are found by column name without
// regard to case; the first match wins, and cells without a named column and other items are
// passed over. A cell keeps its value unconverted, and linking it to another kind of object
// unlinks it silently, so that no lookup finds it any more.
TEST_F(Table, CellsAreFoundByTheNameOfTheirLinkedColumn) {
    auto row = Add(L"R1", number_.get(), VariantOf(L"12").get());
    Add(L"r1", layout_.get(), VariantOf(L"second row").get());
    auto lower = MakeColumn(L"layout");
    auto first = MakeCell(layout_.get(), VariantOf(1L).get());
    for (const auto& item : {ComPtr<IQnPSObject>(MakeCell(nullptr, VariantOf(0L).get()).get()),
                             ComPtr<IQnPSObject>(MakeCell(MakeColumn(L"").get(), VariantOf(0L).get()).get()),
                             Create<IQnPSObject>(qnpsObjType_ColumnDef), ComPtr<IQnPSObject>(first.get()),
                             ComPtr<IQnPSObject>(MakeCell(lower.get(), VariantOf(2L).get()).get())}) {
        EXPECT_EQ(S_OK, row->AddItem(item.get()));
    }
    ComPtr<IQnPSProperty> found;
    ASSERT_EQ(S_OK, row->get_Property(Bstr(L"LAYOUT").get(), found.put()));
    EXPECT_TRUE(SameObject(found.get(), first.get()));
    ASSERT_EQ(S_OK, table_->get_Property(Bstr(L"r1").get(), Bstr(L"lAYOUT").get(), found.put()));
    EXPECT_TRUE(SameObject(found.get(), first.get()));
    IQnPSProperty* none = Unwritten<IQnPSProperty>();
    EXPECT_EQ(S_OK, row->get_Property(Bstr(L"").get(), &none));
    EXPECT_EQ(nullptr, none);
    EXPECT_EQ(L"R1", Found(L"Number", VariantOf(L"12").get()));
    ASSERT_EQ(S_OK, table_->get_Property(Bstr(L"R1").get(), Bstr(L"Number").get(), found.put()));
    EXPECT_EQ(S_OK, found->put_ColumnDef(reinterpret_cast<IQnPSColumnDef*>(row.get())));
    EXPECT_EQ(1u, RefCount(number_.get()));
    ComPtr<IQnPSColumnDef> linked;
    EXPECT_EQ(S_OK, found->get_ColumnDef(linked.put()));
    EXPECT_FALSE(linked);
    EXPECT_EQ(L"<none>", Found(L"Number", VariantOf(L"12").get()));
    none = Unwritten<IQnPSProperty>();
    EXPECT_EQ(S_OK, table_->get_Property(Bstr(L"R1").get(), Bstr(L"Number").get(), &none));
    EXPECT_EQ(nullptr, none);
}

// Column names and RowIDs match without regard to case, values with it and only within one
// variant type; the first match wins and items that are not rows are passed over.
TEST_F(Table, LookupsMatchNamesWithoutCaseAndValuesExactly) {
    EXPECT_EQ(L"<none>", Found(nullptr, VariantOf(L"R1").get()));
    EXPECT_EQ(S_OK, rows_->AddItem(Create<IQnPSObject>(qnpsObjType_QnPSProperty).get()));
    const struct { const wchar_t* id; IQnPSColumnDef* column; UniqueVariant value; } rows[] = {
        {L"", layout_.get(), VariantOf(L"Sheet1")}, {nullptr, layout_.get(), VariantOf(L"Sheet1")},
        {L"R1", layout_.get(), VariantOf(L"SHEET1")}, {L"r1", layout_.get(), VariantOf(L"Sheet1")},
        {L"R4", layout_.get(), Null()}, {L"N1", number_.get(), VariantOfDouble(5)},
        {L"N2", number_.get(), VariantOf(5L)}, {L"N3", number_.get(), VariantOf(L"5")}};
    for (const auto& row : rows) Add(row.id, row.column, row.value.get());
    const struct { const wchar_t* column; UniqueVariant value; const wchar_t* id; } lookups[] = {
        {nullptr, VariantOf(L"r1"), L"R1"}, {nullptr, VariantOf(L""), L"<none>"}, {nullptr, VariantOf(L"R"), L"<none>"},
        {L"layout", VariantOf(L"Sheet1"), L""}, {L"layout", VariantOf(L"SHEET1"), L"R1"},
        {L"LAYOUT", VariantOf(L"sheet1"), L"<none>"}, {L"Number", VariantOf(5L), L"N2"},
        {L"Number", VariantOfDouble(5.0), L"N1"}, {L"Number", VariantOf(L"5"), L"N3"}, {L"Layout", Null(), L"R4"},
        {L"Number", Null(), L"<none>"}, {L"Missing", VariantOf(5L), L"<none>"}};
    for (const auto& lookup : lookups) EXPECT_EQ(lookup.id, Found(lookup.column, lookup.value.get())) << lookup.id;
    // Script hosts pass their arguments by reference.
    UniqueVariant target = VariantOf(5L);
    VARIANT byReference;
    byReference.vt = VT_BYREF | VT_VARIANT;
    byReference.pvarVal = &target.get();
    EXPECT_EQ(L"N2", Found(L"Number", byReference));
    // Types the platform's comparison does not take compare by their bits.
    const struct { VARTYPE type; ULONGLONG bits; } values[] = {
        {VT_UI4, 0xFFFFFFF0}, {VT_UI8, 0x1234567890}, {VT_I1, 0xFD}, {VT_UI2, 0xFFF0}};
    for (const auto& [type, bits] : values) {
        UniqueVariant value;
        value.get().vt = type;
        value.get().ullVal = bits;
        Add(L"U", number_.get(), value.get());
        EXPECT_EQ(L"U", Found(L"Number", value.get())) << type;
        value.get().ullVal = bits - 1;
        EXPECT_EQ(L"<none>", Found(L"Number", value.get())) << type;
    }
}

// ColumnValues has one element per item, empty where the item has no such cell; UniqueColumnValues
// keeps the first of equal values, skips empty ones, and gives no array rather than an empty one.
TEST_F(Table, ColumnValuesAreParallelAndUniqueValuesKeepTheFirstOccurrence) {
    EXPECT_EQ(VT_EMPTY, Values(L"Layout", false).type());
    EXPECT_EQ(VT_EMPTY, Values(L"Layout", true).type());
    Add(L"R", layout_.get(), Null().get());
    EXPECT_EQ(VT_EMPTY, Values(L"Layout", true).type());
    for (const wchar_t* text : {L"B", L"a", L"B"}) Add(L"R", layout_.get(), VariantOf(text).get());
    Add(L"R", layout_.get(), UniqueVariant().get());
    Add(L"R", number_.get(), VariantOf(L"C").get());
    EXPECT_EQ(S_OK, rows_->AddItem(Create<IQnPSObject>(qnpsObjType_ColumnDef).get()));
    for (const auto& value : {VariantOf(L"A"), VariantOf(5L), VariantOfDouble(5), VariantOf(5L)}) {
        Add(L"R", layout_.get(), value.get());
    }
    UniqueVariant values = Values(L"LAYOUT", false);
    LONG lower = -1;
    EXPECT_EQ(S_OK, ::SafeArrayGetLBound(values.get().parray, 1, &lower));
    EXPECT_EQ(0, lower);
    EXPECT_EQ(L"<null>,B,a,B,<empty>,<empty>,<empty>,A,5,5,5", ArrayText(values.get()));
    EXPECT_EQ(L"B,a,A,5,5", ArrayText(Values(L"layout", true).get()));
    EXPECT_EQ(L"<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>",
              ArrayText(Values(L"Missing", false).get()));
}

// Another type is accepted, silently, and neither held nor the old collection kept.
TEST_F(Table, CollectionsOfTheWrongTypeLeaveTheTableWithoutThem) {
    auto definitions = Definitions(table_.get());
    EXPECT_EQ(S_OK, table_->put_Rows(reinterpret_cast<IQnPSRowCollection*>(definitions.get())));
    EXPECT_EQ(S_OK, table_->put_ColumnDefs(reinterpret_cast<IQnPSColumnDefCollection*>(rows_.get())));
    EXPECT_EQ(1u, RefCount(definitions.get()));
    EXPECT_EQ(1u, RefCount(rows_.get()));
    IQnPSRowCollection* noRows = Unwritten<IQnPSRowCollection>();
    EXPECT_EQ(S_OK, table_->get_Rows(&noRows));
    EXPECT_EQ(nullptr, noRows);
    IQnPSColumnDefCollection* noDefinitions = Unwritten<IQnPSColumnDefCollection>();
    EXPECT_EQ(S_OK, table_->GetColumnDefs(qnpsDefinitions_All, &noDefinitions));
    EXPECT_EQ(nullptr, noDefinitions);
}

// The tab order of a layout is the VT_I4 value of the TabOrder cell of the layout's first row, and
// only when that cell's column is an Int column; otherwise the layout has none (-1). Without rows,
// LayoutsNames does nothing, not even initialise the caller's variant.
TEST_F(Table, TabOrdersComeOnlyFromAnIntCellOfTheFirstRowOfEachLayout) {
    UniqueVariant names = VariantOf(42L);
    EXPECT_EQ(S_FALSE, Create<IQnPSTable>(qnpsObjType_Table)->get_LayoutsNames(&names.get()));
    EXPECT_TRUE(names.type() == VT_I4 && names.get().lVal == 42);
    EXPECT_EQ(S_OK, table_->get_LayoutsNames(&names.get()));
    EXPECT_EQ(VT_EMPTY, names.type());
    auto tabOrder = MakeColumn(L"TabOrder", qnpsPropType_Int);
    auto asDouble = MakeColumn(L"TABORDER", qnpsPropType_Double);
    const struct { const wchar_t* layout; IQnPSColumnDef* column; UniqueVariant order; long expected; } rows[] = {
        {L"Sheet1", tabOrder.get(), VariantOf(2L), 2}, {L"Sheet2", nullptr, UniqueVariant(), -1},
        {L"Sheet2", tabOrder.get(), VariantOf(6L), -1}, {L"Text", tabOrder.get(), VariantOf(L"2"), -1},
        {L"Double", asDouble.get(), VariantOf(2L), -1}, {L"Real", tabOrder.get(), VariantOfDouble(2), -1},
        {L"Unlinked", nullptr, VariantOf(2L), -1}, {L"Sheet9", tabOrder.get(), UniqueVariant(), -1}};
    for (const auto& row : rows) {
        auto added = Add(L"R", layout_.get(), VariantOf(row.layout).get());
        if (row.order.type() != VT_EMPTY) EXPECT_EQ(S_OK, added->AddItem(MakeCell(row.column, row.order.get()).get()));
    }
    for (const auto& row : rows) {
        long order = 99;
        EXPECT_EQ(S_OK, table_->get_TabOrderByLayoutName(Bstr(row.layout).get(), &order));
        EXPECT_EQ(row.expected, order) << row.layout;
    }
    long order = 99;
    EXPECT_EQ(S_OK, Create<IQnPSTable>(qnpsObjType_Table)->get_TabOrderByLayoutName(Bstr(L"Sheet1").get(), &order));
    EXPECT_EQ(-1, order);
    // A layout that cannot be read as text fails the question with the conversion's error.
    UniqueVariant error;
    error.get().vt = VT_ERROR;
    error.get().scode = E_FAIL;
    Add(L"R", layout_.get(), error.get());
    EXPECT_EQ(DISP_E_TYPEMISMATCH, table_->get_TabOrderByLayoutName(Bstr(L"Sheet0").get(), &order));
}

}  // namespace
