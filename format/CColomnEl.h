#pragma once

#include "model/CQnPSColumnDef.h"

namespace format {

// A column the document writer has written, as a merge sees it: the table's definition (borrowed),
// the index of the row that last wrote a value for it (-1 when none), and where the old document
// keeps the column of that name (-1 when nowhere).
// (The misspelt name is the design's own, kept so that its readers find it.)
struct CColomnEl {
    model::CQnPSColumnDef* column = nullptr;
    long position = -1;
    long oldSlot = -1;
};

}  // namespace format
