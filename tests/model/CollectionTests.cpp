#include <vector>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class Collection : public ComTest {
protected:
    ComPtr<IEnumVARIANT> EnumeratorOf(IQnPSCollection* collection) {
        ComPtr<IUnknown> unknown;
        EXPECT_EQ(S_OK, collection->get__NewEnum(unknown.put()));
        return unknown ? unknown.query<IEnumVARIANT>() : ComPtr<IEnumVARIANT>();
    }
};

TEST_F(Collection, EmptyCollectionHasNoItems) {
    auto collection = Create<IQnPSCollection>(qnpsObjType_QnPSCollection);
    long count = -1, bound = -1;
    EXPECT_EQ(S_OK, collection->get_Count(&count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(S_OK, collection->get_LowBound(&bound));
    EXPECT_EQ(0, bound);
    IQnPSObject* item = Unwritten<IQnPSObject>();
    EXPECT_EQ(E_INVALIDARG, collection->get_Item(0, &item));
    EXPECT_EQ(nullptr, item);
    EXPECT_EQ(E_INVALIDARG, collection->Remove(0));
    EXPECT_EQ(S_OK, collection->RemoveAll());

    auto enumerator = EnumeratorOf(collection.get());
    ASSERT_TRUE(enumerator);
    UniqueVariant value;
    ULONG fetched = 99;
    EXPECT_EQ(S_FALSE, enumerator->Next(1, value.put(), &fetched));
    EXPECT_EQ(0u, fetched);
    EXPECT_EQ(VT_EMPTY, value.type());
}

TEST_F(Collection, NullOutPointersGiveInvalidArgExceptTheEnumerator) {
    auto collection = Create<IQnPSCollection>(qnpsObjType_QnPSCollection);
    EXPECT_EQ(S_OK, collection->AddItem(Create<IQnPSObject>(qnpsObjType_Row).get()));
    EXPECT_EQ(E_INVALIDARG, collection->get_Item(0, nullptr));
    EXPECT_EQ(E_INVALIDARG, collection->get_Count(nullptr));
    EXPECT_EQ(E_INVALIDARG, collection->get_LowBound(nullptr));
    EXPECT_EQ(E_INVALIDARG, collection->AddItem(nullptr));
    EXPECT_EQ(E_POINTER, collection->get__NewEnum(nullptr));
    EXPECT_EQ(1, CountOf(collection.get()));
}

TEST_F(Collection, ItemsAreKeptInOrderWithOneReferenceEach) {
    auto collection = Create<IQnPSCollection>(qnpsObjType_QnPSCollection);
    // The generic collection takes any object of the library.
    auto row = Create<IQnPSObject>(qnpsObjType_Row);
    auto table = Create<IQnPSObject>(qnpsObjType_Table);
    auto column = Create<IQnPSObject>(qnpsObjType_ColumnDef);
    for (IQnPSObject* object : {row.get(), table.get(), column.get(), row.get()}) {
        EXPECT_EQ(S_OK, collection->AddItem(object));
    }
    EXPECT_EQ(4, CountOf(collection.get()));
    EXPECT_EQ(3u, RefCount(row.get()));  // ours and two entries
    EXPECT_EQ(2u, RefCount(table.get()));

    IQnPSObject* item = nullptr;
    ASSERT_EQ(S_OK, collection->get_Item(1, &item));
    EXPECT_TRUE(SameObject(item, table.get()));
    EXPECT_EQ(3u, RefCount(table.get()));
    item->Release();
    EXPECT_TRUE(SameObject(ItemOf(collection.get(), 3).get(), row.get()));

    for (long index : {-1L, 4L, 100L}) {
        item = Unwritten<IQnPSObject>();
        EXPECT_EQ(E_INVALIDARG, collection->get_Item(index, &item));
        EXPECT_EQ(nullptr, item);
        EXPECT_EQ(E_INVALIDARG, collection->Remove(index));
    }
    EXPECT_EQ(4, CountOf(collection.get()));

    // Removing closes the gap and gives back exactly that entry's reference.
    EXPECT_EQ(S_OK, collection->Remove(1));
    EXPECT_EQ(3, CountOf(collection.get()));
    EXPECT_EQ(1u, RefCount(table.get()));
    EXPECT_EQ(S_OK, collection->Remove(0));
    EXPECT_EQ(2u, RefCount(row.get()));
    EXPECT_EQ(2, CountOf(collection.get()));
    EXPECT_TRUE(SameObject(ItemOf(collection.get(), 0).get(), column.get()));
    EXPECT_TRUE(SameObject(ItemOf(collection.get(), 1).get(), row.get()));

    EXPECT_EQ(S_OK, collection->RemoveAll());
    EXPECT_EQ(0, CountOf(collection.get()));
    EXPECT_EQ(1u, RefCount(row.get()));
    EXPECT_EQ(1u, RefCount(table.get()));
    EXPECT_EQ(1u, RefCount(column.get()));
}

TEST_F(Collection, ItemsAreReleasedWithTheCollection) {
    auto row = Create<IQnPSObject>(qnpsObjType_Row);
    for (qnpsObjectType type : {qnpsObjType_QnPSCollection, qnpsObjType_Row, qnpsObjType_RowCollection,
                                qnpsObjType_ColumnDefCollection}) {
        auto collection = Create<IQnPSCollection>(type);
        EXPECT_EQ(S_OK, collection->AddItem(row.get()));
        EXPECT_EQ(S_OK, collection->AddItem(row.get()));
        EXPECT_EQ(3u, RefCount(row.get()));
        collection.reset();
        EXPECT_EQ(1u, RefCount(row.get()));
    }
}

TEST_F(Collection, EnumeratorWalksASnapshotOfTheItems) {
    auto collection = Create<IQnPSCollection>(qnpsObjType_QnPSCollection);
    auto first = Create<IQnPSObject>(qnpsObjType_Row);
    auto second = Create<IQnPSObject>(qnpsObjType_ColumnDef);
    EXPECT_EQ(S_OK, collection->AddItem(first.get()));
    EXPECT_EQ(S_OK, collection->AddItem(second.get()));

    auto enumerator = EnumeratorOf(collection.get());
    ASSERT_TRUE(enumerator);
    EXPECT_EQ(3u, RefCount(first.get()));  // ours, the collection's and the snapshot's
    EXPECT_EQ(S_OK, collection->RemoveAll());
    EXPECT_EQ(2u, RefCount(first.get()));
    EXPECT_EQ(S_OK, collection->AddItem(Create<IQnPSObject>(qnpsObjType_Table).get()));

    VARIANT values[3];
    for (VARIANT& value : values) ::VariantInit(&value);
    ULONG fetched = 0;
    EXPECT_EQ(S_FALSE, enumerator->Next(3, values, &fetched));
    EXPECT_EQ(2u, fetched);
    EXPECT_EQ(VT_DISPATCH, values[0].vt);
    EXPECT_EQ(VT_DISPATCH, values[1].vt);
    EXPECT_TRUE(SameObject(values[0].pdispVal, first.get()));
    EXPECT_TRUE(SameObject(values[1].pdispVal, second.get()));
    EXPECT_EQ(VT_EMPTY, values[2].vt);
    for (VARIANT& value : values) ::VariantClear(&value);

    fetched = 99;
    EXPECT_EQ(S_FALSE, enumerator->Next(1, values, &fetched));
    EXPECT_EQ(0u, fetched);

    enumerator.reset();
    EXPECT_EQ(1u, RefCount(first.get()));
}

TEST_F(Collection, EnumeratorSkipsResetsAndClones) {
    auto collection = Create<IQnPSCollection>(qnpsObjType_QnPSCollection);
    std::vector<ComPtr<IQnPSObject>> items;
    for (int i = 0; i < 3; ++i) {
        items.push_back(Create<IQnPSObject>(qnpsObjType_Row));
        EXPECT_EQ(S_OK, collection->AddItem(items.back().get()));
    }
    auto enumerator = EnumeratorOf(collection.get());
    ASSERT_TRUE(enumerator);
    UniqueVariant value;

    EXPECT_EQ(S_OK, enumerator->Skip(1));
    // A single item may be fetched without asking how many came.
    EXPECT_EQ(S_OK, enumerator->Next(1, value.put(), nullptr));
    EXPECT_TRUE(SameObject(value.get().pdispVal, items[1].get()));

    ComPtr<IEnumVARIANT> clone;
    ASSERT_EQ(S_OK, enumerator->Clone(clone.put()));
    EXPECT_EQ(S_OK, clone->Next(1, value.put(), nullptr));
    EXPECT_TRUE(SameObject(value.get().pdispVal, items[2].get()));
    // The clone moves on its own.
    EXPECT_EQ(S_OK, enumerator->Next(1, value.put(), nullptr));
    EXPECT_TRUE(SameObject(value.get().pdispVal, items[2].get()));
    EXPECT_EQ(S_FALSE, clone->Next(1, value.put(), nullptr));

    EXPECT_EQ(S_FALSE, enumerator->Skip(1));
    EXPECT_EQ(S_OK, enumerator->Reset());
    EXPECT_EQ(S_FALSE, enumerator->Skip(5));
    EXPECT_EQ(S_OK, enumerator->Reset());
    EXPECT_EQ(S_OK, enumerator->Next(1, value.put(), nullptr));
    EXPECT_TRUE(SameObject(value.get().pdispVal, items[0].get()));
    EXPECT_EQ(E_POINTER, enumerator->Clone(nullptr));
    value.reset();

    // An enumerator and its clone keep the module loaded by themselves, even over no items.
    enumerator.reset();
    clone.reset();
    items.clear();
    collection.reset();
    enumerator = EnumeratorOf(Create<IQnPSCollection>(qnpsObjType_QnPSCollection).get());
    ASSERT_EQ(S_OK, enumerator->Clone(clone.put()));
    storage_.reset();
    EXPECT_EQ(S_FALSE, ModuleCanUnloadNow());
    enumerator.reset();
    EXPECT_EQ(S_FALSE, ModuleCanUnloadNow());
    clone.reset();
    EXPECT_EQ(S_OK, ModuleCanUnloadNow());
}

}  // namespace
