#pragma once

#include "xml/CListEntryBase.h"

namespace xml {

// A doubly linked list that owns its entries: removing all, or destroying the list, deletes them.
class CListBase {
public:
    CListBase() = default;
    virtual ~CListBase() { RemoveAll(); }
    CListBase(const CListBase&) = delete;
    CListBase& operator=(const CListBase&) = delete;

    virtual void RemoveAll() noexcept;
    // Unlinks the entry without deleting it; 0 when the list is empty.
    virtual int Remove(CListEntryBase* entry) noexcept;
    // A null `ref` means the head.
    virtual void InsertBefore(CListEntryBase* entry, CListEntryBase* ref) noexcept;
    virtual void InsertAfter(CListEntryBase* entry, CListEntryBase* ref) noexcept;
    virtual void AddTail(CListEntryBase* entry) noexcept;

    int Contains(const CListEntryBase* entry) const noexcept;
    // The first entry whose name equals `name` without regard to case, or null.
    CListEntryBase* FindByName(const wchar_t* name) const noexcept;
    // The same search, starting behind `after` (from the head when `after` is null).
    CListEntryBase* FindNextByName(const wchar_t* name, const CListEntryBase* after) const noexcept;

    CListEntryBase* Head() const noexcept { return head_; }
    CListEntryBase* Tail() const noexcept { return tail_; }
    bool IsEmpty() const noexcept { return head_ == nullptr; }

private:
    CListEntryBase* head_ = nullptr;
    CListEntryBase* tail_ = nullptr;
};

}  // namespace xml
