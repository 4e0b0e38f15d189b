#pragma once

#include "com/ComPtr.h"
#include "model/CQnPSProperty.h"
#include "model/CellBlock.h"

namespace model {

// Where a storage object's cells come from: blocks of CellBlock::kHostCells slots, one open at a
// time, closed when full or when the source goes.
class CellSource {
public:
    // A new empty cell holding one reference; throws std::bad_alloc.
    com::ComPtr<CQnPSProperty> NewCell();

private:
    OpenCellBlock open_;
};

}  // namespace model
