#include "format/ValueText.h"

#include <cwchar>
#include <cstdlib>
#include <utility>

#include "values/HexText.h"

namespace format {
namespace {

com::UniqueVariant Converted(const VARIANT& value, VARTYPE type, USHORT flags = 0) {
    com::UniqueVariant result;
    com::ThrowIfFailed(::VariantChangeType(result.put(), const_cast<VARIANT*>(&value), flags, type));
    return result;
}

}  // namespace

com::UniqueBstr EncodeValue(const VARIANT& value, qnpsPropertyType type) {
    switch (type) {
        case qnpsPropType_String: {
            // By its length: a NUL inside is part of the text, and refused with it.
            if (value.vt == VT_BSTR) {
                if (!value.bstrVal) return com::CopyText(L"");
                com::UniqueBstr copy(com::CopyBstrBytes(value.bstrVal));
                if (!copy) com::ThrowOutOfMemory();
                return copy;
            }
            com::UniqueVariant text = Converted(value, VT_BSTR);
            return com::UniqueBstr(std::exchange(text.get().bstrVal, nullptr));
        }
        case qnpsPropType_Int: {
            const com::UniqueVariant number = Converted(value, VT_I4, VARIANT_NOVALUEPROP);
            wchar_t text[16];
            std::swprintf(text, 16, L"%ld", static_cast<long>(number.get().lVal));
            return com::CopyText(text);
        }
        case qnpsPropType_Date: return values::DoubleToHex(Converted(value, VT_DATE).get().date);
        case qnpsPropType_Double: return values::DoubleToHex(Converted(value, VT_R8).get().dblVal);
        // Only the 16 bits where a VT_BOOL keeps its value count, whatever the variant's type.
        case qnpsPropType_Bool: return com::CopyText(value.boolVal != 0 ? L"1" : L"0");
        default: return com::CopyText(L"");
    }
}

com::UniqueVariant DecodeValue(com::UniqueBstr text, qnpsPropertyType type) {
    const wchar_t* chars = text ? text.get() : L"";
    switch (type) {
        case qnpsPropType_Int: return com::UniqueVariant::Int(_wtoi(chars));
        // Dates come back as plain doubles, not VT_DATE: readers of these tables expect VT_R8.
        case qnpsPropType_Date:
        case qnpsPropType_Double: return com::UniqueVariant::Double(values::HexToDouble(chars));
        // A 16-bit integer, not VT_BOOL, likewise.
        case qnpsPropType_Bool: return com::UniqueVariant::Short(std::wcscmp(chars, L"0") == 0 ? 0 : -1);
        default: return com::UniqueVariant::Text(text ? std::move(text) : com::CopyText(L""));
    }
}

}  // namespace format
