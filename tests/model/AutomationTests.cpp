#include <map>
#include <string>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

// The type library as clients see it. Late binding itself is exercised by the script clients.
class Automation : public ComTest {
protected:
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

// Scripts pass these values as plain numbers, so each must keep its value.
TEST_F(Automation, TypeLibraryDescribesTheModel) {
    ComPtr<ITypeLib> library;
    UINT index = 0;
    ASSERT_EQ(S_OK, InfoOf(storage_.get())->GetContainingTypeLib(library.put(), &index));
    UniqueBstr name, help;
    ASSERT_EQ(S_OK, library->GetDocumentation(-1, name.put(), help.put(), nullptr, nullptr));
    EXPECT_EQ(L"QnPropStorageLib: Quillon Property Storage 1.0 Type Library", Text(name.get()) + L": " + Text(help.get()));
    const std::map<std::wstring, std::wstring> enumerations = {
        {L"_qnpsObjectType", L"Unknown=-1 QnPSObject=0 QnPSCollection=1 QnPSProperty=2 QnPropertyStorage=3 ColumnDef=4 "
                             L"Table=5 ColumnDefCollection=6 Row=7 RowCollection=8 "},
        {L"_qnpsErrorValues", L"UNKNOWNOBJECTTYPE=-2147188735 WRITEXMLERROR=-2147188734 WRONGXMLFILE=-2147188733 "
                              L"EMPTYCOLLECTION=-2147188732 WRONGAPPLICATION=-2147188731 STREAMISREADONLY=-2147188730 "},
        {L"_qnpsPropertyType", L"Unknown=-1 String=0 Int=1 Date=2 Double=3 Bool=4 "},
        {L"_qnpsPropertyDirection", L"Any=0 ToDocument=1 FromDocument=2 "},
        {L"_qnpsColumnDefCollectionType", L"Ordered=1 UnOrdered=2 All=3 "},  // deliberately without a 0
        {L"_qnpsWriteFlags", L"qnpsWriteNormal=0 qnpsOverwrite=1 qnpsSkipDirection=2 "}};
    std::map<std::wstring, std::wstring> found;
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
            EXPECT_EQ(S_OK, ::VariantChangeType(value.put(), variable->lpvarValue, 0, VT_BSTR));
            std::wstring member = NameOf(info.get(), variable->memid);
            // The common prefix of a member's name says nothing the enumeration's name does not.
            for (const wchar_t* prefix : {L"qnpsObjType_", L"QNPS_E_", L"qnpsPropType_", L"qnpsPropDirection_",
                                          L"qnpsDefinitions_"}) {
                if (member.rfind(prefix, 0) == 0) member.erase(0, wcslen(prefix));
            }
            found[NameOf(info.get())] += member + L"=" + Text(value.get().bstrVal) + L" ";
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
        auto vtable = Referenced(dispatch.get(), -1);  // the vtable half of the dual interface
        const TYPEATTR functions = Attributes(vtable.get());
        EXPECT_NE(0, functions.wTypeFlags & TYPEFLAG_FOLEAUTOMATION);
        std::map<size_t, std::wstring> bySlot;
        for (UINT i = 0; i < functions.cFuncs; ++i) {
            FUNCDESC* function = nullptr;
            ASSERT_EQ(S_OK, vtable->GetFuncDesc(i, &function));
            const wchar_t* kind = function->invkind == INVOKE_FUNC ? L"():" : function->invkind == INVOKE_PROPERTYPUT ? L"=:" : L":";
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
