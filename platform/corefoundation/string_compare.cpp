// Order, equality and search of strings.
#include "platform/corefoundation/string_object.h"
#include "platform/corefoundation/unicode.h"

#include <CoreFoundation/CFString.h>

#include <algorithm>

namespace {

bool IsDigit(char32_t c) noexcept {
    return c >= '0' && c <= '9';
}

// Cuts the run of digits at the text's start off and returns it without leading zeros.
std::u16string_view TakeNumber(std::u16string_view& rest) noexcept {
    size_t const nEnd = static_cast<size_t>(std::find_if_not(rest.begin(), rest.end(), IsDigit) - rest.begin());
    auto number = rest.substr(0, nEnd);
    rest.remove_prefix(nEnd);
    number.remove_prefix(std::min(number.find_first_not_of(u'0'), number.size()));
    return number;
}

template <class T>
CFComparisonResult Order(T const& first, T const& second) noexcept {
    return first < second ? kCFCompareLessThan : second < first ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

CFComparisonResult OrderOfNumbers(std::u16string_view first, std::u16string_view second) noexcept {
    return first.size() != second.size() ? Order(first.size(), second.size()) : Order(first, second);
}

char32_t TakeCharacter(std::u16string_view& rest, bool bFold) noexcept {
    size_t n = 0;
    char32_t const c = cf::NextCharacter(rest, n);
    rest.remove_prefix(n);
    return bFold ? cf::LowerCase(c) : c;
}

CFComparisonResult Compare(std::u16string_view first, std::u16string_view second, CFStringCompareFlags options) {
    if ((options & (kCFCompareCaseInsensitive | kCFCompareNumerically)) == 0)
        return Order(first, second);
    bool const bFold = options & kCFCompareCaseInsensitive;
    while (!first.empty() && !second.empty()) {
        bool const bNumbers = (options & kCFCompareNumerically) && IsDigit(first[0]) && IsDigit(second[0]);
        CFComparisonResult order = kCFCompareEqualTo;
        if (bNumbers) {
            auto const firstNumber = TakeNumber(first);
            order = OrderOfNumbers(firstNumber, TakeNumber(second));
        } else {
            char32_t const c = TakeCharacter(first, bFold);
            order = Order(c, TakeCharacter(second, bFold));
        }
        if (order != kCFCompareEqualTo)
            return order;
    }
    return Order(first.size(), second.size());
}

std::u16string_view TextOf(CFStringRef text) noexcept {
    return cf::Slice(text, {0, CFStringGetLength(text)});
}

} // namespace

CFComparisonResult CFStringCompare(CFStringRef first, CFStringRef second, CFStringCompareFlags options) {
    return Compare(TextOf(first), TextOf(second), options);
}

CFComparisonResult CFStringCompareWithOptions(CFStringRef first, CFStringRef second, CFRange rangeOfFirst,
                                              CFStringCompareFlags options) {
    return Compare(cf::Slice(first, rangeOfFirst), TextOf(second), options);
}

CFRange CFStringFind(CFStringRef text, CFStringRef wanted, CFStringCompareFlags options) {
    auto const whole = TextOf(text), part = TextOf(wanted);
    CFRange const nowhere{kCFNotFound, 0};
    if (part.empty() || part.size() > whole.size())
        return nowhere;
    size_t const nLast = whole.size() - part.size();
    bool const bBackwards = options & kCFCompareBackwards;
    auto const oFold = options & kCFCompareCaseInsensitive;
    size_t const nTries = options & kCFCompareAnchored ? 1 : nLast + 1;
    for (size_t n = 0; n < nTries; ++n) {
        size_t const nAt = bBackwards ? nLast - n : n;
        if (Compare(whole.substr(nAt, part.size()), part, oFold) == kCFCompareEqualTo)
            return {static_cast<CFIndex>(nAt), static_cast<CFIndex>(part.size())};
    }
    return nowhere;
}

Boolean CFStringHasPrefix(CFStringRef text, CFStringRef prefix) {
    return TextOf(text).starts_with(TextOf(prefix));
}

Boolean CFStringHasSuffix(CFStringRef text, CFStringRef suffix) {
    return TextOf(text).ends_with(TextOf(suffix));
}
