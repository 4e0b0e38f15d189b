#include "model/CQnPropStorage.h"

#include "model/CQnPSObjCollection.h"
#include "model/CQnPSTable.h"

namespace model {
namespace {

template <class T>
HRESULT CreateAs(IQnPSObject** object) {
    auto created = com::MakeObject<T>();
    return created->QueryInterface(IID_IQnPSObject, reinterpret_cast<void**>(object));
}

}  // namespace

STDMETHODIMP CQnPropStorage::CreateQnPSObject(qnpsObjectType eType, IQnPSObject** ppObject) {
    return Guarded([&] {
        if (!ppObject) return E_INVALIDARG;
        *ppObject = nullptr;
        switch (static_cast<unsigned long>(eType)) {
            case qnpsObjType_QnPSObject:
            case qnpsObjType_QnPropertyStorage: return static_cast<HRESULT>(QNPS_E_UNKNOWNOBJECTTYPE);
            case qnpsObjType_QnPSCollection: return CreateAs<CQnPSObjCollection>(ppObject);
            case qnpsObjType_QnPSProperty: return CreateAs<CQnPSProperty>(ppObject);
            case qnpsObjType_ColumnDef: return CreateAs<CQnPSColumnDef>(ppObject);
            case qnpsObjType_Table: return CreateAs<CQnPSTable>(ppObject);
            case qnpsObjType_ColumnDefCollection: return CreateAs<CQnPSColumnDefCollection>(ppObject);
            case qnpsObjType_Row: return CreateAs<CQnPSRow>(ppObject);
            case qnpsObjType_RowCollection: return CreateAs<CQnPSRowCollection>(ppObject);
            // Any other type is no error: the caller just gets no object.
            default: return S_OK;
        }
    });
}

STDMETHODIMP CQnPropStorage::ReadProperties(IUnknown*, IQnPSTable**) { return E_NOTIMPL; }

STDMETHODIMP CQnPropStorage::WriteProperties(IUnknown*, IQnPSTable*, long) { return E_NOTIMPL; }

}  // namespace model
