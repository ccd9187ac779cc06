#include "tests/platform/corefoundation.h"

#include <cmath>
#include <limits>

using Numbers = CoreFoundation;

namespace {

constexpr double kTwoTo53 = 9007199254740992.0;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <class T>
struct Stored {
    bool bExact;
    T value;
    bool operator==(Stored const&) const = default;
    friend std::ostream& operator<<(std::ostream& out, Stored const& o) {
        return out << (o.bExact ? "exactly " : "about ") << +o.value;
    }
};

template <class T, class Value>
Stored<T> Get(CFNumberType type, Value value) {
    Owned<CFNumberRef> const number = MakeNumber(value);
    T stored{};
    bool const bExact = CFNumberGetValue(number, type, &stored);
    return {bExact, stored};
}

} // namespace

TEST_F(Numbers, ConvertAndSayWhatWasLost) {
    EXPECT_EQ((Stored<SInt8>{true, -128}), (Get<SInt8>(kCFNumberSInt8Type, SInt64{-128})));
    EXPECT_EQ((Stored<SInt8>{false, 44}), (Get<SInt8>(kCFNumberCharType, SInt64{300}))); // the low bits
    EXPECT_EQ((Stored<SInt32>{false, -1}), (Get<SInt32>(kCFNumberSInt32Type, SInt64{0xFFFFFFFF})));
    EXPECT_EQ((Stored<SInt64>{true, INT64_MIN}), (Get<SInt64>(kCFNumberSInt64Type, SInt64{INT64_MIN})));
    EXPECT_EQ((Stored<int>{true, 3}), (Get<int>(kCFNumberIntType, 3.0)));
    EXPECT_EQ((Stored<int>{false, -3}), (Get<int>(kCFNumberIntType, -3.7)));
    EXPECT_EQ((Stored<SInt8>{false, 127}), (Get<SInt8>(kCFNumberSInt8Type, 1e6)));
    EXPECT_EQ((Stored<SInt64>{false, INT64_MAX}), (Get<SInt64>(kCFNumberSInt64Type, 9223372036854775808.0)));
    EXPECT_EQ((Stored<SInt64>{false, INT64_MIN}), (Get<SInt64>(kCFNumberSInt64Type, -kInfinity)));
    EXPECT_EQ((Stored<int>{false, 0}), (Get<int>(kCFNumberIntType, std::nan(""))));
    EXPECT_EQ((Stored<double>{true, kTwoTo53}), (Get<double>(kCFNumberDoubleType, SInt64{1} << 53)));
    EXPECT_EQ((Stored<double>{false, kTwoTo53}), (Get<double>(kCFNumberDoubleType, (SInt64{1} << 53) + 1)));
    EXPECT_EQ((Stored<double>{false, 9223372036854775808.0}), (Get<double>(kCFNumberDoubleType, SInt64{INT64_MAX})));
    EXPECT_EQ((Stored<float>{true, 0.5f}), (Get<float>(kCFNumberFloatType, 0.5)));
    EXPECT_EQ((Stored<float>{false, 0.1f}), (Get<float>(kCFNumberFloatType, 0.1)));
    EXPECT_EQ((Stored<float>{false, -std::numeric_limits<float>::infinity()}),
              (Get<float>(kCFNumberFloatType, -1e300)));
}

TEST_F(Numbers, KeepTheirTypeInItsSizedForm) {
    struct {
        CFNumberType made, kept;
        CFIndex nByteCount;
    } const cases[] = {
        {kCFNumberCharType, kCFNumberSInt8Type, 1},      {kCFNumberShortType, kCFNumberSInt16Type, 2},
        {kCFNumberIntType, kCFNumberSInt32Type, 4},      {kCFNumberLongType, kCFNumberSInt64Type, 8},
        {kCFNumberCFIndexType, kCFNumberSInt64Type, 8},  {kCFNumberFloatType, kCFNumberFloat32Type, 4},
        {kCFNumberCGFloatType, kCFNumberFloat64Type, 8},
    };
    SInt64 const nZero = 0;
    for (auto const& oCase : cases) {
        Owned<CFNumberRef> const number = CFNumberCreate(nullptr, oCase.made, &nZero);
        EXPECT_EQ(oCase.kept, CFNumberGetType(number)) << oCase.made;
        EXPECT_EQ(oCase.nByteCount, CFNumberGetByteSize(number)) << oCase.made;
    }
    EXPECT_FALSE(CFNumberCreate(nullptr, 17, &nZero));
    EXPECT_FALSE(CFNumberCreate(nullptr, 0, &nZero));
}

TEST_F(Numbers, HaveOneOrderAcrossTypes) {
    // In ascending order; each pair is compared both ways.
    Owned<CFNumberRef> const ordered[] = {MakeNumber(std::nan("")),
                                          MakeNumber(-kInfinity),
                                          MakeNumber(SInt64{INT64_MIN}),
                                          MakeNumber(-0.5),
                                          MakeNumber(SInt64{0}),
                                          MakeNumber(0.5),
                                          MakeNumber(kTwoTo53),
                                          MakeNumber((SInt64{1} << 53) + 1),
                                          MakeNumber(SInt64{INT64_MAX} - 1),
                                          MakeNumber(SInt64{INT64_MAX}),
                                          MakeNumber(9223372036854775808.0),
                                          MakeNumber(kInfinity)};
    for (size_t n = 0; n < std::size(ordered); ++n)
        for (size_t k = 0; k < std::size(ordered); ++k) {
            CFComparisonResult const expected = n < k ? -1 : n > k ? 1 : 0;
            EXPECT_EQ(expected, CFNumberCompare(ordered[n], ordered[k], nullptr)) << n << " ? " << k;
            EXPECT_EQ(n == k, CFEqual(ordered[n], ordered[k])) << n << " ? " << k;
        }
}
