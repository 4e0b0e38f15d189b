#pragma once

#include <string>
#include <vector>

namespace qnps {

// RFC 4180 text: fields quoted where needed, lines ended with CR LF. The reader also takes the LF
// line ends and the byte order mark that spreadsheets write or leave out.
class Csv {
public:
    struct Record {
        size_t line;  // where the record starts, from 1
        std::vector<std::string> fields;
    };

    static std::string Line(const std::vector<std::string>& fields);
    // The whole text as records; throws ToolError naming `source` and the line for text that is not
    // UTF-8 or a quote left open.
    static std::vector<Record> Parse(const std::string& text, const std::string& source);

    static constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

private:
    static std::string Field(const std::string& text);
};

}  // namespace qnps
