#pragma once

#include <string>

namespace xml {

// An entry of an intrusive list: a name and the links to its neighbours, both null while the entry
// is in no list.
class CListEntryBase {
public:
    explicit CListEntryBase(std::wstring entryName = {}) : name(std::move(entryName)) {}
    virtual ~CListEntryBase() = default;
    CListEntryBase(const CListEntryBase&) = delete;
    CListEntryBase& operator=(const CListEntryBase&) = delete;

    std::wstring name;
    CListEntryBase* previous = nullptr;
    CListEntryBase* next = nullptr;
};

}  // namespace xml
