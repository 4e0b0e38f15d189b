#include <vector>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

// Late-bound calls as a script host makes them: arguments in reverse order, results by value.
class Dispatch : public ComTest {
protected:
    DISPID IdOf(IDispatch* object, const wchar_t* name) {
        DISPID id = 12345;
        LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
        EXPECT_EQ(S_OK, object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id)) << name;
        return id;
    }

    HRESULT Call(IDispatch* object, DISPID id, WORD flags, std::vector<VARIANT> reversedArgs,
                 UniqueVariant* result, SCODE* exceptionCode = nullptr) {
        DISPPARAMS params{reversedArgs.data(), nullptr, static_cast<UINT>(reversedArgs.size()), 0};
        DISPID putId = DISPID_PROPERTYPUT;
        if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
            params.rgdispidNamedArgs = &putId;
            params.cNamedArgs = 1;
        }
        EXCEPINFO exception{};
        UINT argumentError = 0;
        const HRESULT hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params,
                                          result ? result->put() : nullptr, &exception, &argumentError);
        if (exceptionCode) *exceptionCode = exception.scode;
        ::SysFreeString(exception.bstrSource);
        ::SysFreeString(exception.bstrDescription);
        ::SysFreeString(exception.bstrHelpFile);
        return hr;
    }

    static VARIANT Long(long value) {
        VARIANT v;
        v.vt = VT_I4;
        v.lVal = value;
        return v;
    }
    static VARIANT Object(IDispatch* object) {
        VARIANT v;
        v.vt = VT_DISPATCH;
        v.pdispVal = object;
        return v;
    }
};

TEST_F(Dispatch, TypeInformationIsTheObjectsOwnInterface) {
    auto rows = Create<IDispatch>(qnpsObjType_RowCollection);
    UINT count = 0;
    EXPECT_EQ(S_OK, rows->GetTypeInfoCount(&count));
    EXPECT_EQ(1u, count);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(S_OK, rows->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.put()));
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(S_OK, info->GetTypeAttr(&attributes));
    EXPECT_TRUE(::IsEqualGUID(IID_IQnPSRowCollection, attributes->guid));
    info->ReleaseTypeAttr(attributes);
    ITypeInfo* none = Unwritten<ITypeInfo>();
    EXPECT_EQ(DISP_E_BADINDEX, rows->GetTypeInfo(1, LOCALE_USER_DEFAULT, &none));
    EXPECT_EQ(nullptr, none);

    EXPECT_EQ(DISPID_NEWENUM, IdOf(rows.get(), L"_NewEnum"));
    EXPECT_EQ(DISPID_VALUE, IdOf(rows.get(), L"Item"));
    EXPECT_EQ(1, IdOf(rows.get(), L"Type"));
    EXPECT_EQ(11, IdOf(rows.get(), L"Count"));
    EXPECT_EQ(13, IdOf(rows.get(), L"AddItem"));
    EXPECT_EQ(0x16, IdOf(rows.get(), L"RowByID"));
    LPOLESTR unknown[] = {const_cast<LPOLESTR>(L"RowID")};
    DISPID id = 0;
    EXPECT_EQ(DISP_E_UNKNOWNNAME, rows->GetIDsOfNames(IID_NULL, unknown, 1, LOCALE_USER_DEFAULT, &id));
    EXPECT_EQ(DISP_E_UNKNOWNINTERFACE,
              rows->GetIDsOfNames(IID_IQnPSRowCollection, unknown, 1, LOCALE_USER_DEFAULT, &id));
}

TEST_F(Dispatch, CollectionMembersWorkLateBound) {
    auto collection = Create<IDispatch>(qnpsObjType_QnPSCollection);
    auto row = Create<IDispatch>(qnpsObjType_Row);
    UniqueVariant result;
    EXPECT_EQ(S_OK, Call(collection.get(), 13, DISPATCH_METHOD, {Object(row.get())}, nullptr));
    EXPECT_EQ(S_OK, Call(collection.get(), 13, DISPATCH_METHOD, {Object(row.get())}, nullptr));

    EXPECT_EQ(S_OK, Call(collection.get(), 11, DISPATCH_PROPERTYGET, {}, &result));
    EXPECT_EQ(VT_I4, result.type());
    EXPECT_EQ(2, result.get().lVal);

    EXPECT_EQ(S_OK, Call(collection.get(), DISPID_VALUE, DISPATCH_PROPERTYGET, {Long(1)}, &result));
    ASSERT_EQ(VT_DISPATCH, result.type());
    EXPECT_TRUE(SameObject(result.get().pdispVal, row.get()));

    // The member's own failure reaches the caller as the exception's code.
    SCODE code = S_OK;
    EXPECT_EQ(DISP_E_EXCEPTION, Call(collection.get(), DISPID_VALUE, DISPATCH_PROPERTYGET, {Long(2)},
                                     &result, &code));
    EXPECT_EQ(E_INVALIDARG, code);

    // Inherited members of the object base answer too.
    EXPECT_EQ(S_OK, Call(row.get(), 1, DISPATCH_PROPERTYGET, {}, &result));
    EXPECT_EQ(VT_I4, result.type());
    EXPECT_EQ(qnpsObjType_Row, result.get().lVal);

    // JScript's Enumerator asks for the enumerator as a method.
    for (WORD flags : {WORD{DISPATCH_METHOD}, WORD{DISPATCH_PROPERTYGET}}) {
        ASSERT_EQ(S_OK, Call(collection.get(), DISPID_NEWENUM, flags, {}, &result));
        ASSERT_TRUE(result.type() == VT_UNKNOWN || result.type() == VT_DISPATCH);
        ComPtr<IEnumVARIANT> enumerator;
        ASSERT_EQ(S_OK, result.get().punkVal->QueryInterface(IID_IEnumVARIANT, enumerator.put_void()));
        VARIANT items[3];
        ULONG fetched = 0;
        EXPECT_EQ(S_FALSE, enumerator->Next(3, items, &fetched));
        EXPECT_EQ(2u, fetched);
        for (ULONG i = 0; i < fetched; ++i) ::VariantClear(&items[i]);
    }
    EXPECT_EQ(S_OK, Call(collection.get(), 15, DISPATCH_METHOD, {}, nullptr));
}

TEST_F(Dispatch, PropertiesArePutLateBound) {
    auto column = Create<IQnPSColumnDef>(qnpsObjType_ColumnDef);
    auto name = VariantOf(L"Layout");
    EXPECT_EQ(S_OK, Call(column.get(), 11, DISPATCH_PROPERTYPUT, {name.get()}, nullptr));
    UniqueBstr text;
    EXPECT_EQ(S_OK, column->get_Name(text.put()));
    EXPECT_EQ(L"Layout", Text(text.get()));

    // `Set table.Rows = rows` arrives as a put by reference.
    auto table = Create<IQnPSTable>(qnpsObjType_Table);
    auto rows = Create<IDispatch>(qnpsObjType_RowCollection);
    EXPECT_EQ(S_OK, Call(table.get(), 13, DISPATCH_PROPERTYPUTREF, {Object(rows.get())}, nullptr));
    EXPECT_TRUE(SameObject(Rows(table.get()).get(), rows.get()));

    // Parameterised custom properties.
    auto key = VariantOf(L"Key");
    EXPECT_EQ(S_OK, Call(table.get(), 2, DISPATCH_PROPERTYPUT, {Long(5), key.get()}, nullptr));
    UniqueVariant result;
    EXPECT_EQ(S_OK, Call(table.get(), 2, DISPATCH_PROPERTYGET, {key.get()}, &result));
    EXPECT_EQ(VT_I4, result.type());
    EXPECT_EQ(5, result.get().lVal);

    // The entry object's factory method.
    ASSERT_EQ(S_OK, Call(storage_.get(), 11, DISPATCH_METHOD, {Long(qnpsObjType_Row)}, &result));
    ASSERT_EQ(VT_DISPATCH, result.type());
    EXPECT_TRUE(Answers(result.get().pdispVal, IID_IQnPSRow));
}

}  // namespace
