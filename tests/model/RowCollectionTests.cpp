#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

UniqueVariant Null() {
    UniqueVariant value;
    value.get().vt = VT_NULL;
    return value;
}

class RowCollection : public ComTest {
protected:
    void SetUp() override {
        ComTest::SetUp();
        table_ = MakeTable();
        rows_ = Rows(table_.get());
        layout_ = MakeColumn(L"Layout");
        number_ = MakeColumn(L"Number", qnpsPropType_Int);
    }
    void TearDown() override {
        layout_.reset();
        number_.reset();
        rows_.reset();
        table_.reset();
        ComTest::TearDown();
    }

    // The RowID of the row `Row` finds, "<none>" when it finds none.
    std::wstring FoundBy(const wchar_t* column, const VARIANT& value) {
        ComPtr<IQnPSRow> row;
        EXPECT_EQ(S_OK, rows_->get_Row(Bstr(column).get(), value, row.put()));
        return IdOf(row.get());
    }
    std::wstring FoundById(const wchar_t* id) {
        ComPtr<IQnPSRow> row;
        EXPECT_EQ(S_OK, rows_->get_RowByID(Bstr(id).get(), row.put()));
        return IdOf(row.get());
    }
    static std::wstring IdOf(IQnPSRow* row) {
        if (!row) return L"<none>";
        UniqueBstr id;
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
    ComPtr<IQnPSColumnDef> layout_;
    ComPtr<IQnPSColumnDef> number_;
};

TEST_F(RowCollection, RowMatchesColumnNamesWithoutCaseButValuesWithCase) {
    AddRow(table_.get(), L"R1", {{layout_.get(), &VariantOf(L"SHEET1").get()},
                                 {number_.get(), &VariantOfDouble(5.0).get()}});
    AddRow(table_.get(), L"R2", {{layout_.get(), &VariantOf(L"Sheet1").get()},
                                 {number_.get(), &VariantOf(5L).get()}});
    AddRow(table_.get(), L"R3", {{layout_.get(), &VariantOf(L"Sheet1").get()},
                                 {number_.get(), &VariantOf(L"5").get()}});
    AddRow(table_.get(), L"R4", {{layout_.get(), &Null().get()}});

    EXPECT_EQ(L"R2", FoundBy(L"layout", VariantOf(L"Sheet1").get()));
    EXPECT_EQ(L"R1", FoundBy(L"LAYOUT", VariantOf(L"SHEET1").get()));
    EXPECT_EQ(L"<none>", FoundBy(L"Layout", VariantOf(L"sheet1").get()));
    // No conversion between variant types.
    EXPECT_EQ(L"R2", FoundBy(L"Number", VariantOf(5L).get()));
    EXPECT_EQ(L"R1", FoundBy(L"Number", VariantOfDouble(5.0).get()));
    EXPECT_EQ(L"R3", FoundBy(L"Number", VariantOf(L"5").get()));
    EXPECT_EQ(L"R4", FoundBy(L"Layout", Null().get()));
    EXPECT_EQ(L"<none>", FoundBy(L"Number", Null().get()));
    EXPECT_EQ(L"<none>", FoundBy(L"Missing", VariantOf(5L).get()));

    // Script hosts pass their arguments by reference.
    UniqueVariant target = VariantOf(5L);
    VARIANT byReference;
    byReference.vt = VT_BYREF | VT_VARIANT;
    byReference.pvarVal = &target.get();
    EXPECT_EQ(L"R2", FoundBy(L"Number", byReference));

    ComPtr<IQnPSRow> row;
    ASSERT_EQ(S_OK, rows_->get_Row(Bstr(L"Number").get(), VariantOf(5L).get(), row.put()));
    EXPECT_TRUE(SameObject(row.get(), ItemOf(rows_.get(), 1).get()));
    EXPECT_EQ(2u, RefCount(row.get()));  // the collection's and ours
    IQnPSRow* out = Unwritten<IQnPSRow>();
    EXPECT_EQ(E_INVALIDARG, rows_->get_Row(nullptr, VariantOf(5L).get(), &out));
    EXPECT_EQ(E_INVALIDARG, rows_->get_Row(Bstr(L"Number").get(), VariantOf(5L).get(), nullptr));
}

TEST_F(RowCollection, UnsignedAndSmallIntegersCompareByValue) {
    UniqueVariant ui4, ui8, i1;
    ui4.get().vt = VT_UI4;
    ui4.get().ulVal = 0xFFFFFFF0u;
    ui8.get().vt = VT_UI8;
    ui8.get().ullVal = 0x1234567890ull;
    i1.get().vt = VT_I1;
    i1.get().cVal = -3;
    AddRow(table_.get(), L"U4", {{number_.get(), &ui4.get()}});
    AddRow(table_.get(), L"U8", {{number_.get(), &ui8.get()}});
    AddRow(table_.get(), L"I1", {{number_.get(), &i1.get()}});
    EXPECT_EQ(L"U4", FoundBy(L"Number", ui4.get()));
    EXPECT_EQ(L"U8", FoundBy(L"Number", ui8.get()));
    EXPECT_EQ(L"I1", FoundBy(L"Number", i1.get()));
    ui4.get().ulVal = 0xFFFFFFF1u;
    EXPECT_EQ(L"<none>", FoundBy(L"Number", ui4.get()));
}

TEST_F(RowCollection, RowByIdIgnoresCaseAndEmptyIdentifiers) {
    EXPECT_EQ(S_OK, rows_->AddItem(Create<IQnPSObject>(qnpsObjType_QnPSProperty).get()));
    AddRow(table_.get(), L"", {{layout_.get(), &VariantOf(L"A").get()}});
    AddRow(table_.get(), nullptr, {{layout_.get(), &VariantOf(L"B").get()}});
    AddRow(table_.get(), L"R1", {{layout_.get(), &VariantOf(L"first").get()}});
    AddRow(table_.get(), L"r1", {{layout_.get(), &VariantOf(L"second").get()}});

    ComPtr<IQnPSRow> row;
    ASSERT_EQ(S_OK, rows_->get_RowByID(Bstr(L"r1").get(), row.put()));
    EXPECT_TRUE(SameObject(row.get(), ItemOf(rows_.get(), 3).get()));
    EXPECT_EQ(L"<none>", FoundById(L""));
    EXPECT_EQ(L"<none>", FoundById(L"R"));

    IQnPSRow* out = Unwritten<IQnPSRow>();
    EXPECT_EQ(E_INVALIDARG, rows_->get_RowByID(nullptr, &out));
    EXPECT_EQ(E_INVALIDARG, rows_->get_RowByID(Bstr(L"R1").get(), nullptr));

    // The value lookup passes over the item that is not a row as well.
    EXPECT_EQ(L"R1", FoundBy(L"Layout", VariantOf(L"first").get()));
}

TEST_F(RowCollection, EmptyCollectionAnswersNothing) {
    EXPECT_EQ(L"<none>", FoundBy(L"Layout", VariantOf(L"x").get()));
    EXPECT_EQ(L"<none>", FoundById(L"R1"));
    EXPECT_EQ(VT_EMPTY, Values(L"Layout", false).type());
    EXPECT_EQ(VT_EMPTY, Values(L"Layout", true).type());

    UniqueVariant out;
    EXPECT_EQ(E_INVALIDARG, rows_->get_ColumnValues(nullptr, out.put()));
    EXPECT_EQ(E_INVALIDARG, rows_->get_ColumnValues(Bstr(L"Layout").get(), nullptr));
    EXPECT_EQ(E_INVALIDARG, rows_->get_UniqueColumnValues(nullptr, out.put()));
    EXPECT_EQ(E_INVALIDARG, rows_->get_UniqueColumnValues(Bstr(L"Layout").get(), nullptr));
}

TEST_F(RowCollection, ColumnValuesIsParallelToTheCollection) {
    AddRow(table_.get(), L"R1", {{layout_.get(), &VariantOf(L"Sheet1").get()}});
    AddRow(table_.get(), L"R2", {{number_.get(), &VariantOf(1L).get()}});
    EXPECT_EQ(S_OK, rows_->AddItem(Create<IQnPSObject>(qnpsObjType_ColumnDef).get()));
    AddRow(table_.get(), L"R3", {{layout_.get(), &Null().get()}});
    AddRow(table_.get(), L"R4", {{layout_.get(), &VariantOf(7L).get()}});

    UniqueVariant values = Values(L"LAYOUT", false);
    ASSERT_EQ(VT_ARRAY | VT_VARIANT, values.type());
    EXPECT_EQ(1u, ::SafeArrayGetDim(values.get().parray));
    LONG lower = -1;
    EXPECT_EQ(S_OK, ::SafeArrayGetLBound(values.get().parray, 1, &lower));
    EXPECT_EQ(0, lower);
    EXPECT_EQ(L"Sheet1,<empty>,<empty>,<null>,7", ArrayText(values.get()));
    LONG index = 4;
    UniqueVariant element;
    EXPECT_EQ(S_OK, ::SafeArrayGetElement(values.get().parray, &index, element.put()));
    EXPECT_EQ(VT_I4, element.type());

    // A column that no row has still gives one empty element per item.
    EXPECT_EQ(L"<empty>,<empty>,<empty>,<empty>,<empty>", ArrayText(Values(L"Missing", false).get()));
}

TEST_F(RowCollection, UniqueColumnValuesKeepsTheOrderOfFirstOccurrence) {
    const wchar_t* texts[] = {L"B", L"a", L"B"};
    for (const wchar_t* text : texts) AddRow(table_.get(), L"R", {{layout_.get(), &VariantOf(text).get()}});
    AddRow(table_.get(), L"R", {{layout_.get(), &UniqueVariant().get()}});
    AddRow(table_.get(), L"R", {{layout_.get(), &Null().get()}});
    AddRow(table_.get(), L"R", {{number_.get(), &VariantOf(L"C").get()}});
    AddRow(table_.get(), L"R", {{layout_.get(), &VariantOf(L"A").get()}});
    AddRow(table_.get(), L"R", {{layout_.get(), &VariantOf(5L).get()}});
    AddRow(table_.get(), L"R", {{layout_.get(), &VariantOfDouble(5.0).get()}});
    AddRow(table_.get(), L"R", {{layout_.get(), &VariantOf(5L).get()}});

    UniqueVariant values = Values(L"layout", true);
    ASSERT_EQ(VT_ARRAY | VT_VARIANT, values.type());
    EXPECT_EQ(L"B,a,A,5,5", ArrayText(values.get()));
    LONG lower = -1, upper = -1;
    EXPECT_EQ(S_OK, ::SafeArrayGetLBound(values.get().parray, 1, &lower));
    EXPECT_EQ(S_OK, ::SafeArrayGetUBound(values.get().parray, 1, &upper));
    EXPECT_EQ(0, lower);
    EXPECT_EQ(4, upper);
    LONG index = 4;
    UniqueVariant element;
    EXPECT_EQ(S_OK, ::SafeArrayGetElement(values.get().parray, &index, element.put()));
    EXPECT_EQ(VT_R8, element.type());

    // Rows without the column, or with only empty values in it, give no array at all.
    EXPECT_EQ(VT_EMPTY, Values(L"Missing", true).type());
    EXPECT_EQ(S_OK, rows_->RemoveAll());
    AddRow(table_.get(), L"R", {{layout_.get(), &Null().get()}});
    AddRow(table_.get(), L"R", {{layout_.get(), &UniqueVariant().get()}});
    EXPECT_EQ(VT_EMPTY, Values(L"Layout", true).type());
}

}  // namespace
