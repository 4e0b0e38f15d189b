#pragma once

#include <memory>

#include "xml/CStackItem.h"

namespace xml {

// What the reader and the writer share: the element that attribute operations address, and a
// stack of saved positions.
class CStackBase {
public:
    CStackBase() = default;
    virtual ~CStackBase() = default;
    CStackBase(const CStackBase&) = delete;
    CStackBase& operator=(const CStackBase&) = delete;

protected:
    void Push(std::unique_ptr<CStackItem> item) noexcept {
        item->next = std::move(top_);
        top_ = std::move(item);
    }
    std::unique_ptr<CStackItem> Pop() noexcept {
        if (!top_) return nullptr;
        std::unique_ptr<CStackItem> item(static_cast<CStackItem*>(top_.release()));
        top_ = std::move(item->next);
        return item;
    }
    // Unlinks item by item: a deep stack must not recurse through its destructors.
    void ClearStack() noexcept {
        while (Pop()) {
        }
    }

    com::ComPtr<IXMLDOMElement> current_;
    std::unique_ptr<CStackItemBase> top_;
};

}  // namespace xml
