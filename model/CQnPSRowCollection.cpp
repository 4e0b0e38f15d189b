#include "model/CQnPSRowCollection.h"

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "com/SafeArray.h"
#include "model/ObjectTypes.h"
#include "model/VariantEquality.h"
#include "model/VariantHash.h"
#include "values/VariantArray.h"

namespace model {

CQnPSRow* CQnPSRowCollection::RowAt(size_t index) const noexcept {
    return OwnObject<CQnPSRow>(ItemAt(index), qnpsObjType_Row);
}

CQnPSRow* CQnPSRowCollection::FindRowByID(const wchar_t* id) const noexcept {
    if (!id) return nullptr;
    for (size_t i = 0; i < ItemCount(); ++i) {
        CQnPSRow* row = RowAt(i);
        if (row && row->HasRowID(id)) return row;
    }
    return nullptr;
}

STDMETHODIMP CQnPSRowCollection::get_Row(BSTR ColumnName, VARIANT Value, IQnPSRow** ppRow) {
    return Guarded([&] {
        if (!ColumnName || !ppRow) return E_INVALIDARG;
        *ppRow = nullptr;
        const VARIANT& wanted =
            (Value.vt == (VT_BYREF | VT_VARIANT) && Value.pvarVal) ? *Value.pvarVal : Value;
        for (size_t i = 0; i < ItemCount(); ++i) {
            CQnPSRow* row = RowAt(i);
            if (!row) continue;
            const CQnPSProperty* cell = row->FindProperty(ColumnName);
            if (cell && VariantsEqual(cell->Value(), wanted)) {
                com::ComPtr<IQnPSRow>(row).copy_to(ppRow);
                return S_OK;
            }
        }
        return S_OK;
    });
}

STDMETHODIMP CQnPSRowCollection::get_RowByID(BSTR RowID, IQnPSRow** ppRow) {
    return Guarded([&] {
        if (!RowID || !ppRow) return E_INVALIDARG;
        *ppRow = nullptr;
        if (CQnPSRow* row = FindRowByID(RowID)) com::ComPtr<IQnPSRow>(row).copy_to(ppRow);
        return S_OK;
    });
}

STDMETHODIMP CQnPSRowCollection::get_ColumnValues(BSTR ColumnName, VARIANT* pvArray) {
    return Guarded([&] {
        if (!ColumnName || !pvArray) return E_INVALIDARG;
        com::InitOut(pvArray);
        if (ItemCount() < 1) return S_OK;
        values::VariantArray result;
        // No array for want of memory is a failure, not a column without values.
        com::ThrowIfFailed(result.Create(VT_VARIANT, static_cast<ULONG>(ItemCount())));
        {
            // Parallel to the collection: an item without the column leaves its element empty.
            com::SafeArrayData<VARIANT> elements(result.Array());
            for (size_t i = 0; i < ItemCount(); ++i) {
                const CQnPSRow* row = RowAt(i);
                const CQnPSProperty* cell = row ? row->FindProperty(ColumnName) : nullptr;
                if (cell) com::ThrowIfFailed(com::CopyVariant(&elements[i], cell->Value()));
            }
        }
        result.Detach(pvArray);
        return S_OK;
    });
}

STDMETHODIMP CQnPSRowCollection::get_UniqueColumnValues(BSTR ColumnName, VARIANT* pvArray) {
    return Guarded([&] {
        if (!ColumnName || !pvArray) return E_INVALIDARG;
        com::InitOut(pvArray);
        UniqueValues(ColumnName, pvArray);
        return S_OK;
    });
}

void CQnPSRowCollection::UniqueValues(const wchar_t* columnName, VARIANT* result) const {
    if (ItemCount() < 1) return;
    values::VariantArray unique;
    com::ThrowIfFailed(unique.Create(VT_VARIANT, static_cast<ULONG>(ItemCount())));
    size_t collected = 0;
    {
        com::SafeArrayData<VARIANT> elements(unique.Array());
        // Values collected so far by their equality hash; those without one are compared with all.
        std::unordered_multimap<std::uint64_t, size_t> hashed;
        hashed.reserve(ItemCount());
        std::vector<size_t> unhashed;
        for (size_t i = 0; i < ItemCount(); ++i) {
            const CQnPSRow* row = RowAt(i);
            const CQnPSProperty* cell = row ? row->FindProperty(columnName) : nullptr;
            if (!cell || cell->Value().vt == VT_EMPTY || cell->Value().vt == VT_NULL) continue;
            const VARIANT& value = cell->Value();
            const auto equal = [&](size_t j) { return VariantsEqual(elements[j], value); };
            std::uint64_t hash = 0;
            const bool hasHash = EqualityHash(value, hash);
            bool seen = false;
            if (!hasHash) {
                for (size_t j = 0; j < collected && !seen; ++j) seen = equal(j);
            } else {
                seen = std::any_of(unhashed.begin(), unhashed.end(), equal);
                for (auto [at, end] = hashed.equal_range(hash); at != end && !seen; ++at) seen = equal(at->second);
            }
            if (seen) continue;
            com::ThrowIfFailed(com::CopyVariant(&elements[collected], value));
            if (hasHash) {
                hashed.emplace(hash, collected);
            } else {
                unhashed.push_back(collected);
            }
            ++collected;
        }
    }
    if (collected == 0) return;
    if (collected < ItemCount()) com::ThrowIfFailed(unique.Redim(static_cast<ULONG>(collected)));
    unique.Detach(result);
}

}  // namespace model
