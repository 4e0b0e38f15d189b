#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "QnPropStorage.h"
#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/Platform.h"
#include "com/UniqueVariant.h"

namespace qnps_test {

using com::ComPtr;
using com::UniqueBstr;
using com::UniqueVariant;

// The command line's arguments after GoogleTest's own, as full paths.
extern std::vector<std::wstring> arguments;

inline UniqueBstr Bstr(const wchar_t* text) { return com::CopyText(text); }
inline std::wstring Text(BSTR text) { return std::wstring(text ? text : L"", com::BstrLength(text)); }
inline UniqueVariant VariantOf(const wchar_t* text) { return UniqueVariant::Text(text); }
inline UniqueVariant VariantOf(long value) { return UniqueVariant::Int(value); }
inline UniqueVariant VariantOfDouble(double value) { return UniqueVariant::Double(value); }
// After one AddRef/Release pair.
inline ULONG RefCount(IUnknown* object) { return object->AddRef(), object->Release(); }
// S_OK once every object and lock of the library is gone.
HRESULT ModuleCanUnloadNow();
// As invariant text ("<empty>", "<null>"); a VT_ARRAY | VT_VARIANT as its elements, comma-separated.
std::wstring ValueText(const VARIANT& value);

// A pointer no object has: an out-parameter still holding it was never written.
template <class T>
T* Unwritten() {
    return reinterpret_cast<T*>(static_cast<std::uintptr_t>(0xBADC0DE));
}

bool Answers(IUnknown* object, REFIID iid);
// Same IUnknown identity; false for null, so a missing object fails instead of crashing.
bool SameObject(IUnknown* a, IUnknown* b);
long CountOf(IQnPSCollection* collection);
ComPtr<IQnPSObject> ItemOf(IQnPSCollection* collection, long index);
// Item names comma-separated, "?" for an item that is not a column definition.
std::wstring ColumnNames(IQnPSCollection* collection);

// Creates the storage object through the registry, as a host does; at the end, nothing may be left.
class ComTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(S_OK, ::CoCreateInstance(CLSID_CQnPropStorage, nullptr, CLSCTX_INPROC_SERVER,
                                           IID_IQnPropertyStorage, storage_.put_void()));
    }
    void TearDown() override {
        storage_.reset();
        EXPECT_EQ(S_OK, ModuleCanUnloadNow()) << "objects or locks outlived the test";
    }

    template <class T>
    ComPtr<T> Create(qnpsObjectType type) {
        ComPtr<IQnPSObject> object;
        EXPECT_EQ(S_OK, storage_->CreateQnPSObject(type, object.put()));
        return object ? object.query<T>() : ComPtr<T>();
    }
    ComPtr<IQnPSColumnDef> MakeColumn(const wchar_t* name, qnpsPropertyType type = qnpsPropType_String,
                                      long order = -1);
    ComPtr<IQnPSProperty> MakeCell(IQnPSColumnDef* column, const VARIANT& value);
    ComPtr<IQnPSRow> MakeRow(const wchar_t* id);
    ComPtr<IQnPSTable> MakeTable(const wchar_t* application = nullptr);
    ComPtr<IQnPSColumnDefCollection1> Definitions(IQnPSTable* table) {
        ComPtr<IQnPSColumnDefCollection> all;
        EXPECT_EQ(S_OK, table->GetColumnDefs(qnpsDefinitions_All, all.put()));
        return all ? all.query<IQnPSColumnDefCollection1>() : ComPtr<IQnPSColumnDefCollection1>();
    }
    ComPtr<IQnPSRowCollection> Rows(IQnPSTable* table) {
        ComPtr<IQnPSRowCollection> rows;
        EXPECT_EQ(S_OK, table->get_Rows(rows.put()));
        return rows;
    }
    ComPtr<IQnPSRow> AddRow(IQnPSTable* table, const wchar_t* id,
                            std::initializer_list<std::pair<IQnPSColumnDef*, const VARIANT*>> cells);

    ComPtr<IQnPropertyStorage> storage_;
};

}  // namespace qnps_test
