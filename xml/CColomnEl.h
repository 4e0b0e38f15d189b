#pragma once

#include "model/CQnPSColumnDef.h"
#include "xml/CListEntryBase.h"

namespace xml {

// A column the document writer has written: its name, the table's definition of it (borrowed) and
// the index of the row that last wrote a value for it (-1 when none).
class CColomnEl : public CListEntryBase {
public:
    CColomnEl(std::wstring columnName, model::CQnPSColumnDef* definition)
        : CListEntryBase(std::move(columnName)), column(definition) {}

    long position = -1;
    model::CQnPSColumnDef* column = nullptr;
};

}  // namespace xml
