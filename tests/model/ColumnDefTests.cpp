#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class ColumnDef : public ComTest {
protected:
    std::wstring NameOf(IQnPSColumnDef* column) {
        UniqueBstr name;
        EXPECT_EQ(S_OK, column->get_Name(name.put()));
        return Text(name.get());
    }
};

TEST_F(ColumnDef, NewDefinitionHasItsDefaults) {
    auto column = Create<IQnPSColumnDef>(qnpsObjType_ColumnDef);
    BSTR text = Unwritten<OLECHAR>();
    EXPECT_EQ(S_OK, column->get_Name(&text));
    EXPECT_EQ(nullptr, text);
    text = Unwritten<OLECHAR>();
    EXPECT_EQ(S_OK, column->get_DispName(&text));
    EXPECT_EQ(nullptr, text);
    qnpsPropertyType type = qnpsPropType_Unknown;
    EXPECT_EQ(S_OK, column->get_PropType(&type));
    EXPECT_EQ(qnpsPropType_String, type);
    qnpsPropertyDirection direction = qnpsPropDirection_FromDocument;
    EXPECT_EQ(S_OK, column->get_Direction(&direction));
    EXPECT_EQ(qnpsPropDirection_Any, direction);
    VARIANT_BOOL hidden = VARIANT_TRUE;
    EXPECT_EQ(S_OK, column->get_Hidden(&hidden));
    EXPECT_EQ(VARIANT_FALSE, hidden);
    long order = 0;
    EXPECT_EQ(S_OK, column->get_Order(&order));
    EXPECT_EQ(-1, order);

    EXPECT_EQ(E_INVALIDARG, column->get_Name(nullptr));
    EXPECT_EQ(E_INVALIDARG, column->get_DispName(nullptr));
    EXPECT_EQ(E_INVALIDARG, column->get_PropType(nullptr));
    EXPECT_EQ(E_INVALIDARG, column->get_Direction(nullptr));
    EXPECT_EQ(E_INVALIDARG, column->get_Hidden(nullptr));
    EXPECT_EQ(E_INVALIDARG, column->get_Order(nullptr));
}

TEST_F(ColumnDef, ScalarFieldsTakeAnyValue) {
    auto column = Create<IQnPSColumnDef>(qnpsObjType_ColumnDef);
    EXPECT_EQ(S_OK, column->put_PropType(static_cast<qnpsPropertyType>(99)));
    EXPECT_EQ(S_OK, column->put_Direction(static_cast<qnpsPropertyDirection>(-5)));
    EXPECT_EQ(S_OK, column->put_Hidden(static_cast<VARIANT_BOOL>(5)));
    EXPECT_EQ(S_OK, column->put_Order(-100));
    qnpsPropertyType type{};
    qnpsPropertyDirection direction{};
    VARIANT_BOOL hidden = 0;
    long order = 0;
    EXPECT_EQ(S_OK, column->get_PropType(&type));
    EXPECT_EQ(S_OK, column->get_Direction(&direction));
    EXPECT_EQ(S_OK, column->get_Hidden(&hidden));
    EXPECT_EQ(S_OK, column->get_Order(&order));
    EXPECT_EQ(99, type);
    EXPECT_EQ(-5, direction);
    EXPECT_EQ(5, hidden);
    EXPECT_EQ(-100, order);
}

TEST_F(ColumnDef, TextFieldsRefuseNullAndStopAtAnEmbeddedNull) {
    auto column = Create<IQnPSColumnDef>(qnpsObjType_ColumnDef);
    EXPECT_EQ(S_OK, column->put_Name(Bstr(L"PART_NO").get()));
    EXPECT_EQ(S_OK, column->put_DispName(Bstr(L"Part number").get()));
    EXPECT_EQ(E_INVALIDARG, column->put_Name(nullptr));
    EXPECT_EQ(E_INVALIDARG, column->put_DispName(nullptr));
    EXPECT_EQ(L"PART_NO", NameOf(column.get()));
    UniqueBstr caption;
    EXPECT_EQ(S_OK, column->get_DispName(caption.put()));
    EXPECT_EQ(L"Part number", Text(caption.get()));

    UniqueBstr embedded(::SysAllocStringLen(L"ab\0cd", 5));
    EXPECT_EQ(S_OK, column->put_Name(embedded.get()));
    EXPECT_EQ(S_OK, column->put_DispName(embedded.get()));
    UniqueBstr name;
    EXPECT_EQ(S_OK, column->get_Name(name.put()));
    EXPECT_EQ(2u, ::SysStringLen(name.get()));
    EXPECT_EQ(L"ab", Text(name.get()));
    EXPECT_EQ(S_OK, column->get_DispName(caption.put()));
    EXPECT_EQ(L"ab", Text(caption.get()));

    // Each get hands out a string of the caller's own.
    UniqueBstr again;
    EXPECT_EQ(S_OK, column->get_Name(again.put()));
    EXPECT_NE(name.get(), again.get());
    name.reset();
    EXPECT_EQ(L"ab", NameOf(column.get()));
}

class ColumnDefCollection : public ComTest {};

TEST_F(ColumnDefCollection, ColumnDefFindsTheFirstDefinitionOfANameWithoutRegardToCase) {
    auto definitions = Create<IQnPSColumnDefCollection1>(qnpsObjType_ColumnDefCollection);
    auto first = MakeColumn(L"PART_NO");
    auto second = MakeColumn(L"part_no");
    auto unnamed = Create<IQnPSColumnDef>(qnpsObjType_ColumnDef);
    auto empty = MakeColumn(L"");
    // Other objects may be added; lookups pass over them.
    EXPECT_EQ(S_OK, definitions->AddItem(Create<IQnPSObject>(qnpsObjType_Row).get()));
    for (IQnPSColumnDef* column : {unnamed.get(), empty.get(), first.get(), second.get()}) {
        EXPECT_EQ(S_OK, definitions->AddItem(column));
    }
    EXPECT_EQ(5, CountOf(definitions.get()));

    IQnPSColumnDef* found = nullptr;
    ASSERT_EQ(S_OK, definitions->get_ColumnDef(Bstr(L"part_No").get(), &found));
    EXPECT_TRUE(SameObject(found, first.get()));
    EXPECT_EQ(3u, RefCount(first.get()));  // ours, the collection's and `found`
    found->Release();

    for (const wchar_t* missing : {L"", L"PART", L"PART_NO "}) {
        found = Unwritten<IQnPSColumnDef>();
        EXPECT_EQ(S_OK, definitions->get_ColumnDef(Bstr(missing).get(), &found));
        EXPECT_EQ(nullptr, found);
    }
    found = Unwritten<IQnPSColumnDef>();
    EXPECT_EQ(E_INVALIDARG, definitions->get_ColumnDef(nullptr, &found));
    EXPECT_EQ(E_INVALIDARG, definitions->get_ColumnDef(Bstr(L"PART_NO").get(), nullptr));

    // A renamed definition is found under its new name at once.
    EXPECT_EQ(S_OK, second->put_Name(Bstr(L"Revision").get()));
    ASSERT_EQ(S_OK, definitions->get_ColumnDef(Bstr(L"REVISION").get(), &found));
    EXPECT_TRUE(SameObject(found, second.get()));
    found->Release();
}

TEST_F(ColumnDefCollection, HasDefinitionComparesNames) {
    auto definitions = Create<IQnPSColumnDefCollection1>(qnpsObjType_ColumnDefCollection);
    EXPECT_EQ(S_OK, definitions->AddItem(MakeColumn(L"Layout").get()));

    VARIANT_BOOL has = VARIANT_FALSE;
    EXPECT_EQ(S_OK, definitions->HasDefinition(MakeColumn(L"LAYOUT").get(), &has));
    EXPECT_EQ(VARIANT_TRUE, has);
    has = VARIANT_TRUE;
    EXPECT_EQ(S_OK, definitions->HasDefinition(MakeColumn(L"TabOrder").get(), &has));
    EXPECT_EQ(VARIANT_FALSE, has);
    has = VARIANT_TRUE;
    EXPECT_EQ(S_OK, definitions->HasDefinition(nullptr, &has));
    EXPECT_EQ(VARIANT_FALSE, has);
    has = VARIANT_TRUE;
    EXPECT_EQ(S_OK, definitions->HasDefinition(Create<IQnPSColumnDef>(qnpsObjType_ColumnDef).get(), &has));
    EXPECT_EQ(VARIANT_FALSE, has);
    EXPECT_EQ(S_OK, definitions->HasDefinition(MakeColumn(L"Layout").get(), nullptr));
}

TEST_F(ColumnDefCollection, AddDefinitionAddsOnlyNewNames) {
    auto definitions = Create<IQnPSColumnDefCollection1>(qnpsObjType_ColumnDefCollection);
    auto layout = MakeColumn(L"Layout");
    EXPECT_EQ(S_OK, definitions->AddDefinition(layout.get()));
    EXPECT_EQ(2u, RefCount(layout.get()));

    // A duplicate is a success that does nothing, whatever the case of its name.
    auto upper = MakeColumn(L"LAYOUT");
    EXPECT_EQ(S_FALSE, definitions->AddDefinition(upper.get()));
    EXPECT_EQ(S_FALSE, definitions->AddDefinition(layout.get()));
    EXPECT_EQ(S_FALSE, definitions->AddDefinition(nullptr));
    EXPECT_EQ(1, CountOf(definitions.get()));
    EXPECT_EQ(1u, RefCount(upper.get()));
    EXPECT_EQ(2u, RefCount(layout.get()));

    // Definitions without a name never match, so each of them is added.
    EXPECT_EQ(S_OK, definitions->AddDefinition(Create<IQnPSColumnDef>(qnpsObjType_ColumnDef).get()));
    EXPECT_EQ(S_OK, definitions->AddDefinition(Create<IQnPSColumnDef>(qnpsObjType_ColumnDef).get()));
    EXPECT_EQ(S_OK, definitions->AddDefinition(MakeColumn(L"").get()));
    EXPECT_EQ(S_OK, definitions->AddDefinition(MakeColumn(L"TabOrder").get()));
    EXPECT_EQ(5, CountOf(definitions.get()));

    // AddItem checks nothing.
    EXPECT_EQ(S_OK, definitions->AddItem(upper.get()));
    EXPECT_EQ(S_OK, definitions->AddItem(layout.get()));
    EXPECT_EQ(7, CountOf(definitions.get()));
    EXPECT_EQ(3u, RefCount(layout.get()));
    EXPECT_EQ(L"Layout,,,,TabOrder,LAYOUT,Layout", ColumnNames(definitions.get()));
    EXPECT_EQ(E_INVALIDARG, definitions->AddItem(nullptr));
}

}  // namespace
