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
