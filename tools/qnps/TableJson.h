#pragma once

#include <string>


#include "JsonParser.h"
#include "PropertyTable.h"

namespace qnps {

// The tool's JSON form of a property table (docs/qnps.md), written by export and read by import.
class TableJson {
public:
    using Json = JsonParser::Json;

    static Json Write(const PropertyTable& table);
    // Checks the whole form; a fault throws ToolError naming where it is, after `source`.
    static PropertyTable Read(const std::string& text, const std::string& source);

private:
    static PropertyTable::Column ReadColumn(const Json& json, const std::string& where);
    static PropertyTable::Row ReadRow(const Json& json, const PropertyTable& table, const std::string& where);
    static com::UniqueVariant ReadValue(const Json& json, long type, const std::string& where);
};

}  // namespace qnps
