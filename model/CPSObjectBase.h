#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "com/Bstr.h"
#include "com/DispatchObject.h"
#include "com/UniqueVariant.h"
#include "model/Interfaces.h"

namespace model {

// Custom properties by name, exactly as given; a null name is the empty key.
using CustomPropertyMap = std::unordered_map<std::wstring, com::UniqueVariant>;

// Base of every model object: the object type tag and the bag of custom properties on top of the
// shared automation object. `I` is the object's own interface, derived from IQnPSObject.
template <class I>
class CPSObjectBase : public com::DispatchObject<I, CustomPropertyMap, IQnPSObject> {
public:
    using PrimaryInterface = I;

    STDMETHODIMP get_Type(qnpsObjectType* peType) override {
        return this->Guarded([&] {
            if (!peType) return E_POINTER;
            *peType = ObjectType();
            return S_OK;
        });
    }

    STDMETHODIMP get_CustomProperty(BSTR bsPropName, VARIANT* pvtPropValue) override {
        return this->Guarded([&] {
            if (!pvtPropValue) return E_POINTER;
            const std::wstring name = KeyOf(bsPropName);
            const CustomPropertyMap* properties = this->SideExtra();
            if (!properties) return TYPE_E_ELEMENTNOTFOUND;
            const auto found = properties->find(name);
            if (found == properties->end()) return TYPE_E_ELEMENTNOTFOUND;
            return com::ReplaceWithCopy(pvtPropValue, found->second.get());
        });
    }

    STDMETHODIMP put_CustomProperty(BSTR bsPropName, VARIANT newVal) override {
        return this->Guarded([&] {
            // A failed copy stores an empty value; the put itself always succeeds.
            com::UniqueVariant value = com::UniqueVariant::DereferencedCopyOrEmpty(newVal);
            // Most objects never carry custom properties; the map has room only once one is put.
            CustomPropertyMap& properties = this->EnsureSideExtra();
            if (properties.empty()) {
                properties.max_load_factor(kOptimalLoad);
                properties.rehash(kInitialBins);
            }
            properties[KeyOf(bsPropName)] = std::move(value);
            return S_OK;
        });
    }

    qnpsObjectType ObjectType() const noexcept {
        return static_cast<qnpsObjectType>(static_cast<std::int8_t>(this->Tag() & 0xFF));
    }

protected:
    CPSObjectBase() noexcept { SetObjectType(qnpsObjType_QnPSObject); }
    // The type (-1 to 8) takes the tag's low byte; the other three bytes are the deriving class's.
    void SetObjectType(qnpsObjectType type) noexcept {
        this->SetTag(static_cast<std::int32_t>((static_cast<std::uint32_t>(this->Tag()) & ~0xFFu) |
                                               static_cast<std::uint8_t>(type)));
    }
    std::uint32_t SpareTagBits() const noexcept { return static_cast<std::uint32_t>(this->Tag()) >> 8; }
    void SetSpareTagBits(std::uint32_t bits) noexcept {
        this->SetTag(static_cast<std::int32_t>((bits << 8) | (static_cast<std::uint32_t>(this->Tag()) & 0xFFu)));
    }

private:
    static constexpr size_t kInitialBins = 17;
    static constexpr float kOptimalLoad = 0.75f;

    static std::wstring KeyOf(BSTR name) { return std::wstring(name, com::BstrLength(name)); }
};

}  // namespace model
