#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class ColumnDef : public ComTest {
protected:
    // A table whose definitions have, in collection order, the orders 5, 2, 5, -1 and 0, and then
    // one with the order a new definition has.
    ComPtr<IQnPSTable> TableOfOrders() {
        auto table = MakeTable();
        auto definitions = Definitions(table.get());
        const struct { const wchar_t* name; long order; } columns[] = {
            {L"five_a", 5}, {L"two", 2}, {L"five_b", 5}, {L"none", -1}, {L"zero", 0}};
        for (const auto& [name, order] : columns) {
            EXPECT_EQ(S_OK, definitions->AddItem(MakeColumn(name, qnpsPropType_String, order).get()));
        }
        auto fresh = Create<IQnPSColumnDef>(qnpsObjType_ColumnDef);
        EXPECT_EQ(S_OK, fresh->put_Name(Bstr(L"new").get()));
        EXPECT_EQ(S_OK, definitions->AddItem(fresh.get()));
        return table;
    }
    ComPtr<IQnPSColumnDefCollection> Select(IQnPSTable* table, long selection) {
        ComPtr<IQnPSColumnDefCollection> selected;
        EXPECT_EQ(S_OK, table->GetColumnDefs(static_cast<qnpsColumnDefCollectionType>(selection), selected.put()));
        return selected;
    }
    std::wstring Selected(IQnPSTable* table, long selection) {
        auto selected = Select(table, selection);
        return selected ? ColumnNames(selected.get()) : L"<null>";
    }
};

// Definitions are looked up by name without regard to case; the first match wins, and items that
// are not named definitions are passed over.
TEST_F(ColumnDef, CollectionFindsTheFirstDefinitionOfAName) {
    auto definitions = Create<IQnPSColumnDefCollection1>(qnpsObjType_ColumnDefCollection);
    auto first = MakeColumn(L"PART_NO");
    auto second = MakeColumn(L"part_no");
    auto empty = MakeColumn(L"");
    EXPECT_EQ(S_OK, definitions->AddItem(Create<IQnPSObject>(qnpsObjType_Row).get()));
    EXPECT_EQ(S_OK, definitions->AddItem(Create<IQnPSColumnDef>(qnpsObjType_ColumnDef).get()));
    for (IQnPSColumnDef* column : {empty.get(), first.get(), second.get()}) {
        EXPECT_EQ(S_OK, definitions->AddItem(column));
    }
    // The name of the definition found, "<none>" when none is.
    const auto found = [&](const wchar_t* name) -> std::wstring {
        ComPtr<IQnPSColumnDef> column;
        EXPECT_EQ(S_OK, definitions->get_ColumnDef(Bstr(name).get(), column.put()));
        UniqueBstr text;
        if (!column) return L"<none>";
        EXPECT_EQ(S_OK, column->get_Name(text.put()));
        return Text(text.get());
    };
    EXPECT_EQ(L"PART_NO", found(L"part_No"));
    for (const wchar_t* missing : {L"", L"PART", L"PART_NO "}) EXPECT_EQ(L"<none>", found(missing));
    // A renamed definition is found under its new name at once.
    EXPECT_EQ(S_OK, second->put_Name(Bstr(L"Revision").get()));
    EXPECT_EQ(L"Revision", found(L"REVISION"));
    const struct { ComPtr<IQnPSColumnDef> column; VARIANT_BOOL has; } questions[] = {
        {MakeColumn(L"Part_No"), VARIANT_TRUE}, {MakeColumn(L"TabOrder"), VARIANT_FALSE},
        {Create<IQnPSColumnDef>(qnpsObjType_ColumnDef), VARIANT_FALSE}, {ComPtr<IQnPSColumnDef>(), VARIANT_FALSE}};
    for (const auto& question : questions) {
        VARIANT_BOOL has = 7;
        EXPECT_EQ(S_OK, definitions->HasDefinition(question.column.get(), &has));
        EXPECT_EQ(question.has, has);
    }
}

TEST_F(ColumnDef, AddDefinitionAddsOnlyNewNamesAndAnswersSFalseOtherwise) {
    auto definitions = Create<IQnPSColumnDefCollection1>(qnpsObjType_ColumnDefCollection);
    auto layout = MakeColumn(L"Layout");
    auto upper = MakeColumn(L"LAYOUT");
    EXPECT_EQ(S_OK, definitions->AddDefinition(layout.get()));
    // A duplicate is a success that does nothing, whatever the case of its name.
    EXPECT_EQ(S_FALSE, definitions->AddDefinition(upper.get()));
    EXPECT_EQ(S_FALSE, definitions->AddDefinition(layout.get()));
    EXPECT_EQ(1u, RefCount(upper.get()));
    EXPECT_EQ(2u, RefCount(layout.get()));
    // Definitions without a name never match, so each of them is added.
    EXPECT_EQ(S_OK, definitions->AddDefinition(Create<IQnPSColumnDef>(qnpsObjType_ColumnDef).get()));
    EXPECT_EQ(S_OK, definitions->AddDefinition(Create<IQnPSColumnDef>(qnpsObjType_ColumnDef).get()));
    EXPECT_EQ(S_OK, definitions->AddDefinition(MakeColumn(L"").get()));
    EXPECT_EQ(S_OK, definitions->AddDefinition(MakeColumn(L"TabOrder").get()));
    EXPECT_EQ(L"Layout,,,,TabOrder", ColumnNames(definitions.get()));
}

// Ordered is a stable sort of the definitions with a non-negative order; the enumeration has no 0,
// and it and any other value select the unordered ones. All is the table's own collection.
TEST_F(ColumnDef, SelectionsSortShareOrHandOutTheTablesDefinitions) {
    auto table = TableOfOrders();
    auto definitions = Definitions(table.get());
    EXPECT_EQ(L"zero,two,five_a,five_b", Selected(table.get(), qnpsDefinitions_Ordered));
    for (long unordered : {long{qnpsDefinitions_UnOrdered}, 0L, 7L, -1L}) {
        EXPECT_EQ(L"none,new", Selected(table.get(), unordered)) << unordered;
    }
    // Selections are new collections of the same definitions; what is added to one stays there.
    auto ordered = Select(table.get(), qnpsDefinitions_Ordered);
    EXPECT_TRUE(Answers(ordered.get(), IID_IQnPSColumnDefCollection1));
    auto zero = ItemOf(definitions.get(), 4);
    ASSERT_TRUE(zero);
    EXPECT_TRUE(SameObject(ItemOf(ordered.get(), 0).get(), zero.get()));
    EXPECT_EQ(3u, RefCount(zero.get()));  // ours, the table's and the selection's
    EXPECT_FALSE(SameObject(ordered.get(), Select(table.get(), qnpsDefinitions_Ordered).get()));
    EXPECT_EQ(S_OK, ordered->AddItem(MakeColumn(L"extra", qnpsPropType_String, 1).get()));
    EXPECT_EQ(S_OK, definitions->AddItem(MakeColumn(L"one", qnpsPropType_String, 1).get()));

    // A negative order of any size makes a definition unordered; hidden ones are selected too,
    // items that are not definitions are not.
    auto two = ItemOf(definitions.get(), 1).query<IQnPSColumnDef>();
    EXPECT_EQ(S_OK, two->put_Order(-7));
    EXPECT_EQ(S_OK, two->put_Hidden(VARIANT_TRUE));
    EXPECT_EQ(S_OK, zero.query<IQnPSColumnDef>()->put_Hidden(VARIANT_TRUE));
    EXPECT_EQ(S_OK, definitions->AddItem(Create<IQnPSObject>(qnpsObjType_Row).get()));
    EXPECT_EQ(L"zero,one,five_a,five_b", Selected(table.get(), qnpsDefinitions_Ordered));
    EXPECT_EQ(L"two,none,new", Selected(table.get(), qnpsDefinitions_UnOrdered));
    // Empty selections are still collections; a table without definitions gives none at all.
    EXPECT_EQ(S_OK, definitions->RemoveAll());
    EXPECT_EQ(L"", Selected(table.get(), qnpsDefinitions_Ordered));
    EXPECT_EQ(L"", Selected(table.get(), qnpsDefinitions_UnOrdered));
    auto bare = Create<IQnPSTable>(qnpsObjType_Table);
    for (auto selection : {qnpsDefinitions_Ordered, qnpsDefinitions_UnOrdered, qnpsDefinitions_All}) {
        IQnPSColumnDefCollection* selected = Unwritten<IQnPSColumnDefCollection>();
        EXPECT_EQ(S_OK, bare->GetColumnDefs(selection, &selected));
        EXPECT_EQ(nullptr, selected);
    }
}

}  // namespace
