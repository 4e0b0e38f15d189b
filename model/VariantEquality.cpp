#include "model/VariantEquality.h"

#include "com/Platform.h"

namespace model {

bool VariantsEqual(const VARIANT& stored, const VARIANT& given) noexcept {
    if (stored.vt == VT_NULL && given.vt == VT_NULL) return true;
    if (stored.vt != given.vt) return false;
    switch (stored.vt) {
        // VarCmp does not take these; their bits say it all.
        case VT_I1: return stored.cVal == given.cVal;
        case VT_UI2: return stored.uiVal == given.uiVal;
        case VT_UI4: return stored.ulVal == given.ulVal;
        case VT_UI8: return stored.ullVal == given.ullVal;
        default:
            return ::VarCmp(const_cast<VARIANT*>(&stored), const_cast<VARIANT*>(&given),
                            LOCALE_USER_DEFAULT, 0) == VARCMP_EQ;
    }
}

}  // namespace model
