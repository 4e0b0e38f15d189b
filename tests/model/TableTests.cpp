#include <utility>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class Table : public ComTest {
protected:
    long TabOrder(IQnPSTable* table, const wchar_t* layout) {
        long order = 99;
        EXPECT_EQ(S_OK, table->get_TabOrderByLayoutName(Bstr(layout).get(), &order));
        return order;
    }
};

TEST_F(Table, CollectionsKeepOnlyObjectsOfTheirType) {
    auto table = Create<IQnPSTable>(qnpsObjType_Table);
    IQnPSRowCollection* noRows = Unwritten<IQnPSRowCollection>();
    EXPECT_EQ(S_OK, table->get_Rows(&noRows));
    EXPECT_EQ(nullptr, noRows);
    EXPECT_EQ(E_INVALIDARG, table->get_Rows(nullptr));

    auto definitions = Create<IQnPSColumnDefCollection>(qnpsObjType_ColumnDefCollection);
    auto rows = Create<IQnPSRowCollection>(qnpsObjType_RowCollection);
    EXPECT_EQ(S_OK, table->put_ColumnDefs(definitions.get()));
    EXPECT_EQ(S_OK, table->put_Rows(rows.get()));
    EXPECT_EQ(2u, RefCount(definitions.get()));
    EXPECT_EQ(2u, RefCount(rows.get()));
    EXPECT_TRUE(SameObject(Rows(table.get()).get(), rows.get()));

    // Null is refused and changes nothing.
    EXPECT_EQ(E_INVALIDARG, table->put_ColumnDefs(nullptr));
    EXPECT_EQ(E_INVALIDARG, table->put_Rows(nullptr));
    EXPECT_TRUE(SameObject(Definitions(table.get()).get(), definitions.get()));
    EXPECT_TRUE(SameObject(Rows(table.get()).get(), rows.get()));

    // An object of another type is accepted but leaves the table without that collection.
    EXPECT_EQ(S_OK, table->put_Rows(reinterpret_cast<IQnPSRowCollection*>(definitions.get())));
    EXPECT_EQ(S_OK, table->put_ColumnDefs(reinterpret_cast<IQnPSColumnDefCollection*>(rows.get())));
    EXPECT_EQ(1u, RefCount(definitions.get()));
    EXPECT_EQ(1u, RefCount(rows.get()));
    noRows = Unwritten<IQnPSRowCollection>();
    EXPECT_EQ(S_OK, table->get_Rows(&noRows));
    EXPECT_EQ(nullptr, noRows);
    IQnPSColumnDefCollection* noDefinitions = Unwritten<IQnPSColumnDefCollection>();
    EXPECT_EQ(S_OK, table->GetColumnDefs(qnpsDefinitions_All, &noDefinitions));
    EXPECT_EQ(nullptr, noDefinitions);

    // Replacing a collection releases the old one; other holders keep it.
    auto table2 = MakeTable();
    auto oldRows = Rows(table2.get());
    EXPECT_EQ(S_OK, table2->put_Rows(rows.get()));
    EXPECT_EQ(1u, RefCount(oldRows.get()));
    EXPECT_EQ(2u, RefCount(rows.get()));
    table2.reset();
    EXPECT_EQ(1u, RefCount(rows.get()));
}

TEST_F(Table, ApplicationMayBeCleared) {
    auto table = Create<IQnPSTable>(qnpsObjType_Table);
    BSTR name = Unwritten<OLECHAR>();
    EXPECT_EQ(S_OK, table->get_Application(&name));
    EXPECT_EQ(nullptr, name);
    EXPECT_EQ(E_INVALIDARG, table->get_Application(nullptr));

    EXPECT_EQ(S_OK, table->put_Application(Bstr(L"AutoCAD").get()));
    UniqueBstr text;
    EXPECT_EQ(S_OK, table->get_Application(text.put()));
    EXPECT_EQ(L"AutoCAD", Text(text.get()));

    UniqueBstr embedded(::SysAllocStringLen(L"Word\0x", 6));
    EXPECT_EQ(S_OK, table->put_Application(embedded.get()));
    EXPECT_EQ(S_OK, table->get_Application(text.put()));
    EXPECT_EQ(L"Word", Text(text.get()));

    EXPECT_EQ(S_OK, table->put_Application(nullptr));
    name = Unwritten<OLECHAR>();
    EXPECT_EQ(S_OK, table->get_Application(&name));
    EXPECT_EQ(nullptr, name);
}

TEST_F(Table, PropertyAddressesACellByRowAndColumn) {
    auto table = MakeTable();
    auto part = MakeColumn(L"PartNo");
    AddRow(table.get(), L"R1", {{part.get(), &VariantOf(L"first").get()}});
    AddRow(table.get(), L"r1", {{part.get(), &VariantOf(L"second").get()}});
    AddRow(table.get(), L"R2", {});

    ComPtr<IQnPSProperty> cell;
    ASSERT_EQ(S_OK, table->get_Property(Bstr(L"r1").get(), Bstr(L"PARTNO").get(), cell.put()));
    ASSERT_TRUE(cell);
    UniqueVariant value;
    EXPECT_EQ(S_OK, cell->get_Value(value.put()));
    EXPECT_EQ(L"first", Text(value.get().bstrVal));
    EXPECT_EQ(2u, RefCount(cell.get()));  // the row's and ours

    for (auto [id, column] : {std::pair{L"R2", L"PartNo"}, std::pair{L"R3", L"PartNo"},
                              std::pair{L"", L"PartNo"}, std::pair{L"R1", L"Part"}}) {
        IQnPSProperty* none = Unwritten<IQnPSProperty>();
        EXPECT_EQ(S_OK, table->get_Property(Bstr(id).get(), Bstr(column).get(), &none));
        EXPECT_EQ(nullptr, none);
    }
    IQnPSProperty* out = Unwritten<IQnPSProperty>();
    EXPECT_EQ(E_INVALIDARG, table->get_Property(nullptr, Bstr(L"PartNo").get(), &out));
    EXPECT_EQ(E_INVALIDARG, table->get_Property(Bstr(L"R1").get(), nullptr, &out));
    EXPECT_EQ(E_INVALIDARG, table->get_Property(Bstr(L"R1").get(), Bstr(L"PartNo").get(), nullptr));

    auto bare = Create<IQnPSTable>(qnpsObjType_Table);
    out = Unwritten<IQnPSProperty>();
    EXPECT_EQ(S_OK, bare->get_Property(Bstr(L"R1").get(), Bstr(L"PartNo").get(), &out));
    EXPECT_EQ(nullptr, out);
}

TEST_F(Table, LayoutsNamesListsTheDistinctLayoutsWithCase) {
    // Without rows nothing is done, not even initialising the caller's variant.
    auto bare = Create<IQnPSTable>(qnpsObjType_Table);
    UniqueVariant untouched = VariantOf(42L);
    EXPECT_EQ(S_FALSE, bare->get_LayoutsNames(&untouched.get()));
    EXPECT_EQ(VT_I4, untouched.type());
    EXPECT_EQ(42, untouched.get().lVal);

    auto table = MakeTable();
    UniqueVariant names = VariantOf(42L);
    EXPECT_EQ(S_OK, table->get_LayoutsNames(&names.get()));
    EXPECT_EQ(VT_EMPTY, names.type());
    EXPECT_EQ(E_INVALIDARG, table->get_LayoutsNames(nullptr));

    auto layout = MakeColumn(L"LAYOUT");
    auto other = MakeColumn(L"Sheet");
    AddRow(table.get(), L"R1", {{layout.get(), &VariantOf(L"Sheet1").get()}});
    AddRow(table.get(), L"R2", {{other.get(), &VariantOf(L"Other").get()}});
    AddRow(table.get(), L"R3", {{layout.get(), &VariantOf(L"SHEET1").get()}});
    AddRow(table.get(), L"R4", {{layout.get(), &VariantOf(L"Sheet1").get()}});
    AddRow(table.get(), L"R5", {{layout.get(), &VariantOf(3L).get()}});
    EXPECT_EQ(S_OK, table->get_LayoutsNames(names.put()));
    EXPECT_EQ(L"Sheet1,SHEET1,3", ArrayText(names.get()));
}

TEST_F(Table, TabOrderComesFromTheFirstRowOfTheLayout) {
    auto table = MakeTable();
    auto layout = MakeColumn(L"Layout");
    auto tabOrder = MakeColumn(L"TabOrder", qnpsPropType_Int);
    AddRow(table.get(), L"R1", {{layout.get(), &VariantOf(L"").get()}, {tabOrder.get(), &VariantOf(8L).get()}});
    AddRow(table.get(), L"R2", {{layout.get(), &VariantOf(L"Sheet1").get()}, {tabOrder.get(), &VariantOf(2L).get()}});
    AddRow(table.get(), L"R3", {{layout.get(), &VariantOf(L"SHEET1").get()}, {tabOrder.get(), &VariantOf(5L).get()}});
    AddRow(table.get(), L"R4", {{layout.get(), &VariantOf(3L).get()}, {tabOrder.get(), &VariantOf(4L).get()}});
    // The layout's first row has no tab order: later rows of the layout are not asked.
    AddRow(table.get(), L"R5", {{layout.get(), &VariantOf(L"Sheet2").get()}});
    AddRow(table.get(), L"R6", {{layout.get(), &VariantOf(L"Sheet2").get()}, {tabOrder.get(), &VariantOf(6L).get()}});

    EXPECT_EQ(2, TabOrder(table.get(), L"sheet1"));
    EXPECT_EQ(4, TabOrder(table.get(), L"3"));
    EXPECT_EQ(-1, TabOrder(table.get(), L"Sheet2"));
    EXPECT_EQ(-1, TabOrder(table.get(), L"Sheet9"));

    long order = 77;
    EXPECT_EQ(E_INVALIDARG, table->get_TabOrderByLayoutName(Bstr(L"").get(), &order));
    EXPECT_EQ(E_INVALIDARG, table->get_TabOrderByLayoutName(nullptr, &order));
    EXPECT_EQ(77, order);
    EXPECT_EQ(E_INVALIDARG, table->get_TabOrderByLayoutName(Bstr(L"Sheet1").get(), nullptr));

    auto bare = Create<IQnPSTable>(qnpsObjType_Table);
    EXPECT_EQ(-1, TabOrder(bare.get(), L"Sheet1"));
}

TEST_F(Table, TabOrderIsOnlyAnIntegerInAnIntColumn) {
    auto table = MakeTable();
    auto layout = MakeColumn(L"Layout");
    auto asInt = MakeColumn(L"TabOrder", qnpsPropType_Int);
    auto asDouble = MakeColumn(L"TABORDER", qnpsPropType_Double);
    AddRow(table.get(), L"R1", {{layout.get(), &VariantOf(L"Text").get()}, {asInt.get(), &VariantOf(L"2").get()}});
    AddRow(table.get(), L"R2", {{layout.get(), &VariantOf(L"Double").get()}, {asDouble.get(), &VariantOf(2L).get()}});
    AddRow(table.get(), L"R3", {{layout.get(), &VariantOf(L"Real").get()}, {asInt.get(), &VariantOfDouble(2.0).get()}});
    AddRow(table.get(), L"R4", {{layout.get(), &VariantOf(L"Unlinked").get()}, {nullptr, &VariantOf(2L).get()}});
    AddRow(table.get(), L"R5", {{layout.get(), &VariantOf(L"Valid").get()}, {asInt.get(), &VariantOf(2L).get()}});
    for (const wchar_t* name : {L"Text", L"Double", L"Real", L"Unlinked"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(-1, TabOrder(table.get(), name));
    }
    EXPECT_EQ(2, TabOrder(table.get(), L"valid"));

    // A layout that cannot be read as text fails the question with the conversion's error.
    UniqueVariant error;
    error.get().vt = VT_ERROR;
    error.get().scode = E_FAIL;
    auto broken = MakeTable();
    AddRow(broken.get(), L"R1", {{layout.get(), &error.get()}});
    long order = 77;
    EXPECT_EQ(DISP_E_TYPEMISMATCH, broken->get_TabOrderByLayoutName(Bstr(L"x").get(), &order));
}

}  // namespace
