#pragma once

#include "com/Bstr.h"

namespace model {

// Copy-out and copy-in rules shared by every text field of the model.
// Out: a copy by byte length, so embedded nulls survive; a copy that cannot be made is a null
// string and still a success.
inline HRESULT GetTextField(const com::UniqueBstr& field, BSTR* out) noexcept {
    if (!out) return E_INVALIDARG;
    *out = com::CopyBstrBytes(field.get());
    return S_OK;
}

// In: the very string already stored is left alone; otherwise the old text is freed before the
// copy (up to the first null character) is made, so a failed copy leaves the field null.
inline void SetTextField(com::UniqueBstr& field, BSTR text) {
    if (text == field.get()) return;
    field.reset();
    field = com::CopyText(text);
}

}  // namespace model
