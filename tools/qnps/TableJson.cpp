#include "TableJson.h"

#include <climits>
#include <initializer_list>

#include "JsonParser.h"
#include "OleDate.h"
#include "ToolError.h"
#include "Utf8.h"
#include "ValueText.h"

namespace qnps {
namespace {

using Json = TableJson::Json;

[[noreturn]] void Fault(const std::string& where, const std::string& what) { throw ToolError(where + ": " + what); }

void OnlyKeys(const Json& json, const std::string& where, std::initializer_list<const char*> keys) {
    if (!json.is_object()) Fault(where, "not an object");
    for (const auto& item : json.items()) {
        bool known = false;
        for (const char* key : keys) known = known || item.key() == key;
        if (!known) Fault(where, "unknown key \"" + item.key() + "\"");
    }
}

const Json* Member(const Json& json, const char* key) {
    const auto found = json.find(key);
    return found == json.end() ? nullptr : &*found;
}

std::wstring Text(const Json* json, const std::string& where, const char* key, bool required = false) {
    if (!json) {
        if (required) Fault(where, std::string("\"") + key + "\" is missing");
        return std::wstring();
    }
    if (!json->is_string()) Fault(where, std::string("\"") + key + "\" must be text");
    return FromUtf8(json->get_ref<const std::string&>());
}

long Integer(const Json& json, const std::string& where, const char* what) {
    if (!json.is_number_integer() || json.get<long long>() < LONG_MIN || json.get<long long>() > LONG_MAX ||
        (json.is_number_unsigned() && json.get<unsigned long long>() > LONG_MAX))
        Fault(where, std::string(what) + " must be a 32-bit integer");
    return static_cast<long>(json.get<long long>());
}

}  // namespace

Json TableJson::Write(const PropertyTable& table) {
    Json columns = Json::array();
    for (const auto& column : table.columns) {
        columns.push_back({{"name", ToUtf8(column.name)},
                           {"displayName", ToUtf8(column.displayName)},
                           {"type", ValueText::TypeName(column.type)},
                           {"direction", ValueText::DirectionName(column.direction)},
                           {"hidden", column.hidden},
                           {"order", column.order}});
    }
    Json rows = Json::array();
    for (const auto& row : table.rows) {
        Json values = Json::object();
        for (size_t i = 0; i < row.cells.size(); ++i) {
            const long type = table.columns[i].type;
            const VARIANT& value = row.cells[i].value.get();
            const auto text = ValueText::Of(type, value);
            if (!text) continue;
            const std::string name = ToUtf8(table.columns[i].name);
            if (values.contains(name)) continue;  // a second column of the same name: lookups find the first
            if (type == qnpsPropType_Int && value.vt == VT_I4) values[name] = value.lVal;
            else if (type == qnpsPropType_Bool && (value.vt == VT_I2 || value.vt == VT_BOOL)) values[name] = value.iVal != 0;
            else values[name] = *text;
        }
        rows.push_back({{"id", ToUtf8(row.id)}, {"values", std::move(values)}});
    }
    return {{"application", ToUtf8(table.application)}, {"columns", std::move(columns)}, {"rows", std::move(rows)}};
}

PropertyTable TableJson::Read(const std::string& text, const std::string& source) {
    const Json json = JsonParser::Parse(text, source);
    OnlyKeys(json, source, {"application", "columns", "rows"});
    PropertyTable table;
    table.application = Text(Member(json, "application"), source, "application");

    const Json* columns = Member(json, "columns");
    if (!columns || !columns->is_array()) Fault(source, "\"columns\" must be an array");
    for (size_t i = 0; i < columns->size(); ++i) {
        auto column = ReadColumn((*columns)[i], source + ": columns[" + std::to_string(i) + "]");
        if (table.FindColumn(column.name) >= 0)
            Fault(source, "two columns named \"" + ToUtf8(column.name) + "\" (names are compared without case)");
        table.columns.push_back(std::move(column));
    }

    if (const Json* rows = Member(json, "rows")) {
        if (!rows->is_array()) Fault(source, "\"rows\" must be an array");
        for (size_t i = 0; i < rows->size(); ++i)
            table.rows.push_back(ReadRow((*rows)[i], table, source + ": rows[" + std::to_string(i) + "]"));
    }
    return table;
}

PropertyTable::Column TableJson::ReadColumn(const Json& json, const std::string& where) {
    OnlyKeys(json, where, {"name", "displayName", "type", "direction", "hidden", "order"});
    PropertyTable::Column column;
    column.name = Text(Member(json, "name"), where, "name", true);
    if (column.name.empty()) Fault(where, "\"name\" is empty");
    column.displayName = Text(Member(json, "displayName"), where, "displayName");
    if (const Json* type = Member(json, "type")) {
        const auto known = type->is_string() ? ValueText::TypeOf(type->get_ref<const std::string&>()) : std::nullopt;
        if (!known) Fault(where, "\"type\" must be one of string, int, double, date, bool");
        column.type = *known;
    }
    if (const Json* direction = Member(json, "direction")) {
        const auto known =
            direction->is_string() ? ValueText::DirectionOf(direction->get_ref<const std::string&>()) : std::nullopt;
        if (!known) Fault(where, "\"direction\" must be one of any, toDocument, fromDocument");
        column.direction = *known;
    }
    if (const Json* hidden = Member(json, "hidden")) {
        if (!hidden->is_boolean()) Fault(where, "\"hidden\" must be true or false");
        column.hidden = hidden->get<bool>();
    }
    if (const Json* order = Member(json, "order")) column.order = Integer(*order, where, "\"order\"");
    return column;
}

PropertyTable::Row TableJson::ReadRow(const Json& json, const PropertyTable& table, const std::string& where) {
    OnlyKeys(json, where, {"id", "values"});
    PropertyTable::Row row;
    row.id = Text(Member(json, "id"), where, "id", true);
    row.cells.resize(table.columns.size());
    const Json* values = Member(json, "values");
    if (!values) return row;
    if (!values->is_object()) Fault(where, "\"values\" must be an object");
    for (const auto& item : values->items()) {
        const long column = table.FindColumn(FromUtf8(item.key()));
        const std::string at = where + ": \"" + item.key() + "\"";
        if (column < 0) Fault(at, "no such column");
        if (row.cells[column].present) Fault(at, "a second value for the column");
        row.cells[column].present = true;
        row.cells[column].value = ReadValue(item.value(), table.columns[column].type, at);
    }
    return row;
}

com::UniqueVariant TableJson::ReadValue(const Json& json, long type, const std::string& where) {
    com::UniqueVariant value;
    VARIANT& v = value.get();
    // null makes an empty cell, which removes the value a merge would otherwise carry over.
    if (json.is_null()) return value;
    switch (type) {
    case qnpsPropType_Int:
        v.lVal = Integer(json, where, "an int value");
        v.vt = VT_I4;
        return value;
    case qnpsPropType_Bool:
        if (!json.is_boolean()) Fault(where, "a bool value must be true or false");
        v.boolVal = json.get<bool>() ? VARIANT_TRUE : VARIANT_FALSE;
        v.vt = VT_BOOL;
        return value;
    case qnpsPropType_Date: {
        std::optional<double> days;
        if (json.is_number()) days = json.get<double>();
        else if (json.is_string()) days = OleDate::Parse(json.get_ref<const std::string&>());
        if (!days) Fault(where, "a date value must be ISO 8601 text (2024-03-05T14:30:00) or a day count");
        v.date = *days;
        v.vt = VT_DATE;
        return value;
    }
    case qnpsPropType_Double: {
        std::optional<double> number;
        if (json.is_number()) number = json.get<double>();
        else if (json.is_string()) number = ValueText::ParseDouble(json.get_ref<const std::string&>());
        if (!number) Fault(where, "a double value must be a number or its decimal text");
        v.dblVal = *number;
        v.vt = VT_R8;
        return value;
    }
    }
    if (!json.is_string()) Fault(where, "a string value must be text");
    const std::wstring text = FromUtf8(json.get_ref<const std::string&>());
    v.bstrVal = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (!v.bstrVal) com::ThrowOutOfMemory();
    v.vt = VT_BSTR;
    return value;
}

}  // namespace qnps
