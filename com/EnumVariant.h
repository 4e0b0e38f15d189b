#pragma once

#include "com/Platform.h"

#include <memory>
#include <vector>

#include "com/ComPtr.h"
#include "com/UniqueVariant.h"

namespace com {

// IEnumVARIANT over a snapshot of values, taken when the enumerator is made; later changes to
// the source are not seen. Clones share the snapshot and copy the position.
class EnumVariant final : public IEnumVARIANT {
public:
    using Snapshot = std::vector<UniqueVariant>;

    static ComPtr<IEnumVARIANT> Create(Snapshot values);

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP Next(ULONG count, VARIANT* values, ULONG* fetched) override;
    STDMETHODIMP Skip(ULONG count) override;
    STDMETHODIMP Reset() override;
    STDMETHODIMP Clone(IEnumVARIANT** clone) override;

private:
    EnumVariant(std::shared_ptr<const Snapshot> values, size_t position) noexcept;
    ~EnumVariant();

    std::shared_ptr<const Snapshot> values_;
    size_t position_;
    ULONG references_ = 0;
};

}  // namespace com
