#include "base/string_long.h"

#include <gtest/gtest.h>

template <class T>
struct StringLongTest : testing::Test {
    static std::basic_string<T> Text(std::string_view szText) { return {szText.begin(), szText.end()}; }
};
using Characters = testing::Types<char, wchar_t, char16_t>;
TYPED_TEST_SUITE(StringLongTest, Characters);

TYPED_TEST(StringLongTest, GrowsFourfoldByCharactersAndToNeededPlusCapacityByStrings) {
    struct Case {
        size_t nReserved, nAppended, nCapacity;
    };
    for (Case const& oCase : {Case{0, 1, 260}, {0, 259, 260}, {0, 260, 261}, {260, 259, 260}, {260, 260, 521}}) {
        SCOPED_TRACE(oCase.nCapacity);
        LStringLongTemplate<TypeParam> szText;
        szText.Reserve(oCase.nReserved);
        std::basic_string<TypeParam> const szMore(oCase.nAppended, 'x');
        ASSERT_TRUE(szText.Append(szMore.c_str()));
        szText.Reserve(3);
        EXPECT_EQ(szText.GetCapacity(), oCase.nCapacity);
        EXPECT_EQ(szText.View(), szMore);
    }
    LStringLongTemplate<TypeParam> szText;
    EXPECT_EQ(szText.GetBuffer(), nullptr);
    EXPECT_EQ(szText.GetString()[0], TypeParam());
    for (int n = 0; n < 260; ++n) {
        EXPECT_EQ(szText.GetCapacity(), n ? 260u : 0u);
        ASSERT_TRUE(szText.AppendChar('x'));
    }
    EXPECT_EQ(szText.GetCapacity(), 1040u);
    EXPECT_EQ(szText.View(), this->Text(std::string(260, 'x')));
}

TYPED_TEST(StringLongTest, MayBeAppendedToAndSetFromItself) {
    LStringLongTemplate<TypeParam> szText;
    szText.Append(this->Text(std::string(200, 'a') + "bc").c_str());
    ASSERT_TRUE(szText.Append(szText.GetBuffer() + 200)); // moves the buffer under the source
    ASSERT_TRUE(szText.Append(szText.GetString()));
    EXPECT_EQ(szText.GetLength(), 408u);
    ASSERT_TRUE(szText.Set(szText.GetBuffer() + 404));
    szText = LStringLongTemplate<TypeParam>(szText);
    EXPECT_EQ(szText.View(), this->Text("bcbc"));
    szText.Reserve(szText.GetCapacity() + 1);
    std::fill_n(szText.GetBuffer(), szText.GetCapacity(), TypeParam('x')); // no NUL left
    szText.UpdateLength();
    EXPECT_EQ(szText.GetLength() + 1, szText.GetCapacity());
}

TEST(StringLong, RefusesMoreThanMemoryHolds) {
    LStringLong szText;
    szText.Append("kept");
    EXPECT_FALSE(szText.Reserve(std::numeric_limits<size_t>::max()));
    EXPECT_FALSE(LStringLongTemplate<wchar_t>().Reserve(std::numeric_limits<size_t>::max() / 4 + 2));
    EXPECT_EQ(szText.View(), "kept");
}
