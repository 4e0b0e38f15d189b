#include <climits>
#include <functional>
#include <vector>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class Object : public ComTest {};

// Per type, one letter for each interface of `faces`: E answered with error information, i answered
// without it, - refused. Only the base and the storage types are refused; other types out of range
// are no error, the caller just gets no object.
TEST_F(Object, EachTypeAnswersItsInterfaceChainAndOnlyTheBaseAndStorageTypesAreRefused) {
    const IID* const faces[] = {&IID_IQnPSObject, &IID_IQnPSCollection, &IID_IQnPSProperty, &IID_IQnPSColumnDef,
        &IID_IQnPSTable, &IID_IQnPSColumnDefCollection, &IID_IQnPSColumnDefCollection1, &IID_IQnPSRow,
        &IID_IQnPSRowCollection, &IID_IQnPropertyStorage, &IID_IDispatch};
    const auto answers = [&](IUnknown* object) {
        std::wstring letters;
        ComPtr<ISupportErrorInfo> support;
        EXPECT_EQ(S_OK, object->QueryInterface(IID_ISupportErrorInfo, support.put_void()));
        for (const IID* iid : faces) {
            const HRESULT info = support->InterfaceSupportsErrorInfo(*iid);
            letters += info == S_OK ? (Answers(object, *iid) ? L'E' : L'?') : (Answers(object, *iid) ? L'i' : L'-');
        }
        return letters;
    };
    const HRESULT unknownType = static_cast<HRESULT>(0x80048001);
    const struct { long type; const wchar_t* faces; HRESULT result; } types[] = {
        {qnpsObjType_QnPSCollection, L"EE--------i"}, {qnpsObjType_QnPSProperty, L"E-E-------i"},
        {qnpsObjType_ColumnDef, L"E--E------i"}, {qnpsObjType_Table, L"E---E-----i"},
        {qnpsObjType_ColumnDefCollection, L"Ei---iE---i"}, {qnpsObjType_Row, L"Ei-----E--i"},
        {qnpsObjType_RowCollection, L"Ei------E-i"}, {qnpsObjType_QnPSObject, nullptr, unknownType},
        {qnpsObjType_QnPropertyStorage, nullptr, unknownType}, {9}, {-1}, {LONG_MAX}, {LONG_MIN}};
    for (const auto& entry : types) {
        IQnPSObject* made = Unwritten<IQnPSObject>();
        EXPECT_EQ(entry.result, storage_->CreateQnPSObject(static_cast<qnpsObjectType>(entry.type), &made));
        ComPtr<IQnPSObject> object;
        ASSERT_NE(Unwritten<IQnPSObject>(), made);
        *object.put() = made;
        EXPECT_EQ(entry.faces ? entry.faces : L"<none>", object ? answers(object.get()) : L"<none>") << entry.type;
        qnpsObjectType reported = qnpsObjType_Unknown;
        if (object) EXPECT_EQ(S_OK, object->get_Type(&reported));
        if (object) EXPECT_EQ(entry.type, reported);
    }
    EXPECT_EQ(L"E--------Ei", answers(storage_.get()));
}

TEST_F(Object, CustomPropertiesAreKeptByExactName) {
    auto row = Create<IQnPSObject>(qnpsObjType_Row);
    auto name = Bstr(L"Colour");
    auto value = VariantOf(42L);
    EXPECT_EQ(TYPE_E_ELEMENTNOTFOUND, row->get_CustomProperty(name.get(), &value.get()));
    EXPECT_TRUE(value.type() == VT_I4 && value.get().lVal == 42);
    EXPECT_EQ(S_OK, row->put_CustomProperty(name.get(), VariantOf(L"red").get()));
    EXPECT_EQ(S_OK, row->put_CustomProperty(name.get(), VariantOf(L"blue").get()));
    EXPECT_EQ(S_OK, row->get_CustomProperty(name.get(), &value.get()));
    EXPECT_EQ(L"blue", Text(value.get().bstrVal));
    EXPECT_EQ(TYPE_E_ELEMENTNOTFOUND, row->get_CustomProperty(Bstr(L"COLOUR").get(), value.put()));
    EXPECT_EQ(S_OK, row->put_CustomProperty(nullptr, VariantOf(7L).get()));
    EXPECT_EQ(S_OK, row->get_CustomProperty(nullptr, value.put()));
    EXPECT_TRUE(value.type() == VT_I4 && value.get().lVal == 7);
}

// The object base and the enumerator answer null pointers with E_POINTER, the members of the
// model's own interfaces with E_INVALIDARG, and the definitions collection with success; clients
// have long relied on all three. Nothing a refused call was given is changed.
TEST_F(Object, NullArgumentsGiveEachFamilyItsOwnAnswer) {
    auto o = Create<IQnPSCollection>(qnpsObjType_QnPSCollection);
    auto c = MakeColumn(L"Layout");
    auto d = Create<IQnPSColumnDefCollection1>(qnpsObjType_ColumnDefCollection);
    auto p = Create<IQnPSProperty>(qnpsObjType_QnPSProperty);
    auto r = MakeRow(L"R1");
    auto t = MakeTable();
    auto rs = Rows(t.get());
    auto name = Bstr(L"Layout"), empty = Bstr(L"");
    BSTR n = name.get();
    const auto v = VariantOf(5L);
    ComPtr<IUnknown> e;
    EXPECT_EQ(S_OK, o->get__NewEnum(e.put()));
    IQnPSColumnDef* cOut = nullptr;
    IQnPSProperty* pOut = nullptr;
    IQnPSRow* rOut = nullptr;
    UniqueVariant vOut;
    long order = 77;
#define C(call) {#call, [&] { return call; }}
    const struct { HRESULT result; std::vector<std::pair<const char*, std::function<HRESULT()>>> calls; } families[] = {
        {E_POINTER, {C(r->QueryInterface(IID_IQnPSObject, nullptr)), C(r->get_Type(nullptr)),
                     C(r->get_CustomProperty(n, nullptr)), C(o->get__NewEnum(nullptr)),
                     C(e.query<IEnumVARIANT>()->Clone(nullptr))}},
        {E_INVALIDARG,
         {C(storage_->CreateQnPSObject(qnpsObjType_Table, nullptr)), C(o->get_Item(0, nullptr)),
          C(storage_->CreateQnPSObject(qnpsObjType_QnPSObject, nullptr)), C(o->get_Count(nullptr)),
          C(o->get_LowBound(nullptr)), C(o->AddItem(nullptr)), C(c->get_Name(nullptr)), C(c->get_DispName(nullptr)),
          C(c->put_DispName(nullptr)), C(c->get_PropType(nullptr)), C(c->get_Direction(nullptr)),
          C(c->get_Hidden(nullptr)), C(c->get_Order(nullptr)), C(d->get_ColumnDef(nullptr, &cOut)),
          C(d->get_ColumnDef(n, nullptr)), C(p->get_ColumnDef(nullptr)), C(p->put_ColumnDef(nullptr)),
          C(p->get_Value(nullptr)), C(r->get_RowID(nullptr)), C(r->put_RowID(nullptr)),
          C(r->get_Property(nullptr, &pOut)), C(r->get_Property(n, nullptr)), C(rs->get_Row(nullptr, v.get(), &rOut)),
          C(rs->get_Row(n, v.get(), nullptr)), C(rs->get_RowByID(nullptr, &rOut)), C(rs->get_RowByID(n, nullptr)),
          C(rs->get_ColumnValues(nullptr, vOut.put())), C(rs->get_ColumnValues(n, nullptr)),
          C(rs->get_UniqueColumnValues(nullptr, vOut.put())), C(rs->get_UniqueColumnValues(n, nullptr)),
          C(t->get_Application(nullptr)), C(t->GetColumnDefs(qnpsDefinitions_All, nullptr)),
          C(t->put_ColumnDefs(nullptr)), C(t->get_Rows(nullptr)), C(t->put_Rows(nullptr)),
          C(t->get_LayoutsNames(nullptr)), C(t->get_Property(nullptr, n, &pOut)), C(t->get_Property(n, nullptr, &pOut)),
          C(t->get_Property(n, n, nullptr)), C(t->get_TabOrderByLayoutName(n, nullptr)),
          C(t->get_TabOrderByLayoutName(nullptr, &order)), C(t->get_TabOrderByLayoutName(empty.get(), &order))}},
        {S_OK, {C(d->HasDefinition(c.get(), nullptr))}},
        {S_FALSE, {C(d->AddDefinition(nullptr))}}};
#undef C
    for (const auto& family : families) {
        for (const auto& [call, make] : family.calls) EXPECT_EQ(family.result, make()) << call;
    }
    EXPECT_EQ(77, order);
    EXPECT_EQ(0, CountOf(o.get()));
    EXPECT_EQ(0, CountOf(d.get()));
    EXPECT_TRUE(SameObject(Rows(t.get()).get(), rs.get()));
    // Text fields keep what comes before an embedded null; a column's name may not be null, but the
    // table's application may be cleared with it.
    UniqueBstr embedded(::SysAllocStringLen(L"ab\0cd", 5)), text;
    EXPECT_EQ(S_OK, c->put_Name(embedded.get()));
    EXPECT_EQ(E_INVALIDARG, c->put_Name(nullptr));
    EXPECT_EQ(S_OK, c->get_Name(text.put()));
    EXPECT_EQ(L"ab", Text(text.get()));
    EXPECT_EQ(S_OK, t->put_Application(embedded.get()));
    EXPECT_EQ(S_OK, t->get_Application(text.put()));
    EXPECT_EQ(L"ab", Text(text.get()));
    EXPECT_EQ(S_OK, t->put_Application(nullptr));
    BSTR none = Unwritten<OLECHAR>();
    EXPECT_EQ(S_OK, t->get_Application(&none));
    EXPECT_EQ(nullptr, none);
}

class Collection : public ComTest {};

TEST_F(Collection, ItemsKeepTheirOrderAndEnumeratorsWalkASnapshot) {
    auto collection = Create<IQnPSCollection>(qnpsObjType_QnPSCollection);
    long bound = -1;
    EXPECT_EQ(S_OK, collection->get_LowBound(&bound));
    EXPECT_EQ(0, bound);
    // Any object of the library is taken, the same one twice too, with one reference per entry.
    const ComPtr<IQnPSObject> items[] = {Create<IQnPSObject>(qnpsObjType_Row), Create<IQnPSObject>(qnpsObjType_Table),
                                         Create<IQnPSObject>(qnpsObjType_ColumnDef)};
    for (int i : {0, 1, 2, 0}) EXPECT_EQ(S_OK, collection->AddItem(items[i].get()));
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(S_OK, collection->get__NewEnum(unknown.put()));
    auto enumerator = unknown.query<IEnumVARIANT>();
    EXPECT_EQ(5u, RefCount(items[0].get()));  // ours, and two entries' in the collection and the snapshot
    for (long index : {-1L, 4L}) {
        IQnPSObject* item = Unwritten<IQnPSObject>();
        EXPECT_EQ(E_INVALIDARG, collection->get_Item(index, &item));
        EXPECT_EQ(nullptr, item);
        EXPECT_EQ(E_INVALIDARG, collection->Remove(index));
    }
    EXPECT_EQ(S_OK, collection->Remove(1));
    EXPECT_EQ(2u, RefCount(items[1].get()));
    EXPECT_TRUE(SameObject(ItemOf(collection.get(), 1).get(), items[2].get()));
    EXPECT_EQ(3, CountOf(collection.get()));
    EXPECT_EQ(S_OK, collection->RemoveAll());
    EXPECT_EQ(3u, RefCount(items[0].get()));
    collection.reset();
    VARIANT batch[5];
    for (VARIANT& value : batch) ::VariantInit(&value);
    ULONG fetched = 0;
    EXPECT_EQ(S_FALSE, enumerator->Next(5, batch, &fetched));
    EXPECT_EQ(4u, fetched);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_TRUE(batch[i].vt == VT_DISPATCH && SameObject(batch[i].pdispVal, items[i % 3].get())) << i;
    }
    EXPECT_EQ(VT_EMPTY, batch[4].vt);
    for (VARIANT& value : batch) ::VariantClear(&value);
    // A clone goes on from where it was made, on its own; a single item needs no count.
    EXPECT_EQ(S_OK, enumerator->Reset());
    EXPECT_EQ(S_OK, enumerator->Skip(2));
    ComPtr<IEnumVARIANT> clone;
    ASSERT_EQ(S_OK, enumerator->Clone(clone.put()));
    EXPECT_EQ(S_FALSE, enumerator->Skip(3));
    UniqueVariant value;
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
