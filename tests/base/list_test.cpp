#include "base/list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>

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
    static auto Number(int nNumber) {
        return [nNumber](Item const& oItem) { return oItem.nNumber == nNumber; };
    }

    std::string szDeleted;
    LList<Item> lItems;
};

} // namespace

TEST_F(ListTest, ItemsGoToTheFrontAndUnlinkedOnesToTheCaller) {
    struct Case {
        int nNumber;
        char const* szLeft;
    };
    for (Case const& oCase : {Case{4, "321"}, {1, "32"}, {2, "31"}, {3, "21"}}) { // none, last, middle, first
        SCOPED_TRACE(oCase.nNumber);
        Fill(3);
        auto const pItem = lItems.Unlink(Number(oCase.nNumber));
        EXPECT_TRUE(!pItem || !pItem->pNext);
        szDeleted.clear();
        lItems.Clear();
        EXPECT_EQ(szDeleted, oCase.szLeft); // from the front
    }
    Fill(2);
    Fill(2);
    EXPECT_EQ(lItems.Find(Number(1)), lItems.pHead->pNext); // the newer of two
}

TEST_F(ListTest, MayBeWalkedWhileOneThreadInserts) {
    std::thread oInserting([this] { Fill(2000); });
    for (int nSeen = 0; nSeen < 2000;) {
        int nExpected = 0;
        for (Item const& oItem : lItems) { // as it was when the walk began: no gap
            ASSERT_TRUE(nExpected == 0 || oItem.nNumber == nExpected);
            nExpected = oItem.nNumber - 1;
            nSeen = std::max(nSeen, oItem.nNumber);
        }
    }
    oInserting.join();
}
