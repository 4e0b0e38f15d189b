#pragma once

#include "model/CQnPSCollectionBase.h"

namespace model {

// The generic collection: any objects of the library, in the order added.
class CQnPSObjCollection final : public CQnPSCollectionBase<IQnPSCollection> {
public:
    CQnPSObjCollection() noexcept { SetObjectType(qnpsObjType_QnPSCollection); }
};

}  // namespace model
