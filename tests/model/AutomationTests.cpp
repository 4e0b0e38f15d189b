#include <map>
#include <string>
#include <vector>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

// Late binding as script hosts use it, and the type library behind it.
class Automation : public ComTest {
protected:
    // By name, with the arguments in reverse order, as script hosts call.
    HRESULT Call(IDispatch* object, const wchar_t* name, WORD flags, std::vector<VARIANT> reversedArgs,
                 UniqueVariant* result) {
        LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
        DISPID id = DISPID_UNKNOWN, putId = DISPID_PROPERTYPUT;
        EXPECT_EQ(S_OK, object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id)) << name;
        const bool put = flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF);
        DISPPARAMS params{reversedArgs.data(), put ? &putId : nullptr, static_cast<UINT>(reversedArgs.size()), put};
        return object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, result ? result->put() : nullptr,
                              nullptr, nullptr);
    }
    static VARIANT Object(IDispatch* object) {
        VARIANT value;
        value.vt = VT_DISPATCH;
        value.pdispVal = object;
        return value;
    }
    static ComPtr<ITypeInfo> InfoOf(IDispatch* object) {
        ComPtr<ITypeInfo> info;
        EXPECT_EQ(S_OK, object->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.put()));
        return info;
    }
    static std::wstring NameOf(ITypeInfo* info, MEMBERID member = MEMBERID_NIL, bool help = false) {
        UniqueBstr text;
        EXPECT_EQ(S_OK, info->GetDocumentation(member, help ? nullptr : text.put(), help ? text.put() : nullptr,
                                               nullptr, nullptr));
        return Text(text.get());
    }
    static TYPEATTR Attributes(ITypeInfo* info) {
        TYPEATTR* attributes = nullptr;
        EXPECT_EQ(S_OK, info->GetTypeAttr(&attributes));
        const TYPEATTR copy = *attributes;
        info->ReleaseTypeAttr(attributes);
        return copy;
    }
    static ComPtr<ITypeInfo> Referenced(ITypeInfo* info, UINT implemented) {
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> referenced;
        EXPECT_EQ(S_OK, info->GetRefTypeOfImplType(implemented, &reference));
        EXPECT_EQ(S_OK, info->GetRefTypeInfo(reference, referenced.put()));
        return referenced;
    }
};

TEST_F(Automation, MembersWorkLateBound) {
    auto collection = Create<IDispatch>(qnpsObjType_QnPSCollection);
    auto row = Create<IDispatch>(qnpsObjType_Row);
    UniqueVariant result;
    EXPECT_EQ(S_OK, Call(collection.get(), L"AddItem", DISPATCH_METHOD, {Object(row.get())}, nullptr));
    EXPECT_EQ(S_OK, Call(collection.get(), L"AddItem", DISPATCH_METHOD, {Object(row.get())}, nullptr));
    // JScript's Enumerator asks for the enumerator as a method.
    for (WORD flags : {WORD{DISPATCH_METHOD}, WORD{DISPATCH_PROPERTYGET}}) {
        ASSERT_EQ(S_OK, Call(collection.get(), L"_NewEnum", flags, {}, &result)) << flags;
        ComPtr<IEnumVARIANT> enumerator;
        ASSERT_EQ(S_OK, result.get().punkVal->QueryInterface(IID_IEnumVARIANT, enumerator.put_void()));
        EXPECT_EQ(S_OK, enumerator->Skip(2));
        EXPECT_EQ(S_FALSE, enumerator->Skip(1));
    }
    // `Set table.Rows = rows` arrives as a put by reference.
    auto table = Create<IQnPSTable>(qnpsObjType_Table);
    auto rows = Create<IDispatch>(qnpsObjType_RowCollection);
    EXPECT_EQ(S_OK, Call(table.get(), L"Rows", DISPATCH_PROPERTYPUTREF, {Object(rows.get())}, nullptr));
    EXPECT_TRUE(SameObject(Rows(table.get()).get(), rows.get()));
}

// Help string, creatable classes, enumerations and a sample of dual interfaces as clients see them.
TEST_F(Automation, TypeLibraryDescribesTheModel) {
    ComPtr<ITypeLib> library;
    UINT index = 0;
    ASSERT_EQ(S_OK, InfoOf(storage_.get())->GetContainingTypeLib(library.put(), &index));
    UniqueBstr name, help;
    ASSERT_EQ(S_OK, library->GetDocumentation(-1, name.put(), help.put(), nullptr, nullptr));
    EXPECT_EQ(L"QnPropStorageLib", Text(name.get()));
    EXPECT_EQ(L"Quillon Property Storage 1.0 Type Library", Text(help.get()));
    const auto code = [](unsigned long value) { return static_cast<long>(value); };
    const std::map<std::wstring, std::map<std::wstring, long>> enumerations = {
        {L"_qnpsObjectType",
         {{L"qnpsObjType_Unknown", -1}, {L"qnpsObjType_QnPSObject", 0}, {L"qnpsObjType_QnPSCollection", 1},
          {L"qnpsObjType_QnPSProperty", 2}, {L"qnpsObjType_QnPropertyStorage", 3}, {L"qnpsObjType_ColumnDef", 4},
          {L"qnpsObjType_Table", 5}, {L"qnpsObjType_ColumnDefCollection", 6}, {L"qnpsObjType_Row", 7},
          {L"qnpsObjType_RowCollection", 8}}},
        {L"_qnpsErrorValues",
         {{L"QNPS_E_UNKNOWNOBJECTTYPE", code(0x80048001)}, {L"QNPS_E_WRITEXMLERROR", code(0x80048002)},
          {L"QNPS_E_WRONGXMLFILE", code(0x80048003)}, {L"QNPS_E_EMPTYCOLLECTION", code(0x80048004)},
          {L"QNPS_E_WRONGAPPLICATION", code(0x80048005)}, {L"QNPS_E_STREAMISREADONLY", code(0x80048006)}}},
        {L"_qnpsPropertyType",
         {{L"qnpsPropType_Unknown", -1}, {L"qnpsPropType_String", 0}, {L"qnpsPropType_Int", 1},
          {L"qnpsPropType_Date", 2}, {L"qnpsPropType_Double", 3}, {L"qnpsPropType_Bool", 4}}},
        {L"_qnpsPropertyDirection",
         {{L"qnpsPropDirection_Any", 0}, {L"qnpsPropDirection_ToDocument", 1}, {L"qnpsPropDirection_FromDocument", 2}}},
        // Deliberately without a value 0.
        {L"_qnpsColumnDefCollectionType",
         {{L"qnpsDefinitions_Ordered", 1}, {L"qnpsDefinitions_UnOrdered", 2}, {L"qnpsDefinitions_All", 3}}},
        {L"_qnpsWriteFlags", {{L"qnpsWriteNormal", 0}, {L"qnpsOverwrite", 1}, {L"qnpsSkipDirection", 2}}}};
    std::map<std::wstring, std::map<std::wstring, long>> found;
    std::wstring classes;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        ASSERT_EQ(S_OK, library->GetTypeInfo(i, info.put()));
        const TYPEATTR attributes = Attributes(info.get());
        if (attributes.typekind == TKIND_COCLASS) {
            classes += L" " + NameOf(info.get()) + ((attributes.wTypeFlags & TYPEFLAG_FCANCREATE) ? L"+" : L"");
        }
        for (UINT v = 0; v < attributes.cVars && attributes.typekind == TKIND_ENUM; ++v) {
            VARDESC* variable = nullptr;
            ASSERT_EQ(S_OK, info->GetVarDesc(v, &variable));
            UniqueVariant value;
            EXPECT_EQ(S_OK, ::VariantChangeType(value.put(), variable->lpvarValue, 0, VT_I8));
            found[NameOf(info.get())][NameOf(info.get(), variable->memid)] = static_cast<long>(value.get().llVal);
            info->ReleaseVarDesc(variable);
        }
    }
    EXPECT_EQ(enumerations, found);
    // Hosts make every other object through the storage object's factory method.
    EXPECT_EQ(L" CQnPSObject CQnPSTable CQnPSObjCollection CQnPSColumnDef CQnPSColumnDefCollection CQnPSProperty"
              L" CQnPSRow CQnPSRowCollection CQnPropStorage+", classes);

    // Each interface as "name : parent @first slot", then its members in slot order as name, kind
    // (() a method, = a put) and DISPID; a gap in the slots would show as "@slot" before a member.
    const struct { qnpsObjectType type; const wchar_t* layout; } interfaces[] = {
        {qnpsObjType_QnPSCollection, L"IQnPSCollection : IQnPSObject @10 _NewEnum:-4 Item:0 Count:11 LowBound:12 "
                                     L"AddItem():13 Remove():14 RemoveAll():15"},
        {qnpsObjType_ColumnDefCollection,
         L"IQnPSColumnDefCollection1 : IQnPSColumnDefCollection @18 HasDefinition():22 AddDefinition():23"},
        {qnpsObjType_Table, L"IQnPSTable : IQnPSObject @10 GetColumnDefs():11 ColumnDefs=:12 Rows:13 Rows=:13 "
                            L"Application:14 Application=:14 Property:15 LayoutsNames:16 TabOrderByLayoutName:17"}};
    for (const auto& entry : interfaces) {
        auto dispatch = InfoOf(Create<IDispatch>(entry.type).get());
        EXPECT_EQ(NameOf(dispatch.get()) + L" Interface", NameOf(dispatch.get(), MEMBERID_NIL, true));
        // The vtable half of the dual interface.
        auto vtable = Referenced(dispatch.get(), -1);
        const TYPEATTR functions = Attributes(vtable.get());
        EXPECT_NE(0, functions.wTypeFlags & TYPEFLAG_FOLEAUTOMATION);
        std::map<size_t, std::wstring> bySlot;
        for (UINT i = 0; i < functions.cFuncs; ++i) {
            FUNCDESC* function = nullptr;
            ASSERT_EQ(S_OK, vtable->GetFuncDesc(i, &function));
            const wchar_t* kind = function->invkind == INVOKE_FUNC           ? L"():"
                                  : function->invkind == INVOKE_PROPERTYPUT ? L"=:"
                                                                            : L":";
            bySlot[function->oVft / sizeof(void*)] =
                NameOf(vtable.get(), function->memid) + kind + std::to_wstring(function->memid);
            vtable->ReleaseFuncDesc(function);
        }
        std::wstring layout = NameOf(vtable.get()) + L" : " + NameOf(Referenced(vtable.get(), 0).get());
        size_t next = 0;
        for (const auto& [slot, member] : bySlot) {
            if (slot != next) layout += L" @" + std::to_wstring(slot);
            layout += L" " + member;
            next = slot + 1;
        }
        EXPECT_EQ(entry.layout, layout);
    }
}

}  // namespace
