#include <vector>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class ObjectBase : public ComTest {};

struct InterfacesOfType {
    qnpsObjectType type;
    IID own;
    std::vector<IID> answered;  // besides own, IQnPSObject, IDispatch, IUnknown, ISupportErrorInfo
    std::vector<IID> refused;
};

const std::vector<InterfacesOfType>& EveryCreatableType() {
    static const std::vector<InterfacesOfType> types = {
        {qnpsObjType_QnPSCollection, IID_IQnPSCollection, {}, {IID_IQnPSRow, IID_IQnPSColumnDefCollection}},
        {qnpsObjType_QnPSProperty, IID_IQnPSProperty, {}, {IID_IQnPSColumnDef, IID_IQnPSCollection}},
        {qnpsObjType_ColumnDef, IID_IQnPSColumnDef, {}, {IID_IQnPSProperty, IID_IQnPSCollection}},
        {qnpsObjType_Table, IID_IQnPSTable, {}, {IID_IQnPSCollection, IID_IQnPropertyStorage}},
        {qnpsObjType_ColumnDefCollection, IID_IQnPSColumnDefCollection1,
         {IID_IQnPSColumnDefCollection, IID_IQnPSCollection}, {IID_IQnPSRow, IID_IQnPSRowCollection}},
        {qnpsObjType_Row, IID_IQnPSRow, {IID_IQnPSCollection}, {IID_IQnPSRowCollection, IID_IQnPSProperty}},
        {qnpsObjType_RowCollection, IID_IQnPSRowCollection, {IID_IQnPSCollection},
         {IID_IQnPSRow, IID_IQnPSColumnDefCollection1}},
    };
    return types;
}

TEST_F(ObjectBase, EveryCreatableTypeReportsItsOwnType) {
    for (const auto& entry : EveryCreatableType()) {
        ComPtr<IQnPSObject> object;
        ASSERT_EQ(S_OK, storage_->CreateQnPSObject(entry.type, object.put()));
        qnpsObjectType reported = qnpsObjType_Unknown;
        EXPECT_EQ(S_OK, object->get_Type(&reported));
        EXPECT_EQ(entry.type, reported);
        EXPECT_EQ(E_POINTER, object->get_Type(nullptr));
        EXPECT_EQ(1u, RefCount(object.get()));
    }
    qnpsObjectType own = qnpsObjType_Unknown;
    EXPECT_EQ(S_OK, storage_->get_Type(&own));
    EXPECT_EQ(qnpsObjType_QnPropertyStorage, own);
}

TEST_F(ObjectBase, QueryInterfaceAnswersExactlyTheInterfaceChain) {
    for (const auto& entry : EveryCreatableType()) {
        SCOPED_TRACE(entry.type);
        ComPtr<IQnPSObject> object;
        ASSERT_EQ(S_OK, storage_->CreateQnPSObject(entry.type, object.put()));
        EXPECT_TRUE(Answers(object.get(), entry.own));
        EXPECT_TRUE(Answers(object.get(), IID_IQnPSObject));
        EXPECT_TRUE(Answers(object.get(), IID_IDispatch));
        EXPECT_TRUE(Answers(object.get(), IID_IUnknown));
        EXPECT_TRUE(Answers(object.get(), IID_ISupportErrorInfo));
        for (const IID& iid : entry.answered) EXPECT_TRUE(Answers(object.get(), iid));
        for (const IID& iid : entry.refused) EXPECT_FALSE(Answers(object.get(), iid));
        EXPECT_FALSE(Answers(object.get(), IID_IEnumVARIANT));

        void* refused = Unwritten<void>();
        EXPECT_EQ(E_NOINTERFACE, object->QueryInterface(IID_IQnPSTable == entry.own ? IID_IQnPSRow
                                                                                    : IID_IQnPSTable,
                                                         &refused));
        EXPECT_EQ(nullptr, refused);
        EXPECT_EQ(E_POINTER, object->QueryInterface(IID_IQnPSObject, nullptr));

        // Every face of the object leads back to one identity, and each answer holds a reference.
        ComPtr<ISupportErrorInfo> errorInfo;
        ASSERT_EQ(S_OK, object->QueryInterface(IID_ISupportErrorInfo, errorInfo.put_void()));
        EXPECT_TRUE(SameObject(errorInfo.get(), object.get()));
        EXPECT_EQ(2u, RefCount(object.get()));
    }
    EXPECT_TRUE(Answers(storage_.get(), IID_IQnPSObject));
    EXPECT_FALSE(Answers(storage_.get(), IID_IQnPSTable));
}

TEST_F(ObjectBase, ErrorInfoIsSupportedForTheOwnInterfaceAndTheObjectBaseOnly) {
    for (const auto& entry : EveryCreatableType()) {
        SCOPED_TRACE(entry.type);
        auto support = Create<ISupportErrorInfo>(entry.type);
        ASSERT_TRUE(support);
        EXPECT_EQ(S_OK, support->InterfaceSupportsErrorInfo(entry.own));
        EXPECT_EQ(S_OK, support->InterfaceSupportsErrorInfo(IID_IQnPSObject));
        // Interfaces the object answers through inheritance are not its own.
        for (const IID& iid : entry.answered) EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(iid));
        for (const IID& iid : entry.refused) EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(iid));
        EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IDispatch));
        EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IUnknown));
    }
    auto support = storage_.query<ISupportErrorInfo>();
    EXPECT_EQ(S_OK, support->InterfaceSupportsErrorInfo(IID_IQnPropertyStorage));
    EXPECT_EQ(S_OK, support->InterfaceSupportsErrorInfo(IID_IQnPSObject));
    EXPECT_EQ(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IQnPSTable));
}

TEST_F(ObjectBase, CustomPropertiesAreKeptByName) {
    auto row = Create<IQnPSObject>(qnpsObjType_Row);
    auto name = Bstr(L"Colour");

    // A name never put leaves the caller's value exactly as it was.
    auto untouched = VariantOf(42L);
    EXPECT_EQ(TYPE_E_ELEMENTNOTFOUND, row->get_CustomProperty(name.get(), &untouched.get()));
    EXPECT_EQ(VT_I4, untouched.type());
    EXPECT_EQ(42, untouched.get().lVal);
    EXPECT_EQ(E_POINTER, row->get_CustomProperty(name.get(), nullptr));

    EXPECT_EQ(S_OK, row->put_CustomProperty(name.get(), VariantOf(L"red").get()));
    EXPECT_EQ(S_OK, row->put_CustomProperty(name.get(), VariantOf(L"blue").get()));
    UniqueVariant value = VariantOf(7L);
    EXPECT_EQ(S_OK, row->get_CustomProperty(name.get(), &value.get()));
    ASSERT_EQ(VT_BSTR, value.type());
    EXPECT_EQ(L"blue", Text(value.get().bstrVal));
    EXPECT_EQ(E_POINTER, row->get_CustomProperty(name.get(), nullptr));

    // A null name is a key like any other.
    EXPECT_EQ(TYPE_E_ELEMENTNOTFOUND, row->get_CustomProperty(nullptr, value.put()));
    EXPECT_EQ(S_OK, row->put_CustomProperty(nullptr, VariantOf(3L).get()));
    EXPECT_EQ(S_OK, row->get_CustomProperty(nullptr, value.put()));
    EXPECT_EQ(VT_I4, value.type());
    EXPECT_EQ(3, value.get().lVal);

    // Each object has its own bag.
    auto other = Create<IQnPSObject>(qnpsObjType_Row);
    EXPECT_EQ(TYPE_E_ELEMENTNOTFOUND, other->get_CustomProperty(name.get(), value.put()));
}

TEST_F(ObjectBase, ObjectsHeldInCustomPropertiesLiveAsLongAsTheirHolder) {
    auto holder = Create<IQnPSObject>(qnpsObjType_Table);
    auto held = Create<IQnPSObject>(qnpsObjType_ColumnDef);
    UniqueVariant reference;
    reference.get().vt = VT_DISPATCH;
    reference.get().pdispVal = held.get();
    held->AddRef();

    auto name = Bstr(L"Link");
    EXPECT_EQ(S_OK, holder->put_CustomProperty(name.get(), reference.get()));
    reference.reset();
    EXPECT_EQ(2u, RefCount(held.get()));

    EXPECT_EQ(S_OK, holder->put_CustomProperty(name.get(), VariantOf(1L).get()));
    EXPECT_EQ(1u, RefCount(held.get()));

    reference.get().vt = VT_DISPATCH;
    reference.get().pdispVal = held.get();
    held->AddRef();
    EXPECT_EQ(S_OK, holder->put_CustomProperty(name.get(), reference.get()));
    holder.reset();
    EXPECT_EQ(2u, RefCount(held.get()));  // ours and `reference`
}

TEST_F(ObjectBase, EveryLiveObjectKeepsTheModuleLoaded) {
    auto row = Create<IQnPSRow>(qnpsObjType_Row);
    storage_.reset();
    EXPECT_EQ(S_FALSE, ModuleCanUnloadNow());
    row.reset();
    EXPECT_EQ(S_OK, ModuleCanUnloadNow());
}

}  // namespace
