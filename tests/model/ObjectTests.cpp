#include <climits>
#include <functional>
#include <sstream>
#include <vector>

#include "support/StreamSupport.h"

namespace {

using namespace qnps_test;

class Object : public ComTest {};

// Per interface of `faces`: E answered with error information, i without, - refused. A type out of
// range is no error: the caller just gets no object.
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
    const struct { long type; const wchar_t* faces = nullptr; HRESULT result = S_OK; } types[] = {
        {qnpsObjType_QnPSCollection, L"EE--------i"}, {qnpsObjType_QnPSProperty, L"E-E-------i"},
        {qnpsObjType_ColumnDef, L"E--E------i"}, {qnpsObjType_Table, L"E---E-----i"},
        {qnpsObjType_ColumnDefCollection, L"Ei---iE---i"}, {qnpsObjType_Row, L"Ei-----E--i"},
        {qnpsObjType_RowCollection, L"Ei------E-i"}, {qnpsObjType_QnPSObject, nullptr, unknownType},
        {qnpsObjType_QnPropertyStorage, nullptr, unknownType}, {9}, {-1}, {LONG_MAX}, {LONG_MIN}};
    for (const auto& entry : types) {
        IQnPSObject* made = Unwritten<IQnPSObject>();
        EXPECT_EQ(entry.result, storage_->CreateQnPSObject(static_cast<qnpsObjectType>(entry.type), &made));
        ASSERT_NE(Unwritten<IQnPSObject>(), made);
        ComPtr<ISupportErrorInfo> face;  // released after the object: its release must end it
        const auto object = ComPtr<IQnPSObject>::Attach(made);
        if (object) face = object.try_query<ISupportErrorInfo>();
        EXPECT_EQ(entry.faces ? entry.faces : L"<none>", object ? answers(object.get()) : L"<none>") << entry.type;
        qnpsObjectType reported = static_cast<qnpsObjectType>(entry.type);
        EXPECT_EQ(S_OK, object ? object->get_Type(&reported) : S_OK);
        EXPECT_EQ(entry.type, reported);
    }
    EXPECT_EQ(L"E--------Ei", answers(storage_.get()));
}

// Each family answers null pointers its own way, and clients have long relied on all of them.
TEST_F(Object, NullArgumentsGiveEachFamilyItsOwnAnswer) {
    auto o = Create<IQnPSCollection>(qnpsObjType_QnPSCollection);
    auto c = MakeColumn(L"Layout");
    auto d = Create<IQnPSColumnDefCollection1>(qnpsObjType_ColumnDefCollection);
    auto p = Create<IQnPSProperty>(qnpsObjType_QnPSProperty);
    auto r = MakeRow(L"R1");
    auto t = MakeTable();
    auto rs = Rows(t.get());
    auto st = HGlobalStream();
    auto* notStream = reinterpret_cast<IStream*>(t.get());
    IQnPSTable* read = Unwritten<IQnPSTable>();
    auto name = Bstr(L"Layout"), empty = Bstr(L"");
    BSTR n = name.get();
    const auto v = VariantOf(5L);
    ComPtr<IUnknown> e;
    EXPECT_EQ(S_OK, o->get__NewEnum(e.put()));
    long order = 77;
#define C(call) {#call, [&] { return call; }}
    const struct { HRESULT result; std::vector<std::pair<const char*, std::function<HRESULT()>>> calls; } families[] = {
        {E_POINTER, {C(r->QueryInterface(IID_IQnPSObject, nullptr)), C(r->get_Type(nullptr)),
                     C(r->get_CustomProperty(n, nullptr)), C(o->get__NewEnum(nullptr)),
                     C(e.query<IEnumVARIANT>()->Clone(nullptr))}},
        {E_INVALIDARG, {C(storage_->CreateQnPSObject(qnpsObjType_Table, nullptr)), C(o->get_Item(0, nullptr)),
          C(storage_->CreateQnPSObject(qnpsObjType_QnPSObject, nullptr)), C(o->get_Count(nullptr)),
          C(o->get_LowBound(nullptr)), C(o->AddItem(nullptr)), C(c->get_Name(nullptr)), C(c->get_DispName(nullptr)),
          C(c->put_DispName(nullptr)), C(c->get_PropType(nullptr)), C(c->get_Direction(nullptr)),
          C(c->get_Hidden(nullptr)), C(c->get_Order(nullptr)),
          C(d->get_ColumnDef(nullptr, ComPtr<IQnPSColumnDef>().put())), C(d->get_ColumnDef(n, nullptr)),
          C(p->get_ColumnDef(nullptr)), C(p->put_ColumnDef(nullptr)), C(p->get_Value(nullptr)),
          C(r->get_RowID(nullptr)), C(r->put_RowID(nullptr)),
          C(r->get_Property(nullptr, ComPtr<IQnPSProperty>().put())), C(r->get_Property(n, nullptr)),
          C(rs->get_Row(nullptr, v.get(), ComPtr<IQnPSRow>().put())), C(rs->get_Row(n, v.get(), nullptr)),
          C(rs->get_RowByID(nullptr, ComPtr<IQnPSRow>().put())), C(rs->get_RowByID(n, nullptr)),
          C(rs->get_ColumnValues(nullptr, UniqueVariant().put())), C(rs->get_ColumnValues(n, nullptr)),
          C(rs->get_UniqueColumnValues(nullptr, UniqueVariant().put())), C(rs->get_UniqueColumnValues(n, nullptr)),
          C(t->get_Application(nullptr)), C(t->GetColumnDefs(qnpsDefinitions_All, nullptr)),
          C(t->put_ColumnDefs(nullptr)), C(t->get_Rows(nullptr)), C(t->put_Rows(nullptr)),
          C(t->get_LayoutsNames(nullptr)), C(t->get_Property(nullptr, n, ComPtr<IQnPSProperty>().put())),
          C(t->get_Property(n, nullptr, ComPtr<IQnPSProperty>().put())), C(t->get_Property(n, n, nullptr)),
          C(t->get_TabOrderByLayoutName(n, nullptr)), C(t->get_TabOrderByLayoutName(nullptr, &order)),
          C(t->get_TabOrderByLayoutName(empty.get(), &order)), C(storage_->ReadProperties(nullptr, &read)),
          C(storage_->ReadProperties(st.get(), nullptr)), C(storage_->ReadProperties(notStream, &read)),
          C(storage_->WriteProperties(nullptr, t.get(), 0)), C(storage_->WriteProperties(notStream, t.get(), 0)),
          C(storage_->WriteProperties(st.get(), nullptr, 0))}},
        {S_OK, {C(d->HasDefinition(c.get(), nullptr))}},
        {S_FALSE, {C(d->AddDefinition(nullptr))}}};
#undef C
    for (const auto& family : families) {
        for (const auto& [call, make] : family.calls) EXPECT_EQ(family.result, make()) << call;
    }
    EXPECT_EQ(77, order);
    EXPECT_EQ(Unwritten<IQnPSTable>(), read);  // a refused call writes no table pointer
    EXPECT_EQ(0, CountOf(d.get()));
    EXPECT_TRUE(SameObject(Rows(t.get()).get(), rs.get()));
    // Unlike a column's name, the application may be cleared with null.
    UniqueBstr embedded(::SysAllocStringLen(L"ab\0cd", 5)), text;
    EXPECT_EQ(S_OK, c->put_Name(embedded.get()));
    EXPECT_EQ(E_INVALIDARG, c->put_Name(nullptr));
    EXPECT_EQ(S_OK, c->get_Name(text.put()));
    EXPECT_EQ(L"ab", Text(text.get()));
    EXPECT_EQ(S_OK, t->put_Application(name.get()));
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
    for (long index : {-1L, 4L}) {
        IQnPSObject* item = Unwritten<IQnPSObject>();
        EXPECT_EQ(E_INVALIDARG, collection->get_Item(index, &item));
        EXPECT_EQ(nullptr, item);
        EXPECT_EQ(E_INVALIDARG, collection->Remove(index));
    }
    // An entry left behind or not given back would outlive the test.
    EXPECT_EQ(S_OK, collection->Remove(1));
    EXPECT_TRUE(SameObject(ItemOf(collection.get(), 1).get(), items[2].get()));
    EXPECT_EQ(S_OK, collection->RemoveAll());
    EXPECT_EQ(0, CountOf(collection.get()));
    collection.reset();
    VARIANT batch[5];
    for (VARIANT& value : batch) ::VariantInit(&value);
    ULONG fetched = 0;
    EXPECT_EQ(S_FALSE, enumerator->Next(5, batch, &fetched));
    EXPECT_EQ(4u, fetched);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_TRUE(batch[i].vt == VT_DISPATCH && SameObject(batch[i].pdispVal, items[i % 3].get())) << i;
    }
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

TEST_F(Collection, EnumeratorsAndClonesEachKeepTheModuleLoaded) {  // over no items, which would hold it too
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

// The script clients pass the enumerations' values as plain numbers, which pins most of them; the
// release checks pin the type library's classes.
TEST_F(Object, EachMemberHasItsDispatchIdentifier) {
    // Each member as name:DISPID, in the order the interface declares them.
    const struct { qnpsObjectType type; const wchar_t* members; } types[] = {
        {qnpsObjType_QnPropertyStorage,
         L"Type:1 CustomProperty:2 CreateQnPSObject:11 ReadProperties:12 WriteProperties:13"},
        {qnpsObjType_QnPSProperty, L"ColumnDef:11 Value:12"},
        {qnpsObjType_ColumnDef, L"Name:11 DispName:12 PropType:13 Hidden:14 Direction:15 Order:16"},
        {qnpsObjType_Table, L"GetColumnDefs:11 ColumnDefs:12 Rows:13 Application:14 Property:15 LayoutsNames:16 "
                            L"TabOrderByLayoutName:17"},
        {qnpsObjType_ColumnDefCollection, L"_NewEnum:-4 Item:0 Count:11 LowBound:12 AddItem:13 Remove:14 RemoveAll:15 "
                                          L"ColumnDef:21 HasDefinition:22 AddDefinition:23"},
        {qnpsObjType_Row, L"Property:21 RowID:22"},
        {qnpsObjType_RowCollection, L"Row:21 RowByID:22 ColumnValues:23 UniqueColumnValues:24"}};
    for (const auto& entry : types) {
        const auto object = entry.type == qnpsObjType_QnPropertyStorage ? ComPtr<IQnPSObject>(storage_.get())
                                                                         : Create<IQnPSObject>(entry.type);
        std::wistringstream expected(entry.members);
        std::wstring member, members;
        while (std::getline(expected, member, L':')) {
            DISPID id = DISPID_UNKNOWN;
            LPOLESTR names[] = {member.data()};
            EXPECT_EQ(S_OK, object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id)) << Text(names[0]);
            members += (members.empty() ? L"" : L" ") + member + L":" + std::to_wstring(id);
            expected >> id >> std::ws;
        }
        EXPECT_EQ(entry.members, members);
    }
}

}  // namespace
