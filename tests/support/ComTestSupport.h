#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "QnPropStorage.h"
#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/Platform.h"
#include "com/UniqueVariant.h"

namespace qnps_test {

using com::ComPtr;
using com::UniqueBstr;
using com::UniqueVariant;

// A string the test owns; aborts the test on allocation failure.
UniqueBstr Bstr(const wchar_t* text);
std::wstring Text(BSTR text);

UniqueVariant VariantOf(const wchar_t* text);
UniqueVariant VariantOf(long value);
UniqueVariant VariantOfDouble(double value);

// The reference count an object reports after one AddRef/Release pair.
ULONG RefCount(IUnknown* object);

// What the library's DllCanUnloadNow answers now: S_OK once every object and lock is gone.
HRESULT ModuleCanUnloadNow();

// The element values of a VT_ARRAY | VT_VARIANT as one text each (VT_EMPTY as "<empty>").
std::wstring ArrayText(const VARIANT& array);

// A pointer value no object has: an out-parameter still holding it was never written.
template <class T>
T* Unwritten() {
    return reinterpret_cast<T*>(static_cast<std::uintptr_t>(0xBADC0DE));
}

// Whether the object answers QueryInterface for `iid`; the reference taken is given back.
bool Answers(IUnknown* object, REFIID iid);
// Whether two pointers reach the same COM object (same IUnknown identity); never for null.
bool SameObject(IUnknown* a, IUnknown* b);

long CountOf(IQnPSCollection* collection);
ComPtr<IQnPSObject> ItemOf(IQnPSCollection* collection, long index);
// The names of the items of a collection, comma-separated; "?" for an item that is not a column
// definition. Identifies which definitions a selection holds, and in which order.
std::wstring ColumnNames(IQnPSCollection* collection);

// Base of every test that uses the library: creates the storage object through the registry, as a
// host does, and checks at the end that every object the test made is gone.
class ComTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

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
    // A table with its two collections, named after the application.
    ComPtr<IQnPSTable> MakeTable(const wchar_t* application = nullptr);
    ComPtr<IQnPSColumnDefCollection1> Definitions(IQnPSTable* table);
    ComPtr<IQnPSRowCollection> Rows(IQnPSTable* table);
    // Appends a row with one cell per (column, value) pair.
    ComPtr<IQnPSRow> AddRow(IQnPSTable* table, const wchar_t* id,
                            std::initializer_list<std::pair<IQnPSColumnDef*, const VARIANT*>> cells);

    ComPtr<IQnPropertyStorage> storage_;
};

}  // namespace qnps_test
