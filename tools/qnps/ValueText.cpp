#include "ValueText.h"

#include <charconv>

#include "QnPropStorage.h"
#include "OleDate.h"
#include "ToolError.h"
#include "Utf8.h"
#include "com/UniqueVariant.h"

namespace qnps {
namespace {

constexpr const char* kTypes[] = {"string", "int", "date", "double", "bool"};
constexpr const char* kDirections[] = {"any", "toDocument", "fromDocument"};

template <size_t N>
std::optional<long> IndexOf(const char* const (&names)[N], std::string_view name) {
    for (size_t i = 0; i < N; ++i)
        if (name == names[i]) return static_cast<long>(i);
    return std::nullopt;
}

}  // namespace

const char* ValueText::TypeName(long type) {
    return type >= qnpsPropType_String && type <= qnpsPropType_Bool ? kTypes[type] : "unknown";
}
std::optional<long> ValueText::TypeOf(std::string_view name) { return IndexOf(kTypes, name); }

const char* ValueText::DirectionName(long direction) {
    return direction >= qnpsPropDirection_Any && direction <= qnpsPropDirection_FromDocument ? kDirections[direction]
                                                                                           : "unknown";
}
std::optional<long> ValueText::DirectionOf(std::string_view name) { return IndexOf(kDirections, name); }

std::string ValueText::Double(double value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::optional<double> ValueText::ParseDouble(std::string_view text) {
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<std::string> ValueText::Of(long type, const VARIANT& value) {
    if (value.vt == VT_EMPTY || value.vt == VT_NULL) return std::nullopt;
    switch (type) {
    case qnpsPropType_Int:
        if (value.vt == VT_I4) return std::to_string(value.lVal);
        break;
    case qnpsPropType_Bool:
        if (value.vt == VT_I2) return std::string(value.iVal ? "true" : "false");
        if (value.vt == VT_BOOL) return std::string(value.boolVal ? "true" : "false");
        break;
    case qnpsPropType_Date:
        if (value.vt == VT_R8) return OleDate::ToText(value.dblVal);
        if (value.vt == VT_DATE) return OleDate::ToText(value.date);
        break;
    case qnpsPropType_Double:
        if (value.vt == VT_R8) return Double(value.dblVal);
        break;
    }
    if (value.vt == VT_BSTR) return ToUtf8(std::wstring_view(value.bstrVal ? value.bstrVal : L"", ::SysStringLen(value.bstrVal)));
    // Only a table built by another host mixes types: show its value as the invariant locale does.
    com::UniqueVariant text;
    const HRESULT hr = ::VariantChangeTypeEx(text.put(), const_cast<VARIANT*>(&value), LOCALE_INVARIANT, 0, VT_BSTR);
    if (FAILED(hr)) throw ToolError::Failed("a value of variant type " + std::to_string(value.vt), hr);
    return ToUtf8(std::wstring_view(text.get().bstrVal, ::SysStringLen(text.get().bstrVal)));
}

}  // namespace qnps
