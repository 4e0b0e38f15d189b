#include "com/ErrorRecord.h"

#include <cwchar>

#include "com/ComPtr.h"

namespace com {
namespace {

constexpr wchar_t kSource[] = L"QnPropStorage";

BSTR DescribeCode(HRESULT code) noexcept {
    UniqueLocalMemory<wchar_t> message;
    const DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, static_cast<DWORD>(code), 0, reinterpret_cast<wchar_t*>(message.put()), 0, nullptr);
    if (length > 0 && message) {
        DWORD end = length;
        while (end > 0 && (message.get()[end - 1] == L'\r' || message.get()[end - 1] == L'\n')) --end;
        return ::SysAllocStringLen(message.get(), end);
    }
    wchar_t fallback[32];
    std::swprintf(fallback, 32, L"Error 0x%08lX", static_cast<unsigned long>(code));
    return ::SysAllocString(fallback);
}

}  // namespace

void SetThreadErrorInfo(const IID& iid, const wchar_t* source, const wchar_t* description, HRESULT code) noexcept {
    const UniqueBstr described(description ? nullptr : DescribeCode(code));
    ComPtr<ICreateErrorInfo> creator;
    if (FAILED(::CreateErrorInfo(creator.put()))) return;
    creator->SetGUID(iid);
    creator->SetSource(const_cast<wchar_t*>(source));
    creator->SetDescription(const_cast<wchar_t*>(description ? description : described.get()));
    if (auto info = creator.try_query<IErrorInfo>()) ::SetErrorInfo(0, info.get());
}

void RecordError(TVL::CTvErrorInfo* record, HRESULT code, const IID& iid, const wchar_t* description) noexcept {
    if (!record) return;
    record->code = code;
    record->source.reset(::SysAllocString(kSource));
    record->description.reset(description ? ::SysAllocString(description) : DescribeCode(code));
    record->helpFile.reset();
    SetThreadErrorInfo(iid, record->source.get(), record->description.get(), code);
}

}  // namespace com
