#include "TableText.h"

#include <vector>

#include "Csv.h"
#include "Utf8.h"
#include "ValueText.h"

namespace qnps {
namespace {

using Lines = std::vector<std::vector<std::string>>;

size_t Width(const std::string& text) {
    size_t width = 0;
    for (unsigned char c : text) width += (c & 0xC0) != 0x80;  // code points, not bytes
    return width;
}

// Columns two spaces apart, each as wide as its widest cell; no trailing blanks.
std::string Aligned(const Lines& lines) {
    std::vector<size_t> widths;
    for (const auto& line : lines)
        for (size_t i = 0; i < line.size(); ++i) {
            if (widths.size() <= i) widths.push_back(0);
            widths[i] = std::max(widths[i], Width(line[i]));
        }
    std::string out;
    for (const auto& line : lines) {
        std::string text;
        for (size_t i = 0; i < line.size(); ++i) {
            text += line[i];
            if (i + 1 < line.size()) text.append(widths[i] - Width(line[i]) + 2, ' ');
        }
        while (!text.empty() && text.back() == ' ') text.pop_back();
        out += text + "\n";
    }
    return out;
}

std::vector<std::string> RowTexts(const PropertyTable& table, const PropertyTable::Row& row) {
    std::vector<std::string> texts{ToUtf8(row.id)};
    for (size_t i = 0; i < row.cells.size(); ++i)
        texts.push_back(ValueText::Of(table.columns[i].type, row.cells[i].value.get()).value_or(std::string()));
    return texts;
}

}  // namespace

std::string TableText::Show(const PropertyTable& table) {
    std::string out = "Application: " + ToUtf8(table.application) + "\n\n";
    if (table.columns.empty()) {
        out += "(no columns)\n";
    } else {
        Lines columns{{"Column", "Display name", "Type", "Direction", "Hidden", "Order"}};
        for (const auto& column : table.columns)
            columns.push_back({ToUtf8(column.name), ToUtf8(column.displayName), ValueText::TypeName(column.type),
                               ValueText::DirectionName(column.direction), column.hidden ? "yes" : "no",
                               std::to_string(column.order)});
        out += Aligned(columns);
    }
    out += "\n";
    if (table.rows.empty()) return out + "(no rows)\n";
    Lines rows{{"RowID"}};
    for (const auto& column : table.columns) rows[0].push_back(ToUtf8(column.name));
    for (const auto& row : table.rows) rows.push_back(RowTexts(table, row));
    return out + Aligned(rows);
}

std::string TableText::Csv(const PropertyTable& table) {
    Lines lines{{"RowID"}};
    for (const auto& column : table.columns) lines[0].push_back(ToUtf8(column.name));
    for (const auto& row : table.rows) lines.push_back(RowTexts(table, row));
    std::string out;
    for (const auto& line : lines) out += Csv::Line(line);
    return out;
}

}  // namespace qnps
