#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class ColumnDef : public ComTest {};

// Definitions are found by name without regard to case; the first match wins, and items that are
// not named definitions are passed over. AddDefinition adds only a name not yet found, answering a
// duplicate with a success that does nothing; unnamed definitions never match, so each is added.
TEST_F(ColumnDef, DefinitionsAreFoundAndAddedByNameWithoutCase) {
    auto definitions = Create<IQnPSColumnDefCollection1>(qnpsObjType_ColumnDefCollection);
    auto first = MakeColumn(L"PART_NO");
    auto second = MakeColumn(L"part_no");
    EXPECT_EQ(S_OK, definitions->AddItem(Create<IQnPSObject>(qnpsObjType_Row).get()));
    for (const auto& column : {Create<IQnPSColumnDef>(qnpsObjType_ColumnDef), MakeColumn(L""), first, second}) {
        EXPECT_EQ(S_OK, definitions->AddItem(column.get()));
    }
    const auto found = [&](const wchar_t* name) -> std::wstring {
        ComPtr<IQnPSColumnDef> column;
        EXPECT_EQ(S_OK, definitions->get_ColumnDef(Bstr(name).get(), column.put()));
        UniqueBstr text;
        if (column) EXPECT_EQ(S_OK, column->get_Name(text.put()));
        return column ? Text(text.get()) : L"<none>";
    };
    EXPECT_EQ(L"PART_NO", found(L"part_No"));
    for (const wchar_t* missing : {L"", L"PART", L"PART_NO "}) EXPECT_EQ(L"<none>", found(missing));
    // A renamed definition is found under its new name at once.
    EXPECT_EQ(S_OK, second->put_Name(Bstr(L"Revision").get()));
    EXPECT_EQ(L"Revision", found(L"REVISION"));
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

// Ordered is a stable sort of the definitions with a non-negative order; the enumeration has no 0,
// and it and any other value select the unordered ones. All is the table's own collection.
TEST_F(ColumnDef, SelectionsSortShareOrHandOutTheTablesDefinitions) {
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
    const auto select = [&](long selection) {
        ComPtr<IQnPSColumnDefCollection> selected;
        EXPECT_EQ(S_OK, table->GetColumnDefs(static_cast<qnpsColumnDefCollectionType>(selection), selected.put()));
        return selected;
    };
    const auto selected = [&](long selection) { return ColumnNames(select(selection).get()); };
    EXPECT_EQ(L"zero,two,five_a,five_b", selected(qnpsDefinitions_Ordered));
    for (long unordered : {long{qnpsDefinitions_UnOrdered}, 0L, 7L, -1L}) {
        EXPECT_EQ(L"none,new", selected(unordered)) << unordered;
    }
    // Selections are new collections of the same definitions; what is added to one stays there.
    auto ordered = select(qnpsDefinitions_Ordered);
    EXPECT_TRUE(Answers(ordered.get(), IID_IQnPSColumnDefCollection1));
    EXPECT_TRUE(SameObject(select(qnpsDefinitions_All).get(), definitions.get()));
    auto zero = ItemOf(definitions.get(), 4);
    EXPECT_TRUE(SameObject(ItemOf(ordered.get(), 0).get(), zero.get()));
    EXPECT_EQ(S_OK, ordered->AddItem(MakeColumn(L"extra", qnpsPropType_String, 1).get()));
    EXPECT_EQ(S_OK, definitions->AddItem(MakeColumn(L"one", qnpsPropType_String, 1).get()));
    // A negative order of any size makes a definition unordered; hidden ones are selected too,
    // items that are not definitions are not.
    auto two = ItemOf(definitions.get(), 1).query<IQnPSColumnDef>();
    EXPECT_EQ(S_OK, two->put_Order(-7));
    EXPECT_EQ(S_OK, two->put_Hidden(VARIANT_TRUE));
    EXPECT_EQ(S_OK, zero.query<IQnPSColumnDef>()->put_Hidden(VARIANT_TRUE));
    EXPECT_EQ(S_OK, definitions->AddItem(Create<IQnPSObject>(qnpsObjType_Row).get()));
    EXPECT_EQ(L"zero,one,five_a,five_b", selected(qnpsDefinitions_Ordered));
    EXPECT_EQ(L"two,none,new", selected(qnpsDefinitions_UnOrdered));
    // Empty selections are still collections; a table without definitions gives none at all.
    EXPECT_EQ(S_OK, definitions->RemoveAll());
    EXPECT_TRUE(select(qnpsDefinitions_Ordered) && select(qnpsDefinitions_UnOrdered));
    auto bare = Create<IQnPSTable>(qnpsObjType_Table);
    for (auto selection : {qnpsDefinitions_Ordered, qnpsDefinitions_UnOrdered, qnpsDefinitions_All}) {
        IQnPSColumnDefCollection* none = Unwritten<IQnPSColumnDefCollection>();
        EXPECT_EQ(S_OK, bare->GetColumnDefs(selection, &none));
        EXPECT_EQ(nullptr, none);
    }
}

}  // namespace
