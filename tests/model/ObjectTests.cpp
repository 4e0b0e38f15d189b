#include <climits>
#include <functional>
#include <vector>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class Object : public ComTest {};

TEST_F(Object, EveryCreatableTypeAnswersExactlyItsInterfaceChain) {
    const struct { qnpsObjectType type; IID own; std::vector<IID> inherited; IID refused; } types[] = {
        {qnpsObjType_QnPSCollection, IID_IQnPSCollection, {}, IID_IQnPSRow},
        {qnpsObjType_QnPSProperty, IID_IQnPSProperty, {}, IID_IQnPSColumnDef},
        {qnpsObjType_ColumnDef, IID_IQnPSColumnDef, {}, IID_IQnPSProperty},
        {qnpsObjType_Table, IID_IQnPSTable, {}, IID_IQnPropertyStorage},
        {qnpsObjType_ColumnDefCollection, IID_IQnPSColumnDefCollection1,
         {IID_IQnPSColumnDefCollection, IID_IQnPSCollection}, IID_IQnPSRowCollection},
        {qnpsObjType_Row, IID_IQnPSRow, {IID_IQnPSCollection}, IID_IQnPSRowCollection},
        {qnpsObjType_RowCollection, IID_IQnPSRowCollection, {IID_IQnPSCollection}, IID_IQnPSColumnDefCollection}};
    for (const auto& entry : types) {
        SCOPED_TRACE(entry.type);
        auto object = Create<IQnPSObject>(entry.type);
        ASSERT_TRUE(object);
        EXPECT_EQ(1u, RefCount(object.get()));
        qnpsObjectType reported = qnpsObjType_Unknown;
        EXPECT_EQ(S_OK, object->get_Type(&reported));
        EXPECT_EQ(entry.type, reported);
        for (const IID& iid : {entry.own, IID_IQnPSObject, IID_IDispatch}) EXPECT_TRUE(Answers(object.get(), iid));
        for (const IID& iid : entry.inherited) EXPECT_TRUE(Answers(object.get(), iid));
        void* refused = Unwritten<void>();
        EXPECT_EQ(E_NOINTERFACE, object->QueryInterface(entry.refused, &refused));
        EXPECT_EQ(nullptr, refused);
        // Every face leads back to one identity, and each answer holds a reference.
        auto support = object.query<ISupportErrorInfo>();
        EXPECT_TRUE(SameObject(support.get(), object.get()));
        EXPECT_EQ(2u, RefCount(object.get()));
        object.reset();  // the face now holds the last reference, and its release must end the object
        // Error information belongs to the own interface and the object base, not to inherited ones.
        for (const IID& iid : {entry.own, IID_IQnPSObject}) EXPECT_EQ(S_OK, support->InterfaceSupportsErrorInfo(iid));
        for (const IID& iid : entry.inherited) EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(iid));
        EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IDispatch));
    }
    auto support = storage_.query<ISupportErrorInfo>();
    EXPECT_EQ(S_OK, support->InterfaceSupportsErrorInfo(IID_IQnPropertyStorage));
    EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IQnPSTable));
}

TEST_F(Object, CreateQnPSObjectRefusesTheBaseAndStorageTypesButNoUnknownOne) {
    const HRESULT unknownObjectType = static_cast<HRESULT>(0x80048001);
    const struct { long type; HRESULT result; } cases[] = {
        {qnpsObjType_QnPSObject, unknownObjectType}, {qnpsObjType_QnPropertyStorage, unknownObjectType},
        {9, S_OK}, {-1, S_OK}, {100, S_OK}, {LONG_MAX, S_OK}, {LONG_MIN, S_OK}};
    for (const auto& entry : cases) {
        IQnPSObject* object = Unwritten<IQnPSObject>();
        EXPECT_EQ(entry.result, storage_->CreateQnPSObject(static_cast<qnpsObjectType>(entry.type), &object));
        EXPECT_EQ(nullptr, object) << entry.type;
    }
}

TEST_F(Object, CustomPropertiesAreKeptByExactName) {
    auto row = Create<IQnPSObject>(qnpsObjType_Row);
    auto held = Create<IQnPSObject>(qnpsObjType_ColumnDef);
    auto name = Bstr(L"Colour");
    // A name never put leaves the caller's value exactly as it was.
    auto value = VariantOf(42L);
    EXPECT_EQ(TYPE_E_ELEMENTNOTFOUND, row->get_CustomProperty(name.get(), &value.get()));
    EXPECT_TRUE(value.type() == VT_I4 && value.get().lVal == 42);
    EXPECT_EQ(S_OK, row->put_CustomProperty(name.get(), VariantOf(L"red").get()));
    EXPECT_EQ(S_OK, row->put_CustomProperty(name.get(), VariantOf(L"blue").get()));
    EXPECT_EQ(S_OK, row->get_CustomProperty(name.get(), &value.get()));
    EXPECT_EQ(L"blue", Text(value.get().bstrVal));
    EXPECT_EQ(TYPE_E_ELEMENTNOTFOUND, row->get_CustomProperty(Bstr(L"COLOUR").get(), value.put()));
    // A null name is a key like any other; an object put is held as long as its holder lives.
    value.put()->vt = VT_DISPATCH;
    value.get().pdispVal = held.get();
    held->AddRef();
    EXPECT_EQ(S_OK, row->put_CustomProperty(nullptr, value.get()));
    EXPECT_EQ(S_OK, row->get_CustomProperty(nullptr, value.put()));
    EXPECT_EQ(3u, RefCount(held.get()));  // ours, the holder's and `value`'s
    row.reset();
    EXPECT_EQ(2u, RefCount(held.get()));
}

// The object base answers null pointers with E_POINTER, the members of the model's own interfaces
// with E_INVALIDARG, and the definitions collection with success; clients have long relied on all.
TEST_F(Object, NullArgumentsGiveEachFamilyItsOwnAnswer) {
    auto collection = Create<IQnPSCollection>(qnpsObjType_QnPSCollection);
    auto column = MakeColumn(L"Layout");
    auto definitions = Create<IQnPSColumnDefCollection1>(qnpsObjType_ColumnDefCollection);
    auto cell = Create<IQnPSProperty>(qnpsObjType_QnPSProperty);
    auto row = MakeRow(L"R1");
    auto table = MakeTable();
    auto rows = Rows(table.get());
    auto name = Bstr(L"Layout"), empty = Bstr(L"");
    BSTR n = name.get();
    const auto v = VariantOf(5L);
    ComPtr<IUnknown> enumerator;
    EXPECT_EQ(S_OK, collection->get__NewEnum(enumerator.put()));
    IQnPSColumnDef* columnOut = nullptr;
    IQnPSProperty* cellOut = nullptr;
    IQnPSRow* rowOut = nullptr;
    UniqueVariant variantOut;
    long order = 77;  // stays as it is when the name is refused
#define ANSWER(result, call) {#call, result, [&] { return call; }}
    const struct { const char* call; HRESULT result; std::function<HRESULT()> make; } answers[] = {
        ANSWER(E_POINTER, row->QueryInterface(IID_IQnPSObject, nullptr)), ANSWER(E_POINTER, row->get_Type(nullptr)),
        ANSWER(E_POINTER, row->get_CustomProperty(n, nullptr)), ANSWER(E_POINTER, collection->get__NewEnum(nullptr)),
        ANSWER(E_POINTER, enumerator.query<IEnumVARIANT>()->Clone(nullptr)),
        ANSWER(E_INVALIDARG, storage_->CreateQnPSObject(qnpsObjType_Table, nullptr)),
        ANSWER(E_INVALIDARG, storage_->CreateQnPSObject(qnpsObjType_QnPSObject, nullptr)),
        ANSWER(E_INVALIDARG, collection->get_Item(0, nullptr)), ANSWER(E_INVALIDARG, collection->get_Count(nullptr)),
        ANSWER(E_INVALIDARG, collection->get_LowBound(nullptr)), ANSWER(E_INVALIDARG, collection->AddItem(nullptr)),
        ANSWER(E_INVALIDARG, column->get_Name(nullptr)), ANSWER(E_INVALIDARG, column->get_DispName(nullptr)),
        ANSWER(E_INVALIDARG, column->put_DispName(nullptr)), ANSWER(E_INVALIDARG, table->get_Application(nullptr)),
        ANSWER(E_INVALIDARG, row->get_RowID(nullptr)), ANSWER(E_INVALIDARG, row->put_RowID(nullptr)),
        ANSWER(E_INVALIDARG, column->get_PropType(nullptr)), ANSWER(E_INVALIDARG, column->get_Direction(nullptr)),
        ANSWER(E_INVALIDARG, column->get_Hidden(nullptr)), ANSWER(E_INVALIDARG, column->get_Order(nullptr)),
        ANSWER(E_INVALIDARG, definitions->get_ColumnDef(nullptr, &columnOut)),
        ANSWER(E_INVALIDARG, definitions->get_ColumnDef(n, nullptr)),
        ANSWER(S_OK, definitions->HasDefinition(column.get(), nullptr)),
        ANSWER(S_FALSE, definitions->AddDefinition(nullptr)),
        ANSWER(E_INVALIDARG, cell->get_ColumnDef(nullptr)), ANSWER(E_INVALIDARG, cell->put_ColumnDef(nullptr)),
        ANSWER(E_INVALIDARG, cell->get_Value(nullptr)),
        ANSWER(E_INVALIDARG, row->get_Property(nullptr, &cellOut)), ANSWER(E_INVALIDARG, row->get_Property(n, nullptr)),
        ANSWER(E_INVALIDARG, rows->get_Row(nullptr, v.get(), &rowOut)),
        ANSWER(E_INVALIDARG, rows->get_Row(n, v.get(), nullptr)),
        ANSWER(E_INVALIDARG, rows->get_RowByID(nullptr, &rowOut)), ANSWER(E_INVALIDARG, rows->get_RowByID(n, nullptr)),
        ANSWER(E_INVALIDARG, rows->get_ColumnValues(nullptr, variantOut.put())),
        ANSWER(E_INVALIDARG, rows->get_ColumnValues(n, nullptr)),
        ANSWER(E_INVALIDARG, rows->get_UniqueColumnValues(nullptr, variantOut.put())),
        ANSWER(E_INVALIDARG, rows->get_UniqueColumnValues(n, nullptr)),
        ANSWER(E_INVALIDARG, table->GetColumnDefs(qnpsDefinitions_All, nullptr)),
        ANSWER(E_INVALIDARG, table->put_ColumnDefs(nullptr)), ANSWER(E_INVALIDARG, table->get_Rows(nullptr)),
        ANSWER(E_INVALIDARG, table->put_Rows(nullptr)), ANSWER(E_INVALIDARG, table->get_LayoutsNames(nullptr)),
        ANSWER(E_INVALIDARG, table->get_Property(nullptr, n, &cellOut)),
        ANSWER(E_INVALIDARG, table->get_Property(n, nullptr, &cellOut)),
        ANSWER(E_INVALIDARG, table->get_Property(n, n, nullptr)),
        ANSWER(E_INVALIDARG, table->get_TabOrderByLayoutName(n, nullptr)),
        ANSWER(E_INVALIDARG, table->get_TabOrderByLayoutName(nullptr, &order)),
        ANSWER(E_INVALIDARG, table->get_TabOrderByLayoutName(empty.get(), &order)),
    };
#undef ANSWER
    for (const auto& answer : answers) EXPECT_EQ(answer.result, answer.make()) << answer.call;
    EXPECT_EQ(77, order);
    EXPECT_EQ(0, CountOf(collection.get()));
    EXPECT_EQ(0, CountOf(definitions.get()));
}

// Text fields keep what comes before an embedded null; a column's name may not be null, but the
// table's application may be cleared with it.
TEST_F(Object, TextFieldsStopAtAnEmbeddedNull) {
    auto column = Create<IQnPSColumnDef>(qnpsObjType_ColumnDef);
    auto table = Create<IQnPSTable>(qnpsObjType_Table);
    UniqueBstr embedded(::SysAllocStringLen(L"ab\0cd", 5)), text;
    EXPECT_EQ(S_OK, column->put_Name(embedded.get()));
    EXPECT_EQ(E_INVALIDARG, column->put_Name(nullptr));
    EXPECT_EQ(S_OK, column->get_Name(text.put()));
    EXPECT_EQ(L"ab", Text(text.get()));
    EXPECT_EQ(S_OK, table->put_Application(embedded.get()));
    EXPECT_EQ(S_OK, table->get_Application(text.put()));
    EXPECT_EQ(L"ab", Text(text.get()));
    EXPECT_EQ(S_OK, table->put_Application(nullptr));
    BSTR none = Unwritten<OLECHAR>();
    EXPECT_EQ(S_OK, table->get_Application(&none));
    EXPECT_EQ(nullptr, none);
}

class Collection : public ComTest {};

TEST_F(Collection, ItemsAreKeptInOrderWithOneReferenceEach) {
    auto collection = Create<IQnPSCollection>(qnpsObjType_QnPSCollection);
    long bound = -1;
    EXPECT_EQ(S_OK, collection->get_LowBound(&bound));
    EXPECT_EQ(0, bound);
    // The generic collection takes any object of the library, the same one twice too.
    auto row = Create<IQnPSObject>(qnpsObjType_Row);
    auto table = Create<IQnPSObject>(qnpsObjType_Table);
    auto column = Create<IQnPSObject>(qnpsObjType_ColumnDef);
    for (IQnPSObject* object : {row.get(), table.get(), column.get(), row.get()}) {
        EXPECT_EQ(S_OK, collection->AddItem(object));
    }
    EXPECT_EQ(4, CountOf(collection.get()));
    EXPECT_EQ(3u, RefCount(row.get()));
    EXPECT_EQ(2u, RefCount(table.get()));
    for (long index : {-1L, 4L, 100L}) {
        IQnPSObject* item = Unwritten<IQnPSObject>();
        EXPECT_EQ(E_INVALIDARG, collection->get_Item(index, &item));
        EXPECT_EQ(nullptr, item);
        EXPECT_EQ(E_INVALIDARG, collection->Remove(index));
    }
    // Removing closes the gap and gives back exactly that entry's reference.
    EXPECT_EQ(S_OK, collection->Remove(1));
    EXPECT_EQ(1u, RefCount(table.get()));
    EXPECT_TRUE(SameObject(ItemOf(collection.get(), 1).get(), column.get()));
    EXPECT_EQ(S_OK, collection->RemoveAll());
    EXPECT_EQ(0, CountOf(collection.get()));
    EXPECT_EQ(1u, RefCount(row.get()));
}

TEST_F(Collection, EnumeratorWalksASnapshotAndAnswersShortWithSFalse) {
    auto collection = Create<IQnPSCollection>(qnpsObjType_QnPSCollection);
    std::vector<ComPtr<IQnPSObject>> items;
    for (auto type : {qnpsObjType_Row, qnpsObjType_ColumnDef, qnpsObjType_Table}) {
        items.push_back(Create<IQnPSObject>(type));
        EXPECT_EQ(S_OK, collection->AddItem(items.back().get()));
    }
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(S_OK, collection->get__NewEnum(unknown.put()));
    auto enumerator = unknown.query<IEnumVARIANT>();
    EXPECT_EQ(3u, RefCount(items[0].get()));  // ours, the collection's and the snapshot's
    EXPECT_EQ(S_OK, collection->RemoveAll());
    EXPECT_EQ(S_OK, collection->AddItem(Create<IQnPSObject>(qnpsObjType_Row).get()));
    collection.reset();

    VARIANT batch[4];
    for (VARIANT& value : batch) ::VariantInit(&value);
    ULONG fetched = 0;
    EXPECT_EQ(S_FALSE, enumerator->Next(4, batch, &fetched));
    EXPECT_EQ(3u, fetched);
    for (size_t i = 0; i < items.size(); ++i) {
        EXPECT_TRUE(batch[i].vt == VT_DISPATCH && SameObject(batch[i].pdispVal, items[i].get())) << i;
    }
    EXPECT_EQ(VT_EMPTY, batch[3].vt);
    for (VARIANT& value : batch) ::VariantClear(&value);
    UniqueVariant value;
    // A clone goes on from where it was made, on its own; a single item needs no count.
    EXPECT_EQ(S_OK, enumerator->Reset());
    EXPECT_EQ(S_OK, enumerator->Skip(2));
    ComPtr<IEnumVARIANT> clone;
    ASSERT_EQ(S_OK, enumerator->Clone(clone.put()));
    EXPECT_EQ(S_FALSE, enumerator->Skip(2));
    EXPECT_EQ(S_OK, clone->Next(1, value.put(), nullptr));
    EXPECT_TRUE(SameObject(value.get().pdispVal, items[2].get()));
}

// Over no items, so that only the enumerator itself can hold the module.
TEST_F(Collection, EnumeratorsAndClonesEachKeepTheModuleLoaded) {
    ComPtr<IUnknown> enumerator;
    ASSERT_EQ(S_OK, Create<IQnPSCollection>(qnpsObjType_QnPSCollection)->get__NewEnum(enumerator.put()));
    ComPtr<IEnumVARIANT> clone;
    ASSERT_EQ(S_OK, enumerator.query<IEnumVARIANT>()->Clone(clone.put()));
    storage_.reset();
    enumerator.reset();
    EXPECT_EQ(S_FALSE, ModuleCanUnloadNow());
    clone.reset();
    EXPECT_EQ(S_OK, ModuleCanUnloadNow());
}

}  // namespace
