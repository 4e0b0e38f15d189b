#include "ToolError.h"

#include <cstdio>

#include "QnPropStorage.h"
#include "Utf8.h"
#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/UniqueHandle.h"

namespace qnps {

ToolError ToolError::FailedWithRecord(const std::string& context, HRESULT code) {
    com::ComPtr<IErrorInfo> record;
    if (::GetErrorInfo(0, record.put()) != S_OK || !record) return Failed(context, code);
    com::UniqueBstr description;
    record->GetDescription(description.put());
    const std::wstring words(description ? description.get() : L"", com::BstrLength(description.get()));
    if (words.empty()) return Failed(context, code);
    return ToolError(context + ": " + ToUtf8(words), code);
}

std::string ToolError::WithCode() const {
    if (code_ == S_OK) return what();
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08lX", static_cast<unsigned long>(code_));
    return std::string(what()) + " (" + hex + ")";
}

std::string ToolError::Describe(HRESULT code) {
    switch (static_cast<unsigned long>(code)) {
    case QNPS_E_UNKNOWNOBJECTTYPE: return "the library does not make objects of that type";
    case QNPS_E_WRITEXMLERROR:
        return "the document could not be written (the stream holds something that is not XML)";
    case QNPS_E_WRONGXMLFILE: return "not a property document";
    case QNPS_E_EMPTYCOLLECTION: return "the property document lacks its ColumnDefs or Properties";
    case QNPS_E_WRONGAPPLICATION: return "the stream's document belongs to another application";
    case QNPS_E_STREAMISREADONLY: return "the stream is read-only";
    }
    switch (code) {
    case STG_E_FILENOTFOUND: return "not found";
    case STG_E_PATHNOTFOUND: return "path not found";
    case STG_E_ACCESSDENIED: return "access denied (a read-only file?)";
    case STG_E_FILEALREADYEXISTS: return "not a compound file";
    case STG_E_SHAREVIOLATION:
    case STG_E_LOCKVIOLATION: return "in use by another program";
    case STG_E_INVALIDNAME: return "not a valid storage or stream name";
    case REGDB_E_CLASSNOTREG: return "QnPropStorage is not registered";
    }
    com::UniqueLocalMemory<wchar_t> text;
    const DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
        static_cast<DWORD>(code), 0, reinterpret_cast<wchar_t*>(text.put()), 0, nullptr);
    std::wstring words(text ? text.get() : L"", length);
    while (!words.empty() && (words.back() == L'\n' || words.back() == L'\r' || words.back() == L'.'))
        words.pop_back();
    return words.empty() ? "failed" : ToUtf8(words);
}

}  // namespace qnps
