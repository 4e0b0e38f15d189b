#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class Property : public ComTest {};

TEST_F(Property, ColumnDefLinksOnlyColumnDefinitions) {
    auto cell = Create<IQnPSProperty>(qnpsObjType_QnPSProperty);
    IQnPSColumnDef* linked = Unwritten<IQnPSColumnDef>();
    EXPECT_EQ(S_OK, cell->get_ColumnDef(&linked));
    EXPECT_EQ(nullptr, linked);
    EXPECT_EQ(E_INVALIDARG, cell->get_ColumnDef(nullptr));

    auto column = MakeColumn(L"Layout");
    EXPECT_EQ(S_OK, cell->put_ColumnDef(column.get()));
    EXPECT_EQ(2u, RefCount(column.get()));
    EXPECT_EQ(E_INVALIDARG, cell->put_ColumnDef(nullptr));
    ASSERT_EQ(S_OK, cell->get_ColumnDef(&linked));
    EXPECT_TRUE(SameObject(linked, column.get()));
    linked->Release();

    // Another kind of object unlinks the cell without an error and is not held.
    auto row = Create<IQnPSRow>(qnpsObjType_Row);
    EXPECT_EQ(S_OK, cell->put_ColumnDef(reinterpret_cast<IQnPSColumnDef*>(row.get())));
    EXPECT_EQ(1u, RefCount(column.get()));
    EXPECT_EQ(1u, RefCount(row.get()));
    linked = Unwritten<IQnPSColumnDef>();
    EXPECT_EQ(S_OK, cell->get_ColumnDef(&linked));
    EXPECT_EQ(nullptr, linked);

    // ... so no lookup by the old column name finds it any more.
    EXPECT_EQ(S_OK, row->AddItem(cell.get()));
    IQnPSProperty* found = Unwritten<IQnPSProperty>();
    EXPECT_EQ(S_OK, row->get_Property(Bstr(L"Layout").get(), &found));
    EXPECT_EQ(nullptr, found);
}

TEST_F(Property, ValueIsStoredAsGiven) {
    auto column = MakeColumn(L"Count", qnpsPropType_Int);
    auto cell = Create<IQnPSProperty>(qnpsObjType_QnPSProperty);
    UniqueVariant value = VariantOf(9L);
    EXPECT_EQ(S_OK, cell->get_Value(&value.get()));
    EXPECT_EQ(VT_EMPTY, value.type());
    EXPECT_EQ(E_INVALIDARG, cell->get_Value(nullptr));

    // No conversion to the column's type: text stays text in an Int column.
    EXPECT_EQ(S_OK, cell->put_ColumnDef(column.get()));
    EXPECT_EQ(S_OK, cell->put_Value(VariantOf(L"12").get()));
    EXPECT_EQ(S_OK, cell->get_Value(value.put()));
    ASSERT_EQ(VT_BSTR, value.type());
    EXPECT_EQ(L"12", Text(value.get().bstrVal));

    UniqueVariant null;
    null.get().vt = VT_NULL;
    EXPECT_EQ(S_OK, cell->put_Value(null.get()));
    EXPECT_EQ(S_OK, cell->get_Value(value.put()));
    EXPECT_EQ(VT_NULL, value.type());

    // The cell keeps its own copy.
    auto text = VariantOf(L"abc");
    EXPECT_EQ(S_OK, cell->put_Value(text.get()));
    text.reset();
    EXPECT_EQ(S_OK, cell->get_Value(value.put()));
    EXPECT_EQ(L"abc", Text(value.get().bstrVal));
}

class Row : public ComTest {};

TEST_F(Row, PropertyFindsTheFirstCellOfAColumnWithoutRegardToCase) {
    auto row = MakeRow(L"R1");
    auto upper = MakeColumn(L"A");
    auto lower = MakeColumn(L"a");
    auto unnamed = Create<IQnPSColumnDef>(qnpsObjType_ColumnDef);
    auto first = MakeCell(upper.get(), VariantOf(1L).get());
    auto second = MakeCell(lower.get(), VariantOf(2L).get());
    // Rows take any object; cells without a named column and other objects are passed over.
    EXPECT_EQ(S_OK, row->AddItem(MakeCell(nullptr, VariantOf(0L).get()).get()));
    EXPECT_EQ(S_OK, row->AddItem(MakeCell(unnamed.get(), VariantOf(0L).get()).get()));
    EXPECT_EQ(S_OK, row->AddItem(Create<IQnPSObject>(qnpsObjType_ColumnDef).get()));
    EXPECT_EQ(S_OK, row->AddItem(first.get()));
    EXPECT_EQ(S_OK, row->AddItem(second.get()));
    EXPECT_EQ(E_INVALIDARG, row->AddItem(nullptr));
    EXPECT_EQ(5, CountOf(row.get()));

    for (const wchar_t* name : {L"A", L"a"}) {
        IQnPSProperty* found = nullptr;
        ASSERT_EQ(S_OK, row->get_Property(Bstr(name).get(), &found));
        EXPECT_TRUE(SameObject(found, first.get()));
        EXPECT_EQ(3u, RefCount(first.get()));
        found->Release();
    }
    for (const wchar_t* missing : {L"", L"B"}) {
        IQnPSProperty* found = Unwritten<IQnPSProperty>();
        EXPECT_EQ(S_OK, row->get_Property(Bstr(missing).get(), &found));
        EXPECT_EQ(nullptr, found);
    }
    IQnPSProperty* found = nullptr;
    EXPECT_EQ(E_INVALIDARG, row->get_Property(nullptr, &found));
    EXPECT_EQ(E_INVALIDARG, row->get_Property(Bstr(L"A").get(), nullptr));

    // A cell may sit in several rows at once.
    auto other = MakeRow(L"R2");
    EXPECT_EQ(S_OK, other->AddItem(second.get()));
    ASSERT_EQ(S_OK, other->get_Property(Bstr(L"A").get(), &found));
    EXPECT_TRUE(SameObject(found, second.get()));
    found->Release();
}

TEST_F(Row, RowIdRefusesNullAndStopsAtAnEmbeddedNull) {
    auto row = Create<IQnPSRow>(qnpsObjType_Row);
    BSTR id = Unwritten<OLECHAR>();
    EXPECT_EQ(S_OK, row->get_RowID(&id));
    EXPECT_EQ(nullptr, id);
    EXPECT_EQ(E_INVALIDARG, row->get_RowID(nullptr));

    EXPECT_EQ(S_OK, row->put_RowID(Bstr(L"R1").get()));
    EXPECT_EQ(E_INVALIDARG, row->put_RowID(nullptr));
    UniqueBstr text;
    EXPECT_EQ(S_OK, row->get_RowID(text.put()));
    EXPECT_EQ(L"R1", Text(text.get()));

    UniqueBstr embedded(::SysAllocStringLen(L"R2\0x", 4));
    EXPECT_EQ(S_OK, row->put_RowID(embedded.get()));
    EXPECT_EQ(S_OK, row->get_RowID(text.put()));
    EXPECT_EQ(L"R2", Text(text.get()));
}

}  // namespace
