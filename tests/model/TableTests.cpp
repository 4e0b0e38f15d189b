#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

// Over a table with a Layout and a Number column that its definitions do not hold.
class Table : public ComTest {
protected:
    static UniqueVariant Null() { UniqueVariant value; value.get().vt = VT_NULL; return value; }
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

// Names and RowIDs match without regard to case, values with it and only within one variant type; the
// first match wins. A cell linked to another kind of object is unlinked silently: hosts rely on it.
TEST_F(Table, LookupsMatchNamesWithoutCaseAndValuesExactly) {
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
    auto row = Add(L"C1", number_.get(), VariantOf(L"12").get());
    auto first = MakeCell(layout_.get(), VariantOf(1L).get());
    for (const auto& item : {ComPtr<IQnPSObject>(MakeCell(nullptr, VariantOf(0L).get()).get()),
                             ComPtr<IQnPSObject>(MakeCell(MakeColumn(L"").get(), VariantOf(0L).get()).get()),
                             Create<IQnPSObject>(qnpsObjType_ColumnDef), ComPtr<IQnPSObject>(first.get()),
                             ComPtr<IQnPSObject>(MakeCell(MakeColumn(L"layout").get(), VariantOf(2L).get()).get())}) {
        EXPECT_EQ(S_OK, row->AddItem(item.get()));
    }
    ComPtr<IQnPSProperty> found;
    ASSERT_EQ(S_OK, row->get_Property(Bstr(L"LAYOUT").get(), found.put()));
    EXPECT_TRUE(SameObject(found.get(), first.get()));
    EXPECT_EQ(S_OK, row->get_Property(Bstr(L"").get(), found.put()));
    EXPECT_FALSE(found);
    EXPECT_EQ(L"C1", Found(L"Number", VariantOf(L"12").get()));
    ASSERT_EQ(S_OK, table_->get_Property(Bstr(L"C1").get(), Bstr(L"Number").get(), found.put()));
    EXPECT_EQ(S_OK, found->put_ColumnDef(reinterpret_cast<IQnPSColumnDef*>(row.get())));
    ComPtr<IQnPSColumnDef> linked;
    EXPECT_EQ(S_OK, found->get_ColumnDef(linked.put()));
    EXPECT_FALSE(linked);
    EXPECT_EQ(L"<none>", Found(L"Number", VariantOf(L"12").get()));
    IQnPSProperty* none = Unwritten<IQnPSProperty>();
    EXPECT_EQ(S_OK, table_->get_Property(Bstr(L"C1").get(), Bstr(L"Number").get(), &none));
    EXPECT_EQ(nullptr, none);
}

// Unique values without any value are no array at all rather than an empty one.
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
    EXPECT_EQ(L"<null>,B,a,B,<empty>,<empty>,<empty>,A,5,5,5", ValueText(Values(L"LAYOUT", false).get()));
    EXPECT_EQ(L"B,a,A,5,5", ValueText(Values(L"layout", true).get()));
    EXPECT_EQ(L"<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>,<empty>",
              ValueText(Values(L"Missing", false).get()));
}

// Only a VT_I4 in an Int column of a layout's first row is its tab order; otherwise it has none (-1).
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
        {L"Unlinked", nullptr, VariantOf(2L), -1}};
    for (const auto& row : rows) {
        auto added = Add(L"R", layout_.get(), VariantOf(row.layout).get());
        if (row.order.type() != VT_EMPTY) added->AddItem(MakeCell(row.column, row.order.get()).get());
    }
    for (const auto& row : rows) {
        long order = 99;
        EXPECT_EQ(S_OK, table_->get_TabOrderByLayoutName(Bstr(row.layout).get(), &order));
        EXPECT_EQ(row.expected, order) << row.layout;
    }
    long order = 99;  // a table without rows has no tab orders
    EXPECT_EQ(S_OK, Create<IQnPSTable>(qnpsObjType_Table)->get_TabOrderByLayoutName(Bstr(L"Sheet1").get(), &order));
    EXPECT_EQ(-1, order);
    order = 99;
    EXPECT_EQ(S_OK, table_->get_TabOrderByLayoutName(Bstr(L"Sheet0").get(), &order));
    EXPECT_EQ(-1, order);
    // A layout that cannot be read as text fails the question with the conversion's error.
    UniqueVariant error;
    error.get().vt = VT_ERROR;
    error.get().scode = E_FAIL;
    Add(L"R", layout_.get(), error.get());
    EXPECT_EQ(DISP_E_TYPEMISMATCH, table_->get_TabOrderByLayoutName(Bstr(L"Sheet0").get(), &order));
}

// A duplicate is a success that adds nothing: readers merge definitions by adding them all.
TEST_F(Table, DefinitionsAreFoundAndAddedByNameWithoutCase) {
    auto definitions = Definitions(table_.get());
    auto first = MakeColumn(L"PART_NO");
    auto second = MakeColumn(L"part_no");
    EXPECT_EQ(S_OK, definitions->AddItem(Create<IQnPSObject>(qnpsObjType_Row).get()));
    for (const auto& column : {Create<IQnPSColumnDef>(qnpsObjType_ColumnDef), MakeColumn(L""), first, second}) {
        EXPECT_EQ(S_OK, definitions->AddItem(column.get()));
    }
    const auto found = [&](const wchar_t* name) {
        ComPtr<IQnPSColumnDef> column;
        UniqueBstr text;
        EXPECT_EQ(S_OK, definitions->get_ColumnDef(Bstr(name).get(), column.put()));
        return column && column->get_Name(text.put()) == S_OK ? Text(text.get()) : std::wstring(L"<none>");
    };
    EXPECT_EQ(L"PART_NO", found(L"part_No"));
    for (const wchar_t* missing : {L"", L"PART", L"PART_NO "}) EXPECT_EQ(L"<none>", found(missing));
    EXPECT_EQ(S_OK, second->put_Name(Bstr(L"Revision").get()));
    const struct { ComPtr<IQnPSColumnDef> column; VARIANT_BOOL has; HRESULT added; } questions[] = {
        {MakeColumn(L"Part_No"), VARIANT_TRUE, S_FALSE}, {first, VARIANT_TRUE, S_FALSE},
        {MakeColumn(L"TabOrder"), VARIANT_FALSE, S_OK}, {MakeColumn(L"TABORDER"), VARIANT_TRUE, S_FALSE},
        {Create<IQnPSColumnDef>(qnpsObjType_ColumnDef), VARIANT_FALSE, S_OK}, {MakeColumn(L""), VARIANT_FALSE, S_OK},
        {ComPtr<IQnPSColumnDef>(), VARIANT_FALSE, S_FALSE}};
    for (const auto& question : questions) {
        VARIANT_BOOL has = 7;
        EXPECT_EQ(S_OK, definitions->HasDefinition(question.column.get(), &has));
        EXPECT_EQ(question.has, has);
        EXPECT_EQ(question.added, definitions->AddDefinition(question.column.get()));
    }
    EXPECT_EQ(3u, RefCount(first.get()));  // ours, the question's and one entry's
    EXPECT_EQ(L"?,,,PART_NO,Revision,TabOrder,,", ColumnNames(definitions.get()));
}

// The selection enumeration has no 0; it and any other unknown value select the unordered ones.
TEST_F(Table, SelectionsSortShareOrHandOutTheTablesDefinitions) {
    auto definitions = Definitions(table_.get());
    const struct { const wchar_t* name; long order; } columns[] = {
        {L"five_a", 5}, {L"two", 2}, {L"five_b", 5}, {L"none", -1}, {L"zero", 0}};
    for (const auto& [name, order] : columns) {
        EXPECT_EQ(S_OK, definitions->AddItem(MakeColumn(name, qnpsPropType_String, order).get()));
    }
    auto fresh = Create<IQnPSColumnDef>(qnpsObjType_ColumnDef);
    EXPECT_EQ(S_OK, fresh->put_Name(Bstr(L"new").get()));
    EXPECT_EQ(S_OK, definitions->AddItem(fresh.get()));
    const auto select = [&](long selection) {
        ComPtr<IQnPSColumnDefCollection> selected;
        EXPECT_EQ(S_OK, table_->GetColumnDefs(static_cast<qnpsColumnDefCollectionType>(selection), selected.put()));
        return selected;
    };
    const auto selected = [&](long selection) { return ColumnNames(select(selection).get()); };
    EXPECT_EQ(L"zero,two,five_a,five_b", selected(qnpsDefinitions_Ordered));
    for (long unordered : {long{qnpsDefinitions_UnOrdered}, 0L, 7L, -1L}) {
        EXPECT_EQ(L"none,new", selected(unordered)) << unordered;
    }
    // Selections share the definitions themselves; All is the table's own collection.
    auto zero = ItemOf(definitions.get(), 4);
    EXPECT_TRUE(SameObject(ItemOf(select(qnpsDefinitions_Ordered).get(), 0).get(), zero.get()));
    EXPECT_TRUE(SameObject(select(qnpsDefinitions_All).get(), definitions.get()));
    EXPECT_EQ(S_OK, definitions->AddItem(MakeColumn(L"one", qnpsPropType_String, 1).get()));
    // Hidden definitions are selected too, items that are not definitions never.
    auto two = ItemOf(definitions.get(), 1).query<IQnPSColumnDef>();
    EXPECT_EQ(S_OK, two->put_Order(-7));
    EXPECT_EQ(S_OK, two->put_Hidden(VARIANT_TRUE));
    EXPECT_EQ(S_OK, zero.query<IQnPSColumnDef>()->put_Hidden(VARIANT_TRUE));
    EXPECT_EQ(S_OK, definitions->AddItem(Create<IQnPSObject>(qnpsObjType_Row).get()));
    EXPECT_EQ(L"zero,one,five_a,five_b", selected(qnpsDefinitions_Ordered));
    EXPECT_EQ(L"two,none,new", selected(qnpsDefinitions_UnOrdered));
    // A collection of another type is accepted silently, and neither held nor the old one kept.
    EXPECT_EQ(S_OK, definitions->RemoveAll());
    EXPECT_TRUE(select(qnpsDefinitions_Ordered) && select(qnpsDefinitions_UnOrdered));
    EXPECT_EQ(S_OK, table_->put_Rows(reinterpret_cast<IQnPSRowCollection*>(definitions.get())));
    EXPECT_EQ(S_OK, table_->put_ColumnDefs(reinterpret_cast<IQnPSColumnDefCollection*>(rows_.get())));
    EXPECT_EQ(1u, RefCount(rows_.get()));
    EXPECT_EQ(1u, RefCount(definitions.get()));
    IQnPSRowCollection* noRows = Unwritten<IQnPSRowCollection>();
    EXPECT_EQ(S_OK, table_->get_Rows(&noRows));
    EXPECT_EQ(nullptr, noRows);
    for (auto selection : {qnpsDefinitions_Ordered, qnpsDefinitions_UnOrdered, qnpsDefinitions_All}) {
        IQnPSColumnDefCollection* none = Unwritten<IQnPSColumnDefCollection>();
        EXPECT_EQ(S_OK, table_->GetColumnDefs(selection, &none));
        EXPECT_EQ(nullptr, none);
    }
}

}  // namespace
