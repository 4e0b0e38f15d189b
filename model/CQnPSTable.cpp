#include "model/CQnPSTable.h"

#include "model/ObjectTypes.h"
#include "model/TextField.h"

namespace model {
namespace {

constexpr wchar_t kLayoutColumn[] = L"Layout";
constexpr wchar_t kTabOrderColumn[] = L"TabOrder";

}  // namespace

CQnPSColumnDefCollection* CQnPSTable::Definitions() const noexcept {
    return OwnObject<CQnPSColumnDefCollection>(columnDefs_.get(), qnpsObjType_ColumnDefCollection);
}

CQnPSRowCollection* CQnPSTable::RowCollection() const noexcept {
    return OwnObject<CQnPSRowCollection>(rows_.get(), qnpsObjType_RowCollection);
}

void CQnPSTable::SetCollections(CQnPSColumnDefCollection* definitions, CQnPSRowCollection* rows) noexcept {
    columnDefs_ = com::ComPtr<IQnPSColumnDefCollection>(definitions);
    rows_ = com::ComPtr<IQnPSRowCollection>(rows);
}

STDMETHODIMP CQnPSTable::GetColumnDefs(qnpsColumnDefCollectionType eType,
                                       IQnPSColumnDefCollection** ppColumnDefs) {
    return Guarded([&] {
        if (!ppColumnDefs) return E_INVALIDARG;
        *ppColumnDefs = nullptr;
        if (!columnDefs_) return S_OK;
        // The table's own collection, not a copy: what the caller adds to it, the table has.
        if (eType == qnpsDefinitions_All) {
            return columnDefs_->QueryInterface(IID_IQnPSColumnDefCollection,
                                               reinterpret_cast<void**>(ppColumnDefs));
        }
        const CQnPSColumnDefCollection* definitions = Definitions();
        if (!definitions) return S_OK;
        com::ComPtr<IQnPSColumnDefCollection>(definitions->Select(eType).get()).copy_to(ppColumnDefs);
        return S_OK;
    });
}

STDMETHODIMP CQnPSTable::put_ColumnDefs(IQnPSColumnDefCollection* newVal) {
    return Guarded([&] {
        if (!newVal) return E_INVALIDARG;
        columnDefs_.reset();
        // Anything but a definitions collection leaves the table without definitions, silently.
        if (Narrow(newVal, qnpsObjType_ColumnDefCollection)) {
            columnDefs_ = com::ComPtr<IQnPSColumnDefCollection>(newVal);
        }
        return S_OK;
    });
}

STDMETHODIMP CQnPSTable::get_Rows(IQnPSRowCollection** ppRows) {
    return Guarded([&] {
        if (!ppRows) return E_INVALIDARG;
        *ppRows = nullptr;
        if (!rows_) return S_OK;
        return rows_->QueryInterface(IID_IQnPSRowCollection, reinterpret_cast<void**>(ppRows));
    });
}

STDMETHODIMP CQnPSTable::put_Rows(IQnPSRowCollection* newVal) {
    return Guarded([&] {
        if (!newVal) return E_INVALIDARG;
        rows_.reset();
        if (Narrow(newVal, qnpsObjType_RowCollection)) rows_ = com::ComPtr<IQnPSRowCollection>(newVal);
        return S_OK;
    });
}

STDMETHODIMP CQnPSTable::get_Application(BSTR* pBstName) {
    return Guarded([&] { return GetTextField(application_, pBstName); });
}

STDMETHODIMP CQnPSTable::put_Application(BSTR newVal) {
    return Guarded([&] {
        // Unlike a column's name, the application may be cleared with null.
        SetTextField(application_, newVal);
        return S_OK;
    });
}

STDMETHODIMP CQnPSTable::get_Property(BSTR RowID, BSTR Name, IQnPSProperty** ppProperty) {
    return Guarded([&] {
        if (!ppProperty || !RowID || !Name) return E_INVALIDARG;
        *ppProperty = nullptr;
        const CQnPSRowCollection* rows = RowCollection();
        const CQnPSRow* row = rows ? rows->FindRowByID(RowID) : nullptr;
        CQnPSProperty* property = row ? row->FindProperty(Name) : nullptr;
        if (property) com::ComPtr<IQnPSProperty>(property).copy_to(ppProperty);
        return S_OK;
    });
}

STDMETHODIMP CQnPSTable::get_LayoutsNames(VARIANT* pvArray) {
    return Guarded([&] {
        // Without rows the caller's variant is not even initialised: S_FALSE says nothing was done.
        if (!rows_) return S_FALSE;
        const com::UniqueBstr column = com::CopyText(kLayoutColumn);
        return rows_->get_UniqueColumnValues(column.get(), pvArray);
    });
}

com::UniqueBstr CQnPSTable::LayoutText(const CQnPSProperty& layout) {
    const VARIANT& value = layout.Value();
    if (value.vt == VT_BSTR) return com::CopyText(value.bstrVal);
    com::UniqueVariant text;
    com::ThrowIfFailed(::VariantChangeType(text.put(), const_cast<VARIANT*>(&value), 0, VT_BSTR));
    return text.TakeText();
}

STDMETHODIMP CQnPSTable::get_TabOrderByLayoutName(BSTR Name, long* plTabOrder) {
    return Guarded([&] {
        if (!plTabOrder || com::IsEmptyBstr(Name)) return E_INVALIDARG;
        *plTabOrder = -1;
        const CQnPSRowCollection* rows = RowCollection();
        if (!rows) return S_OK;
        for (size_t i = 0; i < rows->ItemCount(); ++i) {
            const CQnPSRow* row = rows->RowAt(i);
            const CQnPSProperty* layout = row ? row->FindProperty(kLayoutColumn) : nullptr;
            if (!layout) continue;
            const com::UniqueBstr text = LayoutText(*layout);
            if (com::IsEmptyBstr(text.get()) || !com::NamesEqual(text.get(), Name)) continue;
            // Only the layout's first row counts, and only a VT_I4 in an Int column: a tab order
            // kept as text or as another type means the layout has none.
            const CQnPSProperty* tabOrder = row->FindProperty(kTabOrderColumn);
            const CQnPSColumnDef* definition = tabOrder ? tabOrder->Definition() : nullptr;
            if (definition && definition->PropType() == qnpsPropType_Int && tabOrder->Value().vt == VT_I4) {
                *plTabOrder = tabOrder->Value().lVal;
            }
            return S_OK;
        }
        return S_OK;
    });
}

}  // namespace model
