#include "base/string_long.h"

#include <gtest/gtest.h>

template <class T>
struct StringLongTest : testing::Test {
    static std::basic_string<T> Text(std::string_view szText) { return {szText.begin(), szText.end()}; }
};
using Characters = testing::Types<char, wchar_t, char16_t>;
TYPED_TEST_SUITE(StringLongTest, Characters);

TYPED_TEST(StringLongTest, HasNoBufferUntilThereIsText) {
    LStringLongTemplate<TypeParam> szText;
    EXPECT_EQ(szText.GetBuffer(), nullptr);
    EXPECT_EQ(szText.GetString()[0], TypeParam());
    EXPECT_TRUE(szText.Append(static_cast<TypeParam const*>(nullptr)));
    szText.Truncate(5);
    EXPECT_EQ(szText.GetCapacity(), 0u);
    EXPECT_TRUE(szText.Reserve(1));
    EXPECT_EQ(szText.GetBuffer()[0], TypeParam());
}

TYPED_TEST(StringLongTest, CharactersGrowTheBufferFourfold) {
    LStringLongTemplate<TypeParam> szText;
    for (int n = 0; n < 259; ++n)
        ASSERT_TRUE(szText.AppendChar('x'));
    EXPECT_EQ(szText.GetCapacity(), 260u);
    ASSERT_TRUE(szText.AppendChar('y'));
    EXPECT_EQ(szText.GetCapacity(), 1040u);
    EXPECT_EQ(szText.View(), this->Text(std::string(259, 'x') + 'y'));
    EXPECT_EQ(szText.GetString()[260], TypeParam());
}

TYPED_TEST(StringLongTest, StringsGrowItToNeededPlusCapacityAndAtLeast260) {
    struct Case {
        size_t nReserved, nAppended, nCapacity;
    };
    for (Case const& oCase : {Case{0, 1, 260}, {0, 259, 260}, {0, 260, 261}, {260, 259, 260}, {260, 260, 521}}) {
        SCOPED_TRACE(oCase.nCapacity);
        LStringLongTemplate<TypeParam> szText;
        szText.Reserve(oCase.nReserved);
        std::basic_string<TypeParam> const szMore(oCase.nAppended, 'x');
        ASSERT_TRUE(szText.Append(szMore.c_str()));
        EXPECT_EQ(szText.GetCapacity(), oCase.nCapacity);
        EXPECT_EQ(szText.View(), szMore);
        szText.Reserve(3);
        EXPECT_EQ(szText.GetCapacity(), oCase.nCapacity);
    }
}

TYPED_TEST(StringLongTest, MayBeAppendedToAndSetFromItself) {
    LStringLongTemplate<TypeParam> szText;
    szText.Append(this->Text(std::string(200, 'a') + "bc").c_str());
    ASSERT_TRUE(szText.Append(szText.GetBuffer() + 200)); // moves the buffer under the source
    ASSERT_TRUE(szText.Append(szText.GetString()));
    EXPECT_EQ(szText.GetLength(), 408u);
    ASSERT_TRUE(szText.Set(szText.GetBuffer() + 404));
    EXPECT_EQ(szText.View(), this->Text("bcbc"));
    szText = LStringLongTemplate<TypeParam>(szText);
    EXPECT_EQ(szText.View(), this->Text("bcbc"));
    EXPECT_EQ(szText.GetString()[4], TypeParam());
}

TYPED_TEST(StringLongTest, TakesWhatWasWrittenIntoItsBuffer) {
    LStringLongTemplate<TypeParam> szText;
    szText.Reserve(4);
    std::fill_n(szText.GetBuffer(), 4, TypeParam('x')); // no NUL left
    szText.UpdateLength();
    EXPECT_EQ(szText.View(), this->Text("xxx"));
}

TEST(StringLong, RefusesMoreThanMemoryHolds) {
    LStringLong szText;
    szText.Append("kept");
    EXPECT_FALSE(szText.Reserve(std::numeric_limits<size_t>::max()));
    EXPECT_FALSE(LStringLongTemplate<wchar_t>().Reserve(std::numeric_limits<size_t>::max() / 4 + 2));
    EXPECT_EQ(szText.View(), "kept");
}
