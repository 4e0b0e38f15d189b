#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class ColumnSelection : public ComTest {
protected:
    void SetUp() override {
        ComTest::SetUp();
        table_ = MakeTable();
        definitions_ = Definitions(table_.get());
        // Named after their order and place, in this collection order.
        const struct { const wchar_t* name; long order; } columns[] = {
            {L"five_a", 5}, {L"two", 2}, {L"five_b", 5}, {L"none", -1}, {L"zero", 0}};
        for (const auto& column : columns) {
            EXPECT_EQ(S_OK, definitions_->AddItem(MakeColumn(column.name, qnpsPropType_String,
                                                             column.order).get()));
        }
    }
    void TearDown() override {
        definitions_.reset();
        table_.reset();
        ComTest::TearDown();
    }

    ComPtr<IQnPSColumnDefCollection> Select(long selection) {
        ComPtr<IQnPSColumnDefCollection> selected;
        EXPECT_EQ(S_OK, table_->GetColumnDefs(static_cast<qnpsColumnDefCollectionType>(selection),
                                              selected.put()));
        return selected;
    }
    std::wstring Selected(long selection) {
        auto selected = Select(selection);
        return selected ? ColumnNames(selected.get()) : L"<null>";
    }

    ComPtr<IQnPSTable> table_;
    ComPtr<IQnPSColumnDefCollection1> definitions_;
};

TEST_F(ColumnSelection, OrderedIsAStableSortOfTheNonNegativeOrders) {
    EXPECT_EQ(L"zero,two,five_a,five_b", Selected(qnpsDefinitions_Ordered));
    EXPECT_EQ(L"none", Selected(qnpsDefinitions_UnOrdered));
    EXPECT_EQ(L"five_a,two,five_b,none,zero", Selected(qnpsDefinitions_All));

    // A negative order of any size moves a definition to the unordered selection, and hidden
    // columns are selected like any other.
    auto two = ItemOf(definitions_.get(), 1).query<IQnPSColumnDef>();
    EXPECT_EQ(S_OK, two->put_Order(-7));
    EXPECT_EQ(S_OK, two->put_Hidden(VARIANT_TRUE));
    auto zero = ItemOf(definitions_.get(), 4).query<IQnPSColumnDef>();
    EXPECT_EQ(S_OK, zero->put_Hidden(VARIANT_TRUE));
    EXPECT_EQ(L"zero,five_a,five_b", Selected(qnpsDefinitions_Ordered));
    EXPECT_EQ(L"two,none", Selected(qnpsDefinitions_UnOrdered));
}

TEST_F(ColumnSelection, SelectionsShareTheDefinitionsInANewCollection) {
    auto ordered = Select(qnpsDefinitions_Ordered);
    ASSERT_TRUE(ordered);
    EXPECT_FALSE(SameObject(ordered.get(), definitions_.get()));
    qnpsObjectType type = qnpsObjType_Unknown;
    EXPECT_EQ(S_OK, ordered->get_Type(&type));
    EXPECT_EQ(qnpsObjType_ColumnDefCollection, type);
    EXPECT_TRUE(Answers(ordered.get(), IID_IQnPSColumnDefCollection1));

    auto zero = ItemOf(definitions_.get(), 4);
    EXPECT_TRUE(SameObject(ItemOf(ordered.get(), 0).get(), zero.get()));
    EXPECT_EQ(3u, RefCount(zero.get()));  // ours, the table's and the selection's
    ordered.reset();
    EXPECT_EQ(2u, RefCount(zero.get()));

    // Each request makes a new selection; what is added to it does not reach the table.
    auto first = Select(qnpsDefinitions_UnOrdered);
    auto second = Select(qnpsDefinitions_UnOrdered);
    EXPECT_FALSE(SameObject(first.get(), second.get()));
    EXPECT_EQ(S_OK, first->AddItem(MakeColumn(L"extra").get()));
    EXPECT_EQ(5, CountOf(definitions_.get()));
}

TEST_F(ColumnSelection, AllIsTheTablesOwnCollection) {
    auto all = Select(qnpsDefinitions_All);
    ASSERT_TRUE(all);
    EXPECT_TRUE(SameObject(all.get(), definitions_.get()));
    EXPECT_EQ(S_OK, all->AddItem(MakeColumn(L"one", qnpsPropType_String, 1).get()));
    EXPECT_EQ(L"zero,one,two,five_a,five_b", Selected(qnpsDefinitions_Ordered));
}

TEST_F(ColumnSelection, AnyOtherValueSelectsTheUnordered) {
    for (long selection : {0L, 7L, -1L}) {
        SCOPED_TRACE(selection);
        EXPECT_EQ(L"none", Selected(selection));
    }
}

TEST_F(ColumnSelection, ItemsThatAreNotDefinitionsAreLeftOut) {
    EXPECT_EQ(S_OK, definitions_->AddItem(Create<IQnPSObject>(qnpsObjType_Row).get()));
    EXPECT_EQ(S_OK, definitions_->AddItem(Create<IQnPSObject>(qnpsObjType_QnPSProperty).get()));
    EXPECT_EQ(L"none", Selected(qnpsDefinitions_UnOrdered));
    EXPECT_EQ(L"zero,two,five_a,five_b", Selected(qnpsDefinitions_Ordered));
}

TEST_F(ColumnSelection, EmptySelectionsAreCollectionsButNoDefinitionsIsNull) {
    EXPECT_EQ(S_OK, definitions_->RemoveAll());
    auto ordered = Select(qnpsDefinitions_Ordered);
    ASSERT_TRUE(ordered);
    EXPECT_EQ(0, CountOf(ordered.get()));
    auto unordered = Select(qnpsDefinitions_UnOrdered);
    ASSERT_TRUE(unordered);
    EXPECT_EQ(0, CountOf(unordered.get()));

    EXPECT_EQ(E_INVALIDARG, table_->GetColumnDefs(qnpsDefinitions_All, nullptr));

    auto bare = Create<IQnPSTable>(qnpsObjType_Table);
    for (auto selection : {qnpsDefinitions_Ordered, qnpsDefinitions_UnOrdered, qnpsDefinitions_All}) {
        IQnPSColumnDefCollection* selected = Unwritten<IQnPSColumnDefCollection>();
        EXPECT_EQ(S_OK, bare->GetColumnDefs(selection, &selected));
        EXPECT_EQ(nullptr, selected);
    }
}

}  // namespace
