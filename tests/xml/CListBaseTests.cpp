// The intrusive list the document writer keeps its columns in: links, head and tail, lookups by
// name, and ownership of its entries.
#include <gtest/gtest.h>

#include <string>

#include "xml/CColomnEl.h"
#include "xml/CListBase.h"

namespace {

using xml::CListBase;
using xml::CListEntryBase;

// Counts destructions, so a test sees which entries the list deleted.
class Entry : public CListEntryBase {
public:
    Entry(const wchar_t* name, int* deleted) : CListEntryBase(name), deleted_(deleted) {}
    ~Entry() override { ++*deleted_; }

private:
    int* deleted_;
};

class ListTest : public ::testing::Test {
protected:
    Entry* Make(const wchar_t* name) { return new Entry(name, &deleted_); }

    // The names from head to tail, checked against the walk from tail to head.
    std::wstring Names() {
        std::wstring forward, backward;
        for (CListEntryBase* e = list_.Head(); e; e = e->next) forward += e->name;
        for (CListEntryBase* e = list_.Tail(); e; e = e->previous) backward.insert(0, e->name);
        EXPECT_EQ(forward, backward) << "links disagree";
        if (list_.Head()) {
            EXPECT_EQ(nullptr, list_.Head()->previous);
        }
        if (list_.Tail()) {
            EXPECT_EQ(nullptr, list_.Tail()->next);
        }
        return forward;
    }

    int deleted_ = 0;
    CListBase list_;
};

TEST_F(ListTest, AddTailLinksInOrder) {
    list_.AddTail(nullptr);
    EXPECT_TRUE(list_.IsEmpty());
    Entry* a = Make(L"a");
    list_.AddTail(a);
    EXPECT_EQ(a, list_.Head());
    EXPECT_EQ(a, list_.Tail());
    list_.AddTail(Make(L"b"));
    list_.AddTail(Make(L"c"));
    EXPECT_EQ(L"abc", Names());
    EXPECT_EQ(1, list_.Contains(a));
}

TEST_F(ListTest, FindByNameIgnoresCaseAndTheFirstWins) {
    Entry* first = Make(L"Title");
    Entry* second = Make(L"TITLE");
    list_.AddTail(Make(L"Other"));
    list_.AddTail(first);
    list_.AddTail(second);
    EXPECT_EQ(first, list_.FindByName(L"title"));
    EXPECT_EQ(second, list_.FindNextByName(L"title", first));
    EXPECT_EQ(nullptr, list_.FindNextByName(L"title", second));
    EXPECT_EQ(first, list_.FindNextByName(L"title", nullptr));
    EXPECT_EQ(nullptr, list_.FindByName(L"Missing"));
    EXPECT_EQ(nullptr, list_.FindByName(nullptr));
}

TEST_F(ListTest, RemoveUnlinksWithoutDeleting) {
    Entry* a = Make(L"a");
    Entry* b = Make(L"b");
    Entry* c = Make(L"c");
    EXPECT_EQ(0, list_.Remove(a));
    for (Entry* e : {a, b, c}) list_.AddTail(e);
    EXPECT_EQ(1, list_.Remove(b));
    EXPECT_EQ(L"ac", Names());
    EXPECT_EQ(nullptr, b->next);
    EXPECT_EQ(nullptr, b->previous);
    EXPECT_EQ(1, list_.Remove(a));
    EXPECT_EQ(c, list_.Head());
    EXPECT_EQ(1, list_.Remove(c));
    EXPECT_TRUE(list_.IsEmpty());
    EXPECT_EQ(nullptr, list_.Tail());
    EXPECT_EQ(0, deleted_);
    for (Entry* e : {a, b, c}) delete e;
}

TEST_F(ListTest, InsertBeforeAndAfterMoveHeadAndTail) {
    Entry* b = Make(L"b");
    // An empty list simply receives the entry.
    list_.InsertBefore(b, nullptr);
    EXPECT_EQ(L"b", Names());
    Entry* a = Make(L"a");
    list_.InsertBefore(a, nullptr);
    EXPECT_EQ(L"ab", Names());
    Entry* d = Make(L"d");
    list_.InsertAfter(d, b);
    EXPECT_EQ(d, list_.Tail());
    list_.InsertAfter(Make(L"c"), b);
    list_.InsertBefore(Make(L"0"), a);
    EXPECT_EQ(L"0abcd", Names());
    // An entry already in the list moves.
    list_.InsertBefore(d, a);
    EXPECT_EQ(L"0dabc", Names());
    list_.InsertAfter(list_.Head(), list_.Tail());
    EXPECT_EQ(L"dabc0", Names());
    list_.InsertBefore(a, a);
    list_.InsertAfter(nullptr, a);
    EXPECT_EQ(L"dabc0", Names());
}

TEST_F(ListTest, TheListDeletesItsEntries) {
    for (const wchar_t* name : {L"a", L"b", L"c"}) list_.AddTail(Make(name));
    list_.RemoveAll();
    EXPECT_EQ(3, deleted_);
    EXPECT_EQ(nullptr, list_.Head());
    EXPECT_EQ(nullptr, list_.Tail());
    {
        CListBase owner;
        owner.AddTail(Make(L"x"));
        owner.AddTail(Make(L"y"));
    }
    EXPECT_EQ(5, deleted_);
}

TEST(ColumnRecord, StartsWithoutARowAndKeepsItsColumn) {
    CListBase list;
    auto* record = new xml::CColomnEl(L"Title", nullptr);
    list.AddTail(record);
    EXPECT_EQ(-1, record->position);
    EXPECT_EQ(nullptr, record->column);
    EXPECT_EQ(record, list.FindByName(L"TITLE"));
}

}  // namespace
