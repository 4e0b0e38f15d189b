#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace qnps {

// JSON text to a document, stricter than the library's own parse: a key given twice in one object
// is refused (the library would keep the last), and every fault, a number out of range included,
// is a ToolError that names `source` and the place.
class JsonParser {
public:
    using Json = nlohmann::ordered_json;

    static Json Parse(const std::string& text, const std::string& source);
};

}  // namespace qnps
