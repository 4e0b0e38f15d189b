#include "module/CQnPropStorage.h"

#include "format/TableDocument.h"
#include "model/CQnPSObjCollection.h"
#include "model/CQnPSTable.h"
#include "model/ObjectTypes.h"

namespace module {

using model::CQnPSTable;
using model::OwnObject;
namespace {

template <class T>
HRESULT Hand(const com::ComPtr<T>& created, IQnPSObject** object) {
    return created->QueryInterface(IID_IQnPSObject, reinterpret_cast<void**>(object));
}

template <class T>
HRESULT CreateAs(IQnPSObject** object) {
    return Hand(com::MakeObject<T>(), object);
}

}  // namespace

STDMETHODIMP CQnPropStorage::CreateQnPSObject(qnpsObjectType eType, IQnPSObject** ppObject) {
    return Guarded([&] {
        if (!ppObject) return E_INVALIDARG;
        *ppObject = nullptr;
        switch (static_cast<unsigned long>(eType)) {
            case qnpsObjType_QnPSObject:
            case qnpsObjType_QnPropertyStorage: return static_cast<HRESULT>(QNPS_E_UNKNOWNOBJECTTYPE);
            case qnpsObjType_QnPSCollection: return CreateAs<model::CQnPSObjCollection>(ppObject);
            case qnpsObjType_QnPSProperty: return Hand(cells_.NewCell(), ppObject);
            case qnpsObjType_ColumnDef: return CreateAs<model::CQnPSColumnDef>(ppObject);
            case qnpsObjType_Table: return CreateAs<model::CQnPSTable>(ppObject);
            case qnpsObjType_ColumnDefCollection: return CreateAs<model::CQnPSColumnDefCollection>(ppObject);
            case qnpsObjType_Row: return CreateAs<model::CQnPSRow>(ppObject);
            case qnpsObjType_RowCollection: return CreateAs<model::CQnPSRowCollection>(ppObject);
            // Any other type is no error: the caller just gets no object.
            default: return S_OK;
        }
    });
}

STDMETHODIMP CQnPropStorage::ReadProperties(IUnknown* pStream, IQnPSTable** ppTable) {
    return Guarded([&] {
        const auto stream = com::ComPtr<IUnknown>(pStream).try_query<IStream>();
        if (!stream || !ppTable) return E_INVALIDARG;
        *ppTable = nullptr;
        STATSTG status{};
        if (FAILED(stream->Stat(&status, STATFLAG_NONAME)) || status.cbSize.QuadPart == 0) {
            return static_cast<HRESULT>(QNPS_E_WRONGXMLFILE);
        }
        com::ComPtr<CQnPSTable> table;
        const HRESULT hr = format::ReadTable(stream.get(), table);
        if (!table) return hr;
        return table->QueryInterface(IID_IQnPSTable, reinterpret_cast<void**>(ppTable));
    });
}

STDMETHODIMP CQnPropStorage::WriteProperties(IUnknown* pStream, IQnPSTable* pTable, long iFlags) {
    return Guarded([&] {
        const auto stream = com::ComPtr<IUnknown>(pStream).try_query<IStream>();
        // The table's collections are walked directly, so it must be one of ours.
        CQnPSTable* table = OwnObject<CQnPSTable>(pTable, qnpsObjType_Table);
        if (!stream || !table || !table->Definitions() || !table->RowCollection()) return E_INVALIDARG;
        STATSTG status{};
        const HRESULT stat = stream->Stat(&status, STATFLAG_NONAME);
        if (FAILED(stat)) return stat;
        if ((status.grfMode & (STGM_WRITE | STGM_READWRITE)) == 0) {
            return static_cast<HRESULT>(QNPS_E_STREAMISREADONLY);
        }
        const HRESULT written = format::WriteTable(stream.get(), *table, iFlags, status.cbSize.QuadPart);
        return written == S_OK ? stat : written;
    });
}

}  // namespace module
