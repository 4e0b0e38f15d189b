#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include "com/Bstr.h"
#include "com/DispatchObject.h"
#include "com/UniqueVariant.h"
#include "model/Interfaces.h"

namespace model {

// Base of every model object: the object type tag and the bag of custom properties on top of the
// shared automation object. `I` is the object's own interface, derived from IQnPSObject.
template <class I>
class CPSObjectBase : public com::DispatchObject<I, IQnPSObject> {
public:
    using PrimaryInterface = I;

    STDMETHODIMP get_Type(qnpsObjectType* peType) override {
        return this->Guarded([&] {
            if (!peType) return E_POINTER;
            *peType = type_;
            return S_OK;
        });
    }

    STDMETHODIMP get_CustomProperty(BSTR bsPropName, VARIANT* pvtPropValue) override {
        return this->Guarded([&] {
            if (!pvtPropValue) return E_POINTER;
            const std::wstring name = KeyOf(bsPropName);
            if (!customProperties_) return TYPE_E_ELEMENTNOTFOUND;
            const auto found = customProperties_->find(name);
            if (found == customProperties_->end()) return TYPE_E_ELEMENTNOTFOUND;
            return com::ReplaceWithCopy(pvtPropValue, found->second.get());
        });
    }

    STDMETHODIMP put_CustomProperty(BSTR bsPropName, VARIANT newVal) override {
        return this->Guarded([&] {
            // A failed copy stores an empty value; the put itself always succeeds.
            com::UniqueVariant value = com::UniqueVariant::DereferencedCopyOrEmpty(newVal);
            if (!customProperties_) {
                // Most objects never carry custom properties; the map exists only once one is put.
                customProperties_ = std::make_unique<CustomPropertyMap>(kInitialBins);
                customProperties_->max_load_factor(kOptimalLoad);
            }
            (*customProperties_)[KeyOf(bsPropName)] = std::move(value);
            return S_OK;
        });
    }

    qnpsObjectType ObjectType() const noexcept { return type_; }

protected:
    CPSObjectBase() noexcept = default;
    void SetObjectType(qnpsObjectType type) noexcept { type_ = type; }

private:
    using CustomPropertyMap = std::unordered_map<std::wstring, com::UniqueVariant>;
    static constexpr size_t kInitialBins = 17;
    static constexpr float kOptimalLoad = 0.75f;

    // Names are kept exactly as given; a null name is the empty key.
    static std::wstring KeyOf(BSTR name) { return std::wstring(name, com::BstrLength(name)); }

    qnpsObjectType type_ = qnpsObjType_QnPSObject;
    std::unique_ptr<CustomPropertyMap> customProperties_;
};

}  // namespace model
