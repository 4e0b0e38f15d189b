#pragma once

#include "com/Platform.h"

#include <memory>
#include <vector>

#include "com/ComPtr.h"
#include "com/UniqueVariant.h"
#include "com/UnknownObject.h"

namespace com {

// IEnumVARIANT over a snapshot of values, taken when the enumerator is made; later changes to
// the source are not seen. Clones share the snapshot and copy the position.
class EnumVariant final : public UnknownObject<IEnumVARIANT> {
public:
    using Snapshot = std::vector<UniqueVariant>;

    static ComPtr<IEnumVARIANT> Create(Snapshot values);

    STDMETHODIMP Next(ULONG count, VARIANT* values, ULONG* fetched) override;
    STDMETHODIMP Skip(ULONG count) override;
    STDMETHODIMP Reset() override;
    STDMETHODIMP Clone(IEnumVARIANT** clone) override;

private:
    EnumVariant(std::shared_ptr<const Snapshot> values, size_t position) noexcept
        : values_(std::move(values)), position_(position) {}
    ~EnumVariant() override = default;

    std::shared_ptr<const Snapshot> values_;
    size_t position_;
};

}  // namespace com
