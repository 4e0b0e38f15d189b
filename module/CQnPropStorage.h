#pragma once

#include "model/CPSObjectBase.h"
#include "model/CellSource.h"

namespace module {

// The library's entry object, the one class clients create: it makes empty model objects and
// reads and writes property tables in streams. It keeps no state between calls but the block that
// its next cells come from.
class CQnPropStorage final : public model::CPSObjectBase<IQnPropertyStorage> {
public:
    CQnPropStorage() noexcept { SetObjectType(qnpsObjType_QnPropertyStorage); }

    STDMETHODIMP CreateQnPSObject(qnpsObjectType eType, IQnPSObject** ppObject) override;
    STDMETHODIMP ReadProperties(IUnknown* pStream, IQnPSTable** ppTable) override;
    STDMETHODIMP WriteProperties(IUnknown* pStream, IQnPSTable* pTable, long iFlags) override;

private:
    model::CellSource cells_;
};

}  // namespace module
