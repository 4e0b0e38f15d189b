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
        table_.reset();
        rows_.reset();
        layout_.reset();
        number_.reset();
        ComTest::TearDown();
    }
    void Add(const wchar_t* id, IQnPSColumnDef* column, const VARIANT& value) {
        AddRow(table_.get(), id, {{column, &value}});
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

// A cell's value is kept as given: text stays text in an Int column.
TEST_F(Table, CellLinksOnlyADefinitionAndKeepsItsValueUnconverted) {
    auto cell = MakeCell(number_.get(), VariantOf(L"12").get());
    auto row = AddRow(table_.get(), L"R1", {});
    EXPECT_EQ(S_OK, row->AddItem(cell.get()));
    EXPECT_EQ(L"R1", Found(L"Number", VariantOf(L"12").get()));
    // Another kind of object unlinks the cell without an error and is not held, so no lookup by
    // the old column name finds the cell any more.
    EXPECT_EQ(S_OK, cell->put_ColumnDef(reinterpret_cast<IQnPSColumnDef*>(row.get())));
    EXPECT_EQ(1u, RefCount(number_.get()));
    EXPECT_EQ(2u, RefCount(row.get()));
    ComPtr<IQnPSColumnDef> linked;
    EXPECT_EQ(S_OK, cell->get_ColumnDef(linked.put()));
    EXPECT_FALSE(linked);
    EXPECT_EQ(L"<none>", Found(L"Number", VariantOf(L"12").get()));
}

// A row's cells, and the table's through the first row of an ID, are found by column name without
// regard to case; the first match wins, and cells without a named column and other items are passed over.
TEST_F(Table, PropertyFindsTheFirstCellOfAColumn) {
    auto row = AddRow(table_.get(), L"R1", {});
    AddRow(table_.get(), L"r1", {{layout_.get(), &VariantOf(L"second row").get()}});
    auto lower = MakeColumn(L"layout");
    auto unnamed = Create<IQnPSColumnDef>(qnpsObjType_ColumnDef);
    auto first = MakeCell(layout_.get(), VariantOf(1L).get());
    EXPECT_EQ(S_OK, row->AddItem(MakeCell(nullptr, VariantOf(0L).get()).get()));
    EXPECT_EQ(S_OK, row->AddItem(MakeCell(unnamed.get(), VariantOf(0L).get()).get()));
    EXPECT_EQ(S_OK, row->AddItem(Create<IQnPSObject>(qnpsObjType_ColumnDef).get()));
    EXPECT_EQ(S_OK, row->AddItem(first.get()));
    EXPECT_EQ(S_OK, row->AddItem(MakeCell(lower.get(), VariantOf(2L).get()).get()));
    ComPtr<IQnPSProperty> found;
    ASSERT_EQ(S_OK, row->get_Property(Bstr(L"LAYOUT").get(), found.put()));
    EXPECT_TRUE(SameObject(found.get(), first.get()));
    ASSERT_EQ(S_OK, table_->get_Property(Bstr(L"r1").get(), Bstr(L"lAYOUT").get(), found.put()));
    EXPECT_TRUE(SameObject(found.get(), first.get()));
    EXPECT_EQ(3u, RefCount(first.get()));  // ours, the row's and `found`
    IQnPSProperty* none = Unwritten<IQnPSProperty>();
    EXPECT_EQ(S_OK, row->get_Property(Bstr(L"").get(), &none));
    EXPECT_EQ(nullptr, none);
    none = Unwritten<IQnPSProperty>();
    EXPECT_EQ(S_OK, table_->get_Property(Bstr(L"R1").get(), Bstr(L"Number").get(), &none));
    EXPECT_EQ(nullptr, none);
}

// Column names and RowIDs match without regard to case, values with it and only within one
// variant type; the first match wins and items that are not rows are passed over.
TEST_F(Table, LookupsMatchNamesWithoutCaseAndValuesExactly) {
    EXPECT_EQ(L"<none>", Found(nullptr, VariantOf(L"R1").get()));
    EXPECT_EQ(S_OK, rows_->AddItem(Create<IQnPSObject>(qnpsObjType_QnPSProperty).get()));
    Add(L"", layout_.get(), VariantOf(L"Sheet1").get());
    Add(nullptr, layout_.get(), VariantOf(L"Sheet1").get());
    Add(L"R1", layout_.get(), VariantOf(L"SHEET1").get());
    Add(L"r1", layout_.get(), VariantOf(L"Sheet1").get());
    Add(L"R4", layout_.get(), Null().get());
    Add(L"N1", number_.get(), VariantOfDouble(5).get());
    Add(L"N2", number_.get(), VariantOf(5L).get());
    Add(L"N3", number_.get(), VariantOf(L"5").get());
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
    ComPtr<IQnPSRow> row;
    ASSERT_EQ(S_OK, rows_->get_Row(Bstr(L"Number").get(), VariantOf(5L).get(), row.put()));
    ASSERT_TRUE(row);
    EXPECT_EQ(2u, RefCount(row.get()));  // the collection's and ours
    // Types the platform's comparison does not take compare by their bits.
    const struct { VARTYPE type; ULONGLONG bits; } values[] = {
        {VT_UI4, 0xFFFFFFF0}, {VT_UI8, 0x1234567890}, {VT_I1, 0xFD}};
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
    for (const wchar_t* text : {L"B", L"a", L"B"}) Add(L"R", layout_.get(), VariantOf(text).get());
    Add(L"R", layout_.get(), UniqueVariant().get());
    Add(L"R", layout_.get(), Null().get());
    Add(L"R", number_.get(), VariantOf(L"C").get());
    EXPECT_EQ(S_OK, rows_->AddItem(Create<IQnPSObject>(qnpsObjType_ColumnDef).get()));
    const UniqueVariant later[] = {VariantOf(L"A"), VariantOf(5L), VariantOfDouble(5), VariantOf(5L)};
    for (const auto& value : later) Add(L"R", layout_.get(), value.get());
    UniqueVariant values = Values(L"LAYOUT", false);
    LONG lower = -1;
    EXPECT_EQ(S_OK, ::SafeArrayGetLBound(values.get().parray, 1, &lower));
    EXPECT_EQ(0, lower);
    EXPECT_EQ(L"B,a,B,<empty>,<null>,<empty>,<empty>,A,5,5,5", ArrayText(values.get()));
    EXPECT_EQ(L"B,a,A,5,5", ArrayText(Values(L"layout", true).get()));
    EXPECT_EQ(L"<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>",
              ArrayText(Values(L"Missing", false).get()));
    EXPECT_EQ(VT_EMPTY, Values(L"Missing", true).type());
    EXPECT_EQ(S_OK, rows_->RemoveAll());
    Add(L"R", layout_.get(), Null().get());
    Add(L"R", layout_.get(), UniqueVariant().get());
    EXPECT_EQ(VT_EMPTY, Values(L"Layout", true).type());
}

// Distinct values are looked up by hash, yet must group exactly as the pairwise equality does. Row
// finds the first row holding a value equal to the one given, so a value belongs in the list exactly
// when Row finds no earlier row. Text the locale calls equal in other code units (case, accents composed
// or not, width, kana, expansions, ignorable characters) and numbers equal in other bits are the cases.
TEST_F(Table, UniqueValuesGroupExactlyAsThePairwiseEqualityDoes) {
    using namespace std::string_literals;
    const std::wstring texts[] = {L"abc", L"ABC", L"abc\u00AD", L"a\u00ADbc", L"ab\u200Dc", L"abc\u200B", L"abc\0"s,
        L"a\0bc"s, L"\0abc"s, L"", L"\0"s, L"\u00AD", L"\u0640", L"\u00DF", L"ss", L"SS", L"\u00E6", L"ae", L"\u00C6",
        L"AE", L"\u00E9", L"e\u0301", L"E\u0301", L"\uFF45", L"e", L"\u30A2", L"\u3042", L"\uFF71", L"co-op", L"coop",
        L"\uFB01", L"fi", L"\u01C4", L"D\u017D", L"\u00C5", L"A\u030A", L"\u212B", L"1", L"01", L"\u0661", L"\u00B2",
        L"2", L"\xD800", L"\xD800x", std::wstring(600, L'x'), std::wstring(599, L'x') + L"\u00ADx"};
    const struct { VARTYPE type; ULONGLONG bits; } numbers[] = {{VT_R8, 0}, {VT_R8, 1ULL << 63},
        {VT_R8, 0x7FF8000000000000}, {VT_R8, 0x7FF8000000000000}, {VT_R4, 0x80000000}, {VT_R4, 0}, {VT_I4, 5},
        {VT_R8, 0x4014000000000000}, {VT_I8, 1ULL << 53}, {VT_I8, (1ULL << 53) + 1}, {VT_BOOL, 1}, {VT_BOOL, 0xFFFF},
        {VT_ERROR, 1}, {VT_ERROR, 2}, {VT_CY, 7}, {VT_CY, 7}, {VT_DATE, 0x4014000000000000}, {VT_UI8, 5}};
    std::vector<UniqueVariant> values(std::size(texts) + std::size(numbers));
    for (size_t i = 0; i < values.size(); ++i) {
        VARIANT& value = values[i].get();
        value.vt = i < std::size(texts) ? VARTYPE(VT_BSTR) : numbers[i - std::size(texts)].type;
        if (i < std::size(texts)) value.bstrVal = ::SysAllocStringLen(texts[i].data(), UINT(texts[i].size()));
        else value.ullVal = numbers[i - std::size(texts)].bits;
        Add(std::to_wstring(i).c_str(), layout_.get(), value);
    }
    UniqueVariant unique = Values(L"Layout", true);
    LONG listed = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        const std::wstring first = Found(L"Layout", values[i].get());  // none for a NaN, equal to nothing
        if (first != L"<none>" && std::stoul(first) < i) continue;
        UniqueVariant element;
        ASSERT_EQ(S_OK, ::SafeArrayGetElement(unique.get().parray, &listed, element.put())) << i;
        ++listed;
        const VARIANT &got = element.get(), &want = values[i].get();
        EXPECT_TRUE(got.vt == want.vt && (got.vt == VT_BSTR ? Text(got.bstrVal) == Text(want.bstrVal)
                                                            : got.ullVal == want.ullVal)) << i;
    }
    EXPECT_EQ(listed, LONG(unique.get().parray->rgsabound[0].cElements));
}

TEST_F(Table, CollectionsOfTheWrongTypeLeaveTheTableWithoutThem) {
    auto definitions = Definitions(table_.get());
    // Another type is accepted, silently, and neither held nor the old collection kept.
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
    // Null is refused and changes nothing; replacing a collection releases the old one.
    EXPECT_EQ(S_OK, table_->put_Rows(rows_.get()));
    EXPECT_EQ(E_INVALIDARG, table_->put_Rows(nullptr));
    EXPECT_TRUE(SameObject(Rows(table_.get()).get(), rows_.get()));
    EXPECT_EQ(S_OK, table_->put_Rows(Create<IQnPSRowCollection>(qnpsObjType_RowCollection).get()));
    EXPECT_EQ(1u, RefCount(rows_.get()));
}

// The layouts are the distinct values of the Layout column, with case. The tab order of a layout is
// the VT_I4 value of the TabOrder cell of the layout's first row, and only when that cell's column
// is an Int column; otherwise the layout has none (-1).
TEST_F(Table, LayoutsAndTheirTabOrdersComeFromTheFirstRowOfEachLayout) {
    // Without rows nothing is done, not even initialising the caller's variant.
    UniqueVariant names = VariantOf(42L);
    EXPECT_EQ(S_FALSE, Create<IQnPSTable>(qnpsObjType_Table)->get_LayoutsNames(&names.get()));
    EXPECT_TRUE(names.type() == VT_I4 && names.get().lVal == 42);
    EXPECT_EQ(S_OK, table_->get_LayoutsNames(&names.get()));
    EXPECT_EQ(VT_EMPTY, names.type());

    auto tabOrder = MakeColumn(L"TabOrder", qnpsPropType_Int);
    auto asDouble = MakeColumn(L"TABORDER", qnpsPropType_Double);
    const struct { UniqueVariant layout; IQnPSColumnDef* column; UniqueVariant order; } rows[] = {
        {VariantOf(L""), tabOrder.get(), VariantOf(8L)}, {VariantOf(L"Sheet1"), tabOrder.get(), VariantOf(2L)},
        {VariantOf(L"SHEET1"), tabOrder.get(), VariantOf(5L)},
        {VariantOf(3L), tabOrder.get(), VariantOf(4L)},  // a layout kept as a number is asked as text
        {VariantOf(L"Sheet2"), nullptr, UniqueVariant()},  // later rows of the layout are not asked
        {VariantOf(L"Sheet2"), tabOrder.get(), VariantOf(6L)}, {VariantOf(L"Text"), tabOrder.get(), VariantOf(L"2")},
        {VariantOf(L"Double"), asDouble.get(), VariantOf(2L)}, {VariantOf(L"Real"), tabOrder.get(), VariantOfDouble(2)},
        {VariantOf(L"Unlinked"), nullptr, VariantOf(2L)}};
    for (const auto& row : rows) {
        auto added = AddRow(table_.get(), L"R", {{layout_.get(), &row.layout.get()}});
        if (row.order.type() != VT_EMPTY) {
            EXPECT_EQ(S_OK, added->AddItem(MakeCell(row.column, row.order.get()).get()));
        }
    }
    Add(L"R", tabOrder.get(), VariantOf(1L).get());
    EXPECT_EQ(S_OK, table_->get_LayoutsNames(names.put()));
    EXPECT_EQ(L",Sheet1,SHEET1,3,Sheet2,Text,Double,Real,Unlinked", ArrayText(names.get()));

    long order = 99;
    const struct { const wchar_t* name; long order; } expected[] = {
        {L"sheet1", 2}, {L"3", 4}, {L"Sheet2", -1}, {L"Sheet9", -1}, {L"Text", -1}, {L"Double", -1},
        {L"Real", -1}, {L"Unlinked", -1}};
    for (const auto& entry : expected) {
        EXPECT_EQ(S_OK, table_->get_TabOrderByLayoutName(Bstr(entry.name).get(), &order));
        EXPECT_EQ(entry.order, order) << entry.name;
    }
    EXPECT_EQ(S_OK, Create<IQnPSTable>(qnpsObjType_Table)->get_TabOrderByLayoutName(Bstr(L"Sheet1").get(), &order));
    EXPECT_EQ(-1, order);
    // A layout that cannot be read as text fails the question with the conversion's error.
    UniqueVariant error;
    error.get().vt = VT_ERROR;
    error.get().scode = E_FAIL;
    Add(L"R", layout_.get(), error.get());
    EXPECT_EQ(DISP_E_TYPEMISMATCH, table_->get_TabOrderByLayoutName(Bstr(L"Sheet9").get(), &order));
}

}  // namespace
