#pragma once

#include "com/Platform.h"

#include "com/CTvErrorInfo.h"

namespace com {

// Makes a new error object the thread's error information; a null description is the code's system
// message. Never throws.
void SetThreadErrorInfo(const IID& iid, const wchar_t* source, const wchar_t* description, HRESULT code) noexcept;

// Fills an object's error record for a failure and makes it the thread's error information, as
// ISupportErrorInfo promises; without a record (no memory to make one) nothing is reported. Never
// throws: reporting a failure must not fail the caller a second time. Without a description the
// code's system message is used.
void RecordError(TVL::CTvErrorInfo* record, HRESULT code, const IID& iid,
                 const wchar_t* description = nullptr) noexcept;

}  // namespace com
