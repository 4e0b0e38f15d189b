#pragma once

#include <string>

#include "PropertyTable.h"

namespace qnps {

// The table for people (aligned columns) and for spreadsheets (CSV), in UTF-8.
class TableText {
public:
    static std::string Show(const PropertyTable& table);
    // RFC 4180: a header of "RowID" and the column names, CR LF line ends, quoted where needed.
    static std::string Csv(const PropertyTable& table);
};

}  // namespace qnps
