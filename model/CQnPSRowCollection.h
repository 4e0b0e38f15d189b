#pragma once

#include "model/CQnPSCollectionBase.h"
#include "model/CQnPSRow.h"

namespace model {

// The rows of a table, in insertion order, with the lookups a host needs: a row by a cell value or
// by identifier, and a column's values or distinct values as arrays.
class CQnPSRowCollection final : public CQnPSCollectionBase<IQnPSRowCollection> {
public:
    CQnPSRowCollection() noexcept { SetObjectType(qnpsObjType_RowCollection); }

    STDMETHODIMP get_Row(BSTR ColumnName, VARIANT Value, IQnPSRow** ppRow) override;
    STDMETHODIMP get_RowByID(BSTR RowID, IQnPSRow** ppRow) override;
    STDMETHODIMP get_ColumnValues(BSTR ColumnName, VARIANT* pvArray) override;
    STDMETHODIMP get_UniqueColumnValues(BSTR ColumnName, VARIANT* pvArray) override;

    // The row at `index`, or null when that item is not one of our rows.
    CQnPSRow* RowAt(size_t index) const noexcept;
    // The first row whose non-empty identifier equals `id` without regard to case.
    CQnPSRow* FindRowByID(const wchar_t* id) const noexcept;

    // The distinct non-empty values of a column in order of first occurrence, VT_EMPTY when
    // there are none.
    void UniqueValues(const wchar_t* columnName, VARIANT* result) const;
};

}  // namespace model
