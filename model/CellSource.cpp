#include "model/CellSource.h"

namespace model {

com::ComPtr<CQnPSProperty> CellSource::NewCell() {
    if (open_) {
        if (auto cell = CQnPSProperty::CreateIn(*open_)) return cell;
    }
    open_.reset(CellBlock::Create(CellBlock::kHostCells, 0));
    return CQnPSProperty::CreateIn(*open_);
}

}  // namespace model
