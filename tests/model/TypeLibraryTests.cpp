#include <map>
#include <vector>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

// The type library as clients and the platform see it: loaded from the server's own module.
class TypeLibrary : public ComTest {
protected:
    void SetUp() override {
        ComTest::SetUp();  // loads the server
        HMODULE module = ::GetModuleHandleW(L"QnPropStorage.dll");
        ASSERT_NE(nullptr, module);
        wchar_t path[MAX_PATH];
        ASSERT_GT(::GetModuleFileNameW(module, path, MAX_PATH), 0u);
        ASSERT_EQ(S_OK, ::LoadTypeLibEx(path, REGKIND_NONE, library_.put()));
    }
    void TearDown() override {
        library_.reset();
        ComTest::TearDown();
    }

    ComPtr<ITypeInfo> InfoOf(const GUID& guid) {
        ComPtr<ITypeInfo> info;
        EXPECT_EQ(S_OK, library_->GetTypeInfoOfGuid(guid, info.put()));
        return info;
    }
    ComPtr<ITypeInfo> InfoNamed(const wchar_t* name) {
        for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
            UniqueBstr found;
            if (library_->GetDocumentation(i, found.put(), nullptr, nullptr, nullptr) == S_OK &&
                Text(found.get()) == name) {
                ComPtr<ITypeInfo> info;
                EXPECT_EQ(S_OK, library_->GetTypeInfo(i, info.put()));
                return info;
            }
        }
        ADD_FAILURE() << "no type named " << std::string(name, name + wcslen(name));
        return {};
    }
    static std::wstring HelpOf(ITypeInfo* info, MEMBERID member = MEMBERID_NIL) {
        UniqueBstr help;
        EXPECT_EQ(S_OK, info->GetDocumentation(member, nullptr, help.put(), nullptr, nullptr));
        return Text(help.get());
    }
    static TYPEKIND KindOf(ITypeInfo* info, WORD* flags = nullptr) {
        TYPEATTR* attributes = nullptr;
        EXPECT_EQ(S_OK, info->GetTypeAttr(&attributes));
        const TYPEKIND kind = attributes->typekind;
        if (flags) *flags = attributes->wTypeFlags;
        info->ReleaseTypeAttr(attributes);
        return kind;
    }

    ComPtr<ITypeLib> library_;
};

TEST_F(TypeLibrary, DescribesItself) {
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(S_OK, library_->GetLibAttr(&attributes));
    EXPECT_TRUE(::IsEqualGUID(LIBID_QnPropStorageLib, attributes->guid));
    EXPECT_EQ(1, attributes->wMajorVerNum);
    EXPECT_EQ(0, attributes->wMinorVerNum);
    library_->ReleaseTLibAttr(attributes);

    UniqueBstr name, help;
    ASSERT_EQ(S_OK, library_->GetDocumentation(-1, name.put(), help.put(), nullptr, nullptr));
    EXPECT_EQ(L"QnPropStorageLib", Text(name.get()));
    EXPECT_EQ(L"Quillon Property Storage 1.0 Type Library", Text(help.get()));
}

TEST_F(TypeLibrary, OnlyTheStorageClassIsCreatable) {
    const struct { const CLSID* clsid; const wchar_t* help; } classes[] = {
        {&CLSID_CQnPSObject, L"QnPSObject Class"},
        {&CLSID_CQnPSTable, L"QnPSTable Class"},
        {&CLSID_CQnPSObjCollection, L"QnPSObjCollection Class"},
        {&CLSID_CQnPSColumnDef, L"QnPSColumnDef Class"},
        {&CLSID_CQnPSColumnDefCollection, L"QnPSColumnDefCollection Class"},
        {&CLSID_CQnPSProperty, L"QnPSProperty Class"},
        {&CLSID_CQnPSRow, L"QnPSRow Class"},
        {&CLSID_CQnPSRowCollection, L"QnPSRowCollection Class"},
    };
    for (const auto& entry : classes) {
        auto info = InfoOf(*entry.clsid);
        ASSERT_TRUE(info);
        WORD flags = 0;
        EXPECT_EQ(TKIND_COCLASS, KindOf(info.get(), &flags));
        EXPECT_EQ(0, flags & TYPEFLAG_FCANCREATE) << std::string(entry.help, entry.help + wcslen(entry.help));
        EXPECT_EQ(entry.help, HelpOf(info.get()));
    }
    auto storage = InfoOf(CLSID_CQnPropStorage);
    ASSERT_TRUE(storage);
    WORD flags = 0;
    EXPECT_EQ(TKIND_COCLASS, KindOf(storage.get(), &flags));
    EXPECT_NE(0, flags & TYPEFLAG_FCANCREATE);
    EXPECT_EQ(L"CQnPropStorage Class", HelpOf(storage.get()));
    INT implFlags = 0;
    EXPECT_EQ(S_OK, storage->GetImplTypeFlags(0, &implFlags));
    EXPECT_NE(0, implFlags & IMPLTYPEFLAG_FDEFAULT);
    HREFTYPE reference = 0;
    ASSERT_EQ(S_OK, storage->GetRefTypeOfImplType(0, &reference));
    ComPtr<ITypeInfo> defaultInterface;
    ASSERT_EQ(S_OK, storage->GetRefTypeInfo(reference, defaultInterface.put()));
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(S_OK, defaultInterface->GetTypeAttr(&attributes));
    EXPECT_TRUE(::IsEqualGUID(IID_IQnPropertyStorage, attributes->guid));
    defaultInterface->ReleaseTypeAttr(attributes);
}

struct Member {
    const wchar_t* name;
    INVOKEKIND kind;
    MEMBERID id;
};
constexpr INVOKEKIND kGet = INVOKE_PROPERTYGET, kPut = INVOKE_PROPERTYPUT, kCall = INVOKE_FUNC;

struct InterfaceLayout {
    const IID* iid;
    const wchar_t* name;
    const wchar_t* parent;
    int firstSlot;  // after IUnknown, IDispatch and the members of every parent
    std::vector<Member> members;
};

const std::vector<InterfaceLayout>& Layouts() {
    static const std::vector<InterfaceLayout> layouts = {
        {&IID_IQnPSObject, L"IQnPSObject", L"IDispatch", 7,
         {{L"Type", kGet, 1}, {L"CustomProperty", kGet, 2}, {L"CustomProperty", kPut, 2}}},
        {&IID_IQnPSCollection, L"IQnPSCollection", L"IQnPSObject", 10,
         {{L"_NewEnum", kGet, DISPID_NEWENUM}, {L"Item", kGet, DISPID_VALUE}, {L"Count", kGet, 11},
          {L"LowBound", kGet, 12}, {L"AddItem", kCall, 13}, {L"Remove", kCall, 14},
          {L"RemoveAll", kCall, 15}}},
        {&IID_IQnPSColumnDef, L"IQnPSColumnDef", L"IQnPSObject", 10,
         {{L"Name", kGet, 11}, {L"Name", kPut, 11}, {L"DispName", kGet, 12}, {L"DispName", kPut, 12},
          {L"PropType", kGet, 13}, {L"PropType", kPut, 13}, {L"Hidden", kGet, 14}, {L"Hidden", kPut, 14},
          {L"Direction", kGet, 15}, {L"Direction", kPut, 15}, {L"Order", kGet, 16}, {L"Order", kPut, 16}}},
        {&IID_IQnPSColumnDefCollection, L"IQnPSColumnDefCollection", L"IQnPSCollection", 17,
         {{L"ColumnDef", kGet, 21}}},
        {&IID_IQnPSColumnDefCollection1, L"IQnPSColumnDefCollection1", L"IQnPSColumnDefCollection", 18,
         {{L"HasDefinition", kCall, 22}, {L"AddDefinition", kCall, 23}}},
        {&IID_IQnPSProperty, L"IQnPSProperty", L"IQnPSObject", 10,
         {{L"ColumnDef", kGet, 11}, {L"ColumnDef", kPut, 11}, {L"Value", kGet, 12}, {L"Value", kPut, 12}}},
        {&IID_IQnPSRow, L"IQnPSRow", L"IQnPSCollection", 17,
         {{L"Property", kGet, 21}, {L"RowID", kGet, 22}, {L"RowID", kPut, 22}}},
        {&IID_IQnPSRowCollection, L"IQnPSRowCollection", L"IQnPSCollection", 17,
         {{L"Row", kGet, 21}, {L"RowByID", kGet, 22}, {L"ColumnValues", kGet, 23},
          {L"UniqueColumnValues", kGet, 24}}},
        {&IID_IQnPSTable, L"IQnPSTable", L"IQnPSObject", 10,
         {{L"GetColumnDefs", kCall, 11}, {L"ColumnDefs", kPut, 12}, {L"Rows", kGet, 13}, {L"Rows", kPut, 13},
          {L"Application", kGet, 14}, {L"Application", kPut, 14}, {L"Property", kGet, 15},
          {L"LayoutsNames", kGet, 16}, {L"TabOrderByLayoutName", kGet, 17}}},
        {&IID_IQnPropertyStorage, L"IQnPropertyStorage", L"IQnPSObject", 10,
         {{L"CreateQnPSObject", kCall, 11}, {L"ReadProperties", kCall, 12}, {L"WriteProperties", kCall, 13}}},
    };
    return layouts;
}

TEST_F(TypeLibrary, InterfacesAreDualWithFixedSlotsAndDispatchIds) {
    for (const auto& layout : Layouts()) {
        SCOPED_TRACE(std::string(layout.name, layout.name + wcslen(layout.name)));
        auto dispatch = InfoOf(*layout.iid);
        ASSERT_TRUE(dispatch);
        WORD flags = 0;
        EXPECT_EQ(TKIND_DISPATCH, KindOf(dispatch.get(), &flags));
        EXPECT_NE(0, flags & TYPEFLAG_FDUAL);
        EXPECT_NE(0, flags & TYPEFLAG_FNONEXTENSIBLE);
        EXPECT_EQ(std::wstring(layout.name) + L" Interface", HelpOf(dispatch.get()));

        // The vtable half of the dual interface.
        HREFTYPE reference = 0;
        ASSERT_EQ(S_OK, dispatch->GetRefTypeOfImplType(-1, &reference));
        ComPtr<ITypeInfo> vtable;
        ASSERT_EQ(S_OK, dispatch->GetRefTypeInfo(reference, vtable.put()));
        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(S_OK, vtable->GetTypeAttr(&attributes));
        EXPECT_EQ(TKIND_INTERFACE, attributes->typekind);
        EXPECT_NE(0, attributes->wTypeFlags & TYPEFLAG_FOLEAUTOMATION);
        const size_t functions = attributes->cFuncs;
        vtable->ReleaseTypeAttr(attributes);

        ASSERT_EQ(S_OK, vtable->GetRefTypeOfImplType(0, &reference));
        ComPtr<ITypeInfo> parent;
        ASSERT_EQ(S_OK, vtable->GetRefTypeInfo(reference, parent.put()));
        UniqueBstr parentName;
        EXPECT_EQ(S_OK, parent->GetDocumentation(MEMBERID_NIL, parentName.put(), nullptr, nullptr, nullptr));
        EXPECT_EQ(layout.parent, Text(parentName.get()));

        ASSERT_EQ(layout.members.size(), functions);
        struct Found {
            std::wstring name;
            INVOKEKIND kind;
            MEMBERID id;
        };
        std::map<SHORT, Found> bySlot;
        for (UINT i = 0; i < functions; ++i) {
            FUNCDESC* function = nullptr;
            ASSERT_EQ(S_OK, vtable->GetFuncDesc(i, &function));
            UniqueBstr name;
            EXPECT_EQ(S_OK, vtable->GetDocumentation(function->memid, name.put(), nullptr, nullptr, nullptr));
            bySlot[function->oVft] = Found{Text(name.get()), function->invkind, function->memid};
            vtable->ReleaseFuncDesc(function);
        }
        size_t index = 0;
        for (const auto& [offset, member] : bySlot) {
            const Member& expected = layout.members[index];
            EXPECT_EQ(static_cast<SHORT>((layout.firstSlot + index) * sizeof(void*)), offset) << index;
            EXPECT_EQ(std::wstring(expected.name), member.name) << index;
            EXPECT_EQ(expected.kind, member.kind) << index;
            EXPECT_EQ(expected.id, member.id) << index;
            ++index;
        }
    }
}

TEST_F(TypeLibrary, MembersCarryTheirHelpStrings) {
    auto collection = InfoOf(IID_IQnPSCollection);
    ASSERT_TRUE(collection);
    // The method is AddItem, its help string says Add: both are what clients have always seen.
    EXPECT_EQ(L"method Add", HelpOf(collection.get(), 13));
    EXPECT_EQ(L"property _NewEnum", HelpOf(collection.get(), DISPID_NEWENUM));
    EXPECT_EQ(L"property Item", HelpOf(collection.get(), DISPID_VALUE));
    EXPECT_EQ(L"method RemoveAll", HelpOf(collection.get(), 15));
    auto object = InfoOf(IID_IQnPSObject);
    ASSERT_TRUE(object);
    EXPECT_EQ(L"property Type", HelpOf(object.get(), 1));
    EXPECT_EQ(L"property CustomProperty", HelpOf(object.get(), 2));
    auto definitions = InfoOf(IID_IQnPSColumnDefCollection1);
    ASSERT_TRUE(definitions);
    EXPECT_EQ(L"method AddDefinition", HelpOf(definitions.get(), 23));
}

TEST_F(TypeLibrary, EnumerationsHaveTheirValues) {
    const struct {
        const wchar_t* name;
        const wchar_t* help;
        std::map<std::wstring, long> values;
    } enumerations[] = {
        {L"_qnpsObjectType", L"ObjectType Types",
         {{L"qnpsObjType_Unknown", -1}, {L"qnpsObjType_QnPSObject", 0}, {L"qnpsObjType_QnPSCollection", 1},
          {L"qnpsObjType_QnPSProperty", 2}, {L"qnpsObjType_QnPropertyStorage", 3},
          {L"qnpsObjType_ColumnDef", 4}, {L"qnpsObjType_Table", 5},
          {L"qnpsObjType_ColumnDefCollection", 6}, {L"qnpsObjType_Row", 7},
          {L"qnpsObjType_RowCollection", 8}}},
        {L"_qnpsErrorValues", L"Property Storage Error values",
         {{L"QNPS_E_UNKNOWNOBJECTTYPE", static_cast<long>(0x80048001)},
          {L"QNPS_E_WRITEXMLERROR", static_cast<long>(0x80048002)},
          {L"QNPS_E_WRONGXMLFILE", static_cast<long>(0x80048003)},
          {L"QNPS_E_EMPTYCOLLECTION", static_cast<long>(0x80048004)},
          {L"QNPS_E_WRONGAPPLICATION", static_cast<long>(0x80048005)},
          {L"QNPS_E_STREAMISREADONLY", static_cast<long>(0x80048006)}}},
        {L"_qnpsPropertyType", L"PropertyType Types",
         {{L"qnpsPropType_Unknown", -1}, {L"qnpsPropType_String", 0}, {L"qnpsPropType_Int", 1},
          {L"qnpsPropType_Date", 2}, {L"qnpsPropType_Double", 3}, {L"qnpsPropType_Bool", 4}}},
        {L"_qnpsPropertyDirection", L"PropertyDirection Types",
         {{L"qnpsPropDirection_Any", 0}, {L"qnpsPropDirection_ToDocument", 1},
          {L"qnpsPropDirection_FromDocument", 2}}},
        // Deliberately without a value 0.
        {L"_qnpsColumnDefCollectionType", L"ColumnDefCollection Types",
         {{L"qnpsDefinitions_Ordered", 1}, {L"qnpsDefinitions_UnOrdered", 2}, {L"qnpsDefinitions_All", 3}}},
        {L"_qnpsWriteFlags", nullptr,
         {{L"qnpsWriteNormal", 0}, {L"qnpsOverwrite", 1}, {L"qnpsSkipDirection", 2}}},
    };
    for (const auto& enumeration : enumerations) {
        SCOPED_TRACE(std::string(enumeration.name, enumeration.name + wcslen(enumeration.name)));
        auto info = InfoNamed(enumeration.name);
        ASSERT_TRUE(info);
        EXPECT_EQ(TKIND_ENUM, KindOf(info.get()));
        if (enumeration.help) {
            EXPECT_EQ(enumeration.help, HelpOf(info.get()));
        }
        std::map<std::wstring, long> values;
        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(S_OK, info->GetTypeAttr(&attributes));
        const UINT count = attributes->cVars;
        info->ReleaseTypeAttr(attributes);
        for (UINT i = 0; i < count; ++i) {
            VARDESC* variable = nullptr;
            ASSERT_EQ(S_OK, info->GetVarDesc(i, &variable));
            UniqueBstr name;
            EXPECT_EQ(S_OK, info->GetDocumentation(variable->memid, name.put(), nullptr, nullptr, nullptr));
            UniqueVariant value;
            EXPECT_EQ(S_OK, ::VariantChangeType(value.put(), variable->lpvarValue, 0, VT_I8));
            values[Text(name.get())] = static_cast<long>(value.get().llVal);
            info->ReleaseVarDesc(variable);
        }
        EXPECT_EQ(enumeration.values, values);
    }
    // Members name the enumerations by their aliases.
    auto alias = InfoNamed(L"qnpsObjectType");
    ASSERT_TRUE(alias);
    EXPECT_EQ(TKIND_ALIAS, KindOf(alias.get()));
}

}  // namespace
