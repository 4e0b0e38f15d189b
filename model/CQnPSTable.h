#pragma once

#include "model/CPSObjectBase.h"
#include "model/CQnPSColumnDefCollection.h"
#include "model/CQnPSRowCollection.h"

namespace model {

// The root of a property table: its column definitions, its rows and the name of the host
// application it belongs to. It also answers the layout questions of drawing applications from
// the columns "Layout" and "TabOrder".
class CQnPSTable final : public CPSObjectBase<IQnPSTable> {
public:
    CQnPSTable() noexcept { SetObjectType(qnpsObjType_Table); }

    STDMETHODIMP GetColumnDefs(qnpsColumnDefCollectionType eType,
                               IQnPSColumnDefCollection** ppColumnDefs) override;
    STDMETHODIMP put_ColumnDefs(IQnPSColumnDefCollection* newVal) override;
    STDMETHODIMP get_Rows(IQnPSRowCollection** ppRows) override;
    STDMETHODIMP put_Rows(IQnPSRowCollection* newVal) override;
    STDMETHODIMP get_Application(BSTR* pBstName) override;
    STDMETHODIMP put_Application(BSTR newVal) override;
    STDMETHODIMP get_Property(BSTR RowID, BSTR Name, IQnPSProperty** ppProperty) override;
    STDMETHODIMP get_LayoutsNames(VARIANT* pvArray) override;
    STDMETHODIMP get_TabOrderByLayoutName(BSTR Name, long* plTabOrder) override;

    // The collections when they are the library's own, else null.
    CQnPSColumnDefCollection* Definitions() const noexcept;
    CQnPSRowCollection* RowCollection() const noexcept;
    BSTR Application() const noexcept { return application_.get(); }

    void SetApplication(const wchar_t* name) { application_ = com::CopyText(name); }
    void SetCollections(CQnPSColumnDefCollection* definitions, CQnPSRowCollection* rows) noexcept;

private:
    // The row's "Layout" value as text; a value of another type is converted as automation does.
    static com::UniqueBstr LayoutText(const CQnPSProperty& layout);

    com::ComPtr<IQnPSColumnDefCollection> columnDefs_;
    com::ComPtr<IQnPSRowCollection> rows_;
    com::UniqueBstr application_;
};

}  // namespace model
