#pragma once

#include "com/ComPtr.h"
#include "com/DispatchObject.h"
#include "model/Interfaces.h"

namespace model {

// The type an object reports, or qnpsObjType_Unknown when it is null or cannot answer.
inline qnpsObjectType TypeOf(IQnPSObject* object) noexcept {
    qnpsObjectType type = qnpsObjType_Unknown;
    if (!object || FAILED(object->get_Type(&type))) return qnpsObjType_Unknown;
    return type;
}

// Type-checked narrowing: the object itself when it reports the expected type, else null. It asks
// the object's Type, never QueryInterface, so any object that answers the type is accepted.
inline IQnPSObject* Narrow(IQnPSObject* object, qnpsObjectType expected) noexcept {
    return TypeOf(object) == expected ? object : nullptr;
}

// This library's own implementation behind an object of the expected type, or null for an object
// of another type or from elsewhere. Walks over the model's collections use it to read fields
// directly instead of copying them out through the interface for every cell.
template <class T>
T* OwnObject(IQnPSObject* object, qnpsObjectType expected) noexcept {
    if (!Narrow(object, expected)) return nullptr;
    void* self = nullptr;
    if (object->QueryInterface(com::kOwnObjectIid, &self) != S_OK || !self) return nullptr;
    return static_cast<T*>(static_cast<typename T::PrimaryInterface*>(self));
}

}  // namespace model
