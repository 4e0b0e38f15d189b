#pragma once

#include "model/CQnPSCollectionBase.h"
#include "model/CQnPSColumnDef.h"

namespace model {

// The column definitions of a table, in insertion order. Nothing stops other objects or duplicate
// names from being added; every lookup skips what is not a column definition, and the first
// definition of a name wins.
class CQnPSColumnDefCollection final : public CQnPSCollectionBase<IQnPSColumnDefCollection1> {
public:
    CQnPSColumnDefCollection() noexcept { SetObjectType(qnpsObjType_ColumnDefCollection); }

    STDMETHODIMP get_ColumnDef(BSTR Name, IQnPSColumnDef** ppColumnDef) override;
    STDMETHODIMP HasDefinition(IQnPSColumnDef* pColumnDef, VARIANT_BOOL* pfHas) override;
    STDMETHODIMP AddDefinition(IQnPSColumnDef* pColumnDef) override;

    // The definition at `index`, or null when that item is not one of ours.
    CQnPSColumnDef* DefinitionAt(size_t index) const noexcept;
    CQnPSColumnDef* FindByName(const wchar_t* name) const noexcept;

    // A new collection sharing the definitions of this one: for qnpsDefinitions_Ordered those with
    // an order of 0 or more, stably sorted by order; for any other value those with a negative
    // order, in collection order.
    com::ComPtr<CQnPSColumnDefCollection> Select(qnpsColumnDefCollectionType selection) const;

private:
    // The name a client's definition reports, or null when it cannot say.
    static com::UniqueBstr NameOf(IQnPSColumnDef* definition);
};

}  // namespace model
