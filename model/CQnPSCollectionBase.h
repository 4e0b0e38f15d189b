#pragma once

#include <algorithm>
#include <vector>

#include "com/EnumVariant.h"
#include "model/CPSObjectBase.h"

namespace model {

// Base of every collection: an ordered list of model objects, each held with one reference,
// indexed from 0. Null out-pointers give E_INVALIDARG in Item, Count and LowBound, unlike the
// E_POINTER of the object base and of _NewEnum; clients have long relied on both.
template <class I>
class CQnPSCollectionBase : public CPSObjectBase<I> {
public:
    STDMETHODIMP get__NewEnum(IUnknown** ppEnumerator) override {
        return this->Guarded([&] {
            if (!ppEnumerator) return E_POINTER;
            *ppEnumerator = nullptr;
            com::EnumVariant::Snapshot snapshot(items_.size());
            for (size_t i = 0; i < items_.size(); ++i) snapshot[i] = com::UniqueVariant::Dispatch(items_[i].get());
            com::EnumVariant::Create(std::move(snapshot)).copy_to(
                reinterpret_cast<IEnumVARIANT**>(ppEnumerator));
            return S_OK;
        });
    }

    STDMETHODIMP get_Item(long lIndex, IQnPSObject** ppItem) override {
        return this->Guarded([&] {
            if (!ppItem) return E_INVALIDARG;
            *ppItem = nullptr;
            if (!IsValidIndex(lIndex)) return E_INVALIDARG;
            items_[lIndex].copy_to(ppItem);
            return S_OK;
        });
    }

    STDMETHODIMP get_Count(long* plCount) override {
        return this->Guarded([&] {
            if (!plCount) return E_INVALIDARG;
            *plCount = static_cast<long>(items_.size());
            return S_OK;
        });
    }

    STDMETHODIMP get_LowBound(long* plBound) override {
        return this->Guarded([&] {
            if (!plBound) return E_INVALIDARG;
            *plBound = 0;
            return S_OK;
        });
    }

    STDMETHODIMP AddItem(IQnPSObject* pItem) override {
        return this->Guarded([&] {
            if (!pItem) return E_INVALIDARG;
            Append(pItem);
            return S_OK;
        });
    }

    STDMETHODIMP Remove(long lIndex) override {
        return this->Guarded([&] {
            if (!IsValidIndex(lIndex)) return E_INVALIDARG;
            items_.erase(items_.begin() + lIndex);
            return S_OK;
        });
    }

    STDMETHODIMP RemoveAll() override {
        return this->Guarded([&] {
            Clear();
            return S_OK;
        });
    }

    size_t ItemCount() const noexcept { return items_.size(); }
    IQnPSObject* ItemAt(size_t index) const noexcept { return items_[index].get(); }

    void Append(IQnPSObject* item) {
        Reserve(items_.size() + 1);
        items_.emplace_back(item);
    }
    void Insert(size_t index, IQnPSObject* item) {
        Reserve(items_.size() + 1);
        items_.emplace(items_.begin() + static_cast<std::ptrdiff_t>(index), item);
    }
    // Room for `count` items in all: for a builder that knows how many are coming.
    void ReserveItems(size_t count) { items_.reserve(count); }
    void Clear() noexcept { std::vector<com::ComPtr<IQnPSObject>>().swap(items_); }

protected:
    CQnPSCollectionBase() noexcept { this->SetObjectType(qnpsObjType_QnPSCollection); }

private:
    bool IsValidIndex(long index) const noexcept {
        return index >= 0 && static_cast<size_t>(index) < items_.size();
    }

    // Grows by half the current capacity (at least to the size needed): rows of large tables
    // are collections too, and doubling would leave a third of their storage unused on average.
    void Reserve(size_t needed) {
        const size_t capacity = items_.capacity();
        if (needed <= capacity) return;
        items_.reserve(std::max(needed, capacity + std::max(capacity / 2, needed - capacity)));
    }

    std::vector<com::ComPtr<IQnPSObject>> items_;
};

}  // namespace model
