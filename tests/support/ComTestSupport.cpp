#include "support/ComTestSupport.h"

namespace qnps_test {

HRESULT ModuleCanUnloadNow() {
    HMODULE module = ::GetModuleHandleW(L"QnPropStorage.dll");
    if (!module) return S_OK;
    auto entry = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
        reinterpret_cast<void*>(::GetProcAddress(module, "DllCanUnloadNow")));
    return entry ? entry() : E_FAIL;
}

std::wstring ValueText(const VARIANT& value) {
    if (value.vt == VT_EMPTY || value.vt == VT_NULL) return value.vt == VT_EMPTY ? L"<empty>" : L"<null>";
    UniqueVariant text;
    if (value.vt != (VT_ARRAY | VT_VARIANT)) {
        const bool ok = SUCCEEDED(::VariantChangeTypeEx(text.put(), const_cast<VARIANT*>(&value), LOCALE_INVARIANT, 0, VT_BSTR));
        return ok ? Text(text.get().bstrVal) : L"<?>";
    }
    LONG lower = 0, upper = -1;
    ::SafeArrayGetLBound(value.parray, 1, &lower);
    ::SafeArrayGetUBound(value.parray, 1, &upper);
    std::wstring list;
    for (LONG i = lower; i <= upper; ++i) {
        ::SafeArrayGetElement(value.parray, &i, text.put());
        list += (i > lower ? L"," : L"") + ValueText(text.get());
    }
    return list;
}

bool Answers(IUnknown* object, REFIID iid) {
    ComPtr<IUnknown> answer;
    return object->QueryInterface(iid, answer.put_void()) == S_OK && answer;
}

bool SameObject(IUnknown* a, IUnknown* b) {
    ComPtr<IUnknown> first, second;
    return a && b && a->QueryInterface(IID_IUnknown, first.put_void()) == S_OK &&
           b->QueryInterface(IID_IUnknown, second.put_void()) == S_OK && first.get() == second.get();
}

long CountOf(IQnPSCollection* collection) {
    long count = -1;
    EXPECT_EQ(S_OK, collection->get_Count(&count));
    return count;
}

ComPtr<IQnPSObject> ItemOf(IQnPSCollection* collection, long index) {
    ComPtr<IQnPSObject> item;
    EXPECT_EQ(S_OK, collection->get_Item(index, item.put()));
    return item;
}

std::wstring ColumnNames(IQnPSCollection* collection) {
    std::wstring names;
    for (long i = 0, count = CountOf(collection); i < count; ++i) {
        auto column = ItemOf(collection, i).try_query<IQnPSColumnDef>();
        UniqueBstr name;
        const bool named = column && column->get_Name(name.put()) == S_OK;
        names += (i > 0 ? L"," : L"") + (named ? Text(name.get()) : L"?");
    }
    return names;
}

ComPtr<IQnPSColumnDef> ComTest::MakeColumn(const wchar_t* name, qnpsPropertyType type, long order) {
    auto column = Create<IQnPSColumnDef>(qnpsObjType_ColumnDef);
    EXPECT_EQ(S_OK, column->put_Name(Bstr(name).get()));
    EXPECT_EQ(S_OK, column->put_PropType(type));
    EXPECT_EQ(S_OK, column->put_Order(order));
    return column;
}

ComPtr<IQnPSProperty> ComTest::MakeCell(IQnPSColumnDef* column, const VARIANT& value) {
    auto cell = Create<IQnPSProperty>(qnpsObjType_QnPSProperty);
    EXPECT_EQ(S_OK, column ? cell->put_ColumnDef(column) : S_OK);
    EXPECT_EQ(S_OK, cell->put_Value(value));
    return cell;
}

ComPtr<IQnPSRow> ComTest::MakeRow(const wchar_t* id) {
    auto row = Create<IQnPSRow>(qnpsObjType_Row);
    EXPECT_EQ(S_OK, id ? row->put_RowID(Bstr(id).get()) : S_OK);
    return row;
}

ComPtr<IQnPSTable> ComTest::MakeTable(const wchar_t* application) {
    auto table = Create<IQnPSTable>(qnpsObjType_Table);
    EXPECT_EQ(S_OK, table->put_ColumnDefs(Create<IQnPSColumnDefCollection>(qnpsObjType_ColumnDefCollection).get()));
    EXPECT_EQ(S_OK, table->put_Rows(Create<IQnPSRowCollection>(qnpsObjType_RowCollection).get()));
    EXPECT_EQ(S_OK, application ? table->put_Application(Bstr(application).get()) : S_OK);
    return table;
}

ComPtr<IQnPSRow> ComTest::AddRow(IQnPSTable* table, const wchar_t* id,
                                 std::initializer_list<std::pair<IQnPSColumnDef*, const VARIANT*>> cells) {
    auto row = MakeRow(id);
    for (const auto& [column, value] : cells) EXPECT_EQ(S_OK, row->AddItem(MakeCell(column, *value).get()));
    EXPECT_EQ(S_OK, Rows(table)->AddItem(row.get()));
    return row;
}

}  // namespace qnps_test
