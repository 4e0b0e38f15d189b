#include "JsonParser.h"

#include <algorithm>
#include <set>
#include <vector>

#include "ToolError.h"

namespace qnps {
namespace {

using Json = JsonParser::Json;

// Builds the document through the library's own builder and keeps the path to the value being
// read, which the builder does not tell.
class CheckingBuilder {
public:
    CheckingBuilder(Json& result, const std::string& text, const std::string& source)
        : builder_(result), text_(text), source_(source) {}

    bool null() { return Begin(), builder_.null(); }
    bool boolean(bool value) { return Begin(), builder_.boolean(value); }
    bool number_integer(Json::number_integer_t value) { return Begin(), builder_.number_integer(value); }
    bool number_unsigned(Json::number_unsigned_t value) { return Begin(), builder_.number_unsigned(value); }
    bool number_float(Json::number_float_t value, const Json::string_t& text) {
        return Begin(), builder_.number_float(value, text);
    }
    bool string(Json::string_t& value) { return Begin(), builder_.string(value); }
    bool binary(Json::binary_t& value) { return Begin(), builder_.binary(value); }
    bool start_object(std::size_t size) {
        Begin();
        frames_.emplace_back(false);
        return builder_.start_object(size);
    }
    bool key(Json::string_t& key) {
        Frame& object = frames_.back();
        if (!object.keys.insert(key).second) {
            const std::string where = Where();
            throw ToolError(source_ + ": " + (where.empty() ? "" : where + ": ") + "the key \"" + key +
                            "\" appears twice");
        }
        object.key = key;
        return builder_.key(key);
    }
    bool end_object() { return frames_.pop_back(), builder_.end_object(); }
    bool start_array(std::size_t size) {
        Begin();
        frames_.emplace_back(true);
        return builder_.start_array(size);
    }
    bool end_array() { return frames_.pop_back(), builder_.end_array(); }

    // Syntax errors carry their line and column; a number out of range carries neither.
    template <class Exception>
    bool parse_error(std::size_t position, const std::string& token, const Exception& error) {
        if (error.id >= 100 && error.id < 200) {
            const std::string what = error.what();
            const size_t bracket = what.find("] ");
            throw ToolError(source_ + ": bad JSON: " + (bracket == std::string::npos ? what : what.substr(bracket + 2)));
        }
        const std::string before = text_.substr(0, position);
        const size_t lineStart = before.rfind('\n') == std::string::npos ? 0 : before.rfind('\n') + 1;
        const size_t line = 1 + static_cast<size_t>(std::count(before.begin(), before.end(), '\n'));
        throw ToolError(source_ + ": bad JSON: number out of range at line " + std::to_string(line) + ", column " +
                        std::to_string(position - lineStart) + ": " + token);
    }

private:
    struct Frame {
        explicit Frame(bool isArray) : array(isArray) {}
        bool array;
        size_t count = 0;  // the values of an array so far
        std::set<std::string> keys;
        std::string key;  // the key of the object's value being read
    };

    void Begin() {
        if (!frames_.empty() && frames_.back().array) ++frames_.back().count;
    }

    // The path to the innermost object or array: rows[2]: values.
    std::string Where() const {
        std::string where;
        for (size_t i = 0; i + 1 < frames_.size(); ++i) {
            if (frames_[i].array) where += "[" + std::to_string(frames_[i].count - 1) + "]";
            else where += (where.empty() ? "" : ": ") + frames_[i].key;
        }
        return where;
    }

    nlohmann::detail::json_sax_dom_parser<Json> builder_;
    const std::string& text_;
    const std::string& source_;
    std::vector<Frame> frames_;
};

}  // namespace

Json JsonParser::Parse(const std::string& text, const std::string& source) {
    Json result;
    CheckingBuilder builder(result, text, source);
    if (!Json::sax_parse(text, &builder)) throw ToolError(source + ": bad JSON");
    return result;
}

}  // namespace qnps
