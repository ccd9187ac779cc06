#include "base/list.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Item {
    Item(int nItemNumber, std::string& szLog) : nNumber(nItemNumber), szDeleted(szLog) {}
    ~Item() { szDeleted += std::to_string(nNumber); }

    int nNumber;
    std::string& szDeleted;
    Item* pNext = nullptr;
};

struct ListTest : testing::Test {
    void Fill(int nItems) {
        for (int n = 1; n <= nItems; ++n)
            lItems.Insert(std::make_unique<Item>(n, szDeleted));
    }
    std::string Order() const {
        std::string szOrder;
        for (Item const& oItem : lItems)
            szOrder += std::to_string(oItem.nNumber);
        return szOrder;
    }
    static auto Number(int nNumber) {
        return [nNumber](Item const& oItem) { return oItem.nNumber == nNumber; };
    }

    std::string szDeleted;
    LList<Item> lItems;
};

} // namespace

TEST_F(ListTest, NewItemsStandInFrontAndClearingDeletesFromTheFront) {
    Fill(3);
    EXPECT_EQ(Order(), "321");
    lItems.Clear();
    EXPECT_EQ(szDeleted, "321");
    EXPECT_TRUE(lItems.IsEmpty());
}

TEST_F(ListTest, UnlinkedItemsBelongToTheCaller) {
    struct Case {
        int nNumber;
        char const* szLeft;
    };
    for (Case const& oCase : {Case{4, "321"}, {1, "32"}, {2, "31"}, {3, "21"}}) { // none, last, middle, first
        SCOPED_TRACE(oCase.nNumber);
        lItems.Clear();
        Fill(3);
        szDeleted.clear();
        auto const pItem = lItems.Unlink(Number(oCase.nNumber));
        EXPECT_EQ(Order(), oCase.szLeft);
        EXPECT_EQ(szDeleted, "");
        if (pItem) {
            EXPECT_EQ(pItem->pNext, nullptr);
        }
    }
}

TEST_F(ListTest, FindsTheNewerOfTwoAndTakesAll) {
    Fill(2);
    Fill(2);
    EXPECT_EQ(lItems.Find(Number(1)), lItems.pHead->pNext);
    LList<Item> lOther;
    lOther.TakeAll(lItems);
    EXPECT_TRUE(lItems.IsEmpty());
    lOther.Clear();
    EXPECT_EQ(szDeleted, "2121");
}
