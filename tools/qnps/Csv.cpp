#include "Csv.h"

#include <cstring>

#include "ToolError.h"
#include "Utf8.h"

namespace qnps {
namespace {

// The line of the first byte that is not UTF-8.
size_t LineOfInvalidUtf8(const std::string& text) {
    size_t line = 1;
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        size_t length = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
        if (length == 0 || i + length > text.size()) return line;
        if (length > 1) {
            try {
                FromUtf8(std::string_view(text.data() + i, length));
            } catch (const std::range_error&) {
                return line;
            }
        }
        if (c == '\n') ++line;
        i += length;
    }
    return line;
}

}  // namespace

std::string Csv::Field(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

std::string Csv::Line(const std::vector<std::string>& fields) {
    std::string line;
    for (size_t i = 0; i < fields.size(); ++i) line += (i ? "," : "") + Field(fields[i]);
    return line + "\r\n";
}

std::vector<Csv::Record> Csv::Parse(const std::string& text, const std::string& source) {
    try {
        FromUtf8(text);
    } catch (const std::range_error&) {
        throw ToolError(source + ": line " + std::to_string(LineOfInvalidUtf8(text)) +
                        ": not UTF-8 (save the sheet as UTF-8 CSV)");
    }
    std::vector<Record> records;
    size_t i = text.compare(0, 3, kByteOrderMark) == 0 ? 3 : 0;
    size_t line = 1;
    while (i < text.size()) {
        Record record{line, {}};
        std::string field;
        bool ended = false;
        while (!ended) {
            if (i < text.size() && text[i] == '"') {
                const size_t opened = line;
                for (++i;; ++i) {
                    if (i >= text.size())
                        throw ToolError(source + ": line " + std::to_string(opened) + ": a quoted field is not closed");
                    if (text[i] == '"') {
                        if (i + 1 < text.size() && text[i + 1] == '"') ++i;
                        else break;
                    }
                    if (text[i] == '\n') ++line;
                    field += text[i];
                }
                ++i;
            }
            while (i < text.size() && text[i] != ',' && text[i] != '\r' && text[i] != '\n') {
                if (text[i] == '"')
                    throw ToolError(source + ": line " + std::to_string(line) + ": a quote inside an unquoted field");
                field += text[i++];
            }
            record.fields.push_back(std::move(field));
            field.clear();
            if (i < text.size() && text[i] == ',') {
                ++i;
                continue;
            }
            if (i < text.size() && text[i] == '\r') ++i;
            if (i < text.size() && text[i] == '\n') ++i;
            ++line;
            ended = true;
        }
        // A blank line carries nothing (spreadsheets may end a sheet with one).
        if (record.fields.size() == 1 && record.fields[0].empty()) continue;
        records.push_back(std::move(record));
    }
    return records;
}

}  // namespace qnps
