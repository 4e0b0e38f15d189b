#pragma once

#include "com/Platform.h"

#include <optional>
#include <string>
#include <string_view>

namespace qnps {

// The words the tool uses for column types and directions, and the text of a cell's value by its
// column's type, shared by every output form.
class ValueText {
public:
    static const char* TypeName(long type);
    static std::optional<long> TypeOf(std::string_view name);
    static const char* DirectionName(long direction);
    static std::optional<long> DirectionOf(std::string_view name);

    // The value as the library reads it back: Int VT_I4, Date and Double VT_R8, Bool VT_I2,
    // String VT_BSTR. Dates are ISO 8601, doubles their shortest exact decimal, booleans true and
    // false. Empty and null values have no text.
    static std::optional<std::string> Of(long type, const VARIANT& value);
    static std::string Double(double value);
    // The whole text as a double, as Double writes it.
    static std::optional<double> ParseDouble(std::string_view text);
};

}  // namespace qnps
