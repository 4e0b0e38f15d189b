#include "xml/CListBase.h"

#include "com/Bstr.h"

namespace xml {

void CListBase::RemoveAll() noexcept {
    while (CListEntryBase* entry = head_) {
        head_ = entry->next;
        delete entry;
    }
    tail_ = nullptr;
}

int CListBase::Remove(CListEntryBase* entry) noexcept {
    if (!head_ || !entry) return 0;
    if (entry->previous) {
        entry->previous->next = entry->next;
    } else if (head_ == entry) {
        head_ = entry->next;
    }
    if (entry->next) {
        entry->next->previous = entry->previous;
    } else if (tail_ == entry) {
        tail_ = entry->previous;
    }
    entry->previous = entry->next = nullptr;
    return 1;
}

void CListBase::InsertBefore(CListEntryBase* entry, CListEntryBase* ref) noexcept {
    if (!entry || entry == ref) return;
    if (Contains(entry)) Remove(entry);
    if (!ref) ref = head_;
    if (!ref) {
        head_ = tail_ = entry;
        return;
    }
    entry->next = ref;
    entry->previous = ref->previous;
    if (ref->previous) {
        ref->previous->next = entry;
    } else {
        head_ = entry;
    }
    ref->previous = entry;
}

void CListBase::InsertAfter(CListEntryBase* entry, CListEntryBase* ref) noexcept {
    if (!entry || entry == ref) return;
    if (Contains(entry)) Remove(entry);
    if (!ref) ref = tail_;
    if (!ref) {
        head_ = tail_ = entry;
        return;
    }
    entry->previous = ref;
    entry->next = ref->next;
    if (ref->next) {
        ref->next->previous = entry;
    } else {
        tail_ = entry;
    }
    ref->next = entry;
}

void CListBase::AddTail(CListEntryBase* entry) noexcept {
    if (!entry) return;
    entry->previous = tail_;
    entry->next = nullptr;
    if (tail_) {
        tail_->next = entry;
    } else {
        head_ = entry;
    }
    tail_ = entry;
}

int CListBase::Contains(const CListEntryBase* entry) const noexcept {
    for (const CListEntryBase* e = head_; e; e = e->next) {
        if (e == entry) return 1;
    }
    return 0;
}

CListEntryBase* CListBase::FindByName(const wchar_t* name) const noexcept {
    return FindNextByName(name, nullptr);
}

CListEntryBase* CListBase::FindNextByName(const wchar_t* name, const CListEntryBase* after) const noexcept {
    if (!name) return nullptr;
    for (CListEntryBase* e = after ? after->next : head_; e; e = e->next) {
        if (com::NamesEqual(e->name.c_str(), name)) return e;
    }
    return nullptr;
}

}  // namespace xml
