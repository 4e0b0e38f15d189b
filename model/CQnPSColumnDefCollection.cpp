#include "model/CQnPSColumnDefCollection.h"

#include "model/ObjectTypes.h"

namespace model {

CQnPSColumnDef* CQnPSColumnDefCollection::DefinitionAt(size_t index) const noexcept {
    return OwnObject<CQnPSColumnDef>(ItemAt(index), qnpsObjType_ColumnDef);
}

CQnPSColumnDef* CQnPSColumnDefCollection::FindByName(const wchar_t* name) const noexcept {
    if (!name) return nullptr;
    for (size_t i = 0; i < ItemCount(); ++i) {
        CQnPSColumnDef* definition = DefinitionAt(i);
        if (definition && definition->HasName(name)) return definition;
    }
    return nullptr;
}

com::UniqueBstr CQnPSColumnDefCollection::NameOf(IQnPSColumnDef* definition) {
    com::UniqueBstr name;
    if (definition) definition->get_Name(name.put());
    return name;
}

STDMETHODIMP CQnPSColumnDefCollection::get_ColumnDef(BSTR Name, IQnPSColumnDef** ppColumnDef) {
    return Guarded([&] {
        if (!Name || !ppColumnDef) return E_INVALIDARG;
        *ppColumnDef = nullptr;
        if (CQnPSColumnDef* definition = FindByName(Name)) {
            return definition->QueryInterface(IID_IQnPSColumnDef, reinterpret_cast<void**>(ppColumnDef));
        }
        return S_OK;
    });
}

STDMETHODIMP CQnPSColumnDefCollection::HasDefinition(IQnPSColumnDef* pColumnDef, VARIANT_BOOL* pfHas) {
    return Guarded([&] {
        const com::UniqueBstr name = NameOf(pColumnDef);
        const bool found = pColumnDef && FindByName(name.get());
        if (pfHas) *pfHas = found ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    });
}

STDMETHODIMP CQnPSColumnDefCollection::AddDefinition(IQnPSColumnDef* pColumnDef) {
    return Guarded([&] {
        if (!pColumnDef) return S_FALSE;
        const com::UniqueBstr name = NameOf(pColumnDef);
        // A duplicate is no error: readers merge definitions by adding them all and ignoring S_FALSE.
        if (FindByName(name.get())) return S_FALSE;
        Append(pColumnDef);
        return S_OK;
    });
}

com::ComPtr<CQnPSColumnDefCollection> CQnPSColumnDefCollection::Select(
    qnpsColumnDefCollectionType selection) const {
    auto selected = com::MakeObject<CQnPSColumnDefCollection>();
    const bool ordered = selection == qnpsDefinitions_Ordered;
    for (size_t i = 0; i < ItemCount(); ++i) {
        CQnPSColumnDef* definition = DefinitionAt(i);
        if (!definition) continue;
        const long order = definition->Order();
        if (!ordered) {
            if (order < 0) selected->Append(ItemAt(i));
            continue;
        }
        if (order < 0) continue;
        // Before the first item of a strictly greater order: equal orders keep collection order.
        size_t position = 0;
        while (position < selected->ItemCount() &&
               selected->DefinitionAt(position)->Order() <= order) {
            ++position;
        }
        selected->Insert(position, ItemAt(i));
    }
    return selected;
}

}  // namespace model
