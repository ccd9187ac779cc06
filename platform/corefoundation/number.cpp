#include "platform/corefoundation/object.h"
#include "platform/corefoundation/plain_locale.h"
#include "platform/corefoundation/string_object.h"

#include <CoreFoundation/CFNumber.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

struct __CFBoolean final : cf::Object {
    constexpr explicit __CFBoolean(bool bIsTrue) noexcept : Object(Immortal{}), bTrue(bIsTrue) {}

    CFTypeID TypeOf() const noexcept override { return cf::kTypeBoolean; }
    CFHashCode Hash() const noexcept override { return bTrue; }
    std::string Description() const override { return Head() + (bTrue ? "{value = true}" : "{value = false}"); }

    bool const bTrue;

private:
    void Destroy() const noexcept override {}
};

// Integers as 64 bits, the rest as a double, which holds every float.
struct __CFNumber final : cf::Object {
    __CFNumber(CFNumberType aType, SInt64 n) noexcept : type(aType), nValue(n) {}
    __CFNumber(CFNumberType aType, double d) noexcept : type(aType), value(d) {}
    constexpr __CFNumber(Immortal, double d) noexcept : Object(Immortal{}), type(kCFNumberFloat64Type), value(d) {}

    CFTypeID TypeOf() const noexcept override { return cf::kTypeNumber; }
    bool Equals(Object const& other) const noexcept override {
        return Compare(static_cast<__CFNumber const&>(other)) == kCFCompareEqualTo;
    }
    CFHashCode Hash() const noexcept override;
    std::string Description() const override;
    std::u16string FormattingText() const override;

    bool IsFloat() const noexcept { return type == kCFNumberFloat32Type || type == kCFNumberFloat64Type; }
    double AsDouble() const noexcept { return IsFloat() ? value : static_cast<double>(nValue); }
    CFComparisonResult Compare(__CFNumber const& other) const noexcept;

    CFNumberType const type; // one of the six sized types
    SInt64 const nValue = 0;
    double const value = 0;

private:
    std::string Digits() const;
    void Destroy() const noexcept override { delete this; }
};

namespace {

constinit __CFBoolean const oTrue{true};
constinit __CFBoolean const oFalse{false};
constinit __CFNumber const oPositiveInfinity{cf::Object::Immortal{}, std::numeric_limits<double>::infinity()};
constinit __CFNumber const oNegativeInfinity{cf::Object::Immortal{}, -std::numeric_limits<double>::infinity()};
constinit __CFNumber const oNaN{cf::Object::Immortal{}, std::numeric_limits<double>::quiet_NaN()};

constexpr double kTwoTo63 = 9223372036854775808.0;

struct TypeRow {
    CFNumberType sized; // what the type is on this machine
    CFIndex nByteCount;
    char const* szName;
};
// By CFNumberType.
constexpr TypeRow kTypes[] = {
    {0, 0, ""},
    {kCFNumberSInt8Type, 1, "kCFNumberSInt8Type"},
    {kCFNumberSInt16Type, 2, "kCFNumberSInt16Type"},
    {kCFNumberSInt32Type, 4, "kCFNumberSInt32Type"},
    {kCFNumberSInt64Type, 8, "kCFNumberSInt64Type"},
    {kCFNumberFloat32Type, 4, "kCFNumberFloat32Type"},
    {kCFNumberFloat64Type, 8, "kCFNumberFloat64Type"},
    {kCFNumberSInt8Type, 1, ""},   // char
    {kCFNumberSInt16Type, 2, ""},  // short
    {kCFNumberSInt32Type, 4, ""},  // int
    {kCFNumberSInt64Type, 8, ""},  // long
    {kCFNumberSInt64Type, 8, ""},  // long long
    {kCFNumberFloat32Type, 4, ""}, // float
    {kCFNumberFloat64Type, 8, ""}, // double
    {kCFNumberSInt64Type, 8, ""},  // CFIndex
    {kCFNumberSInt64Type, 8, ""},  // NSInteger
    {kCFNumberFloat64Type, 8, ""}, // CGFloat
};

CFNumberType SizedType(CFNumberType type) noexcept {
    return type > 0 && type < static_cast<CFNumberType>(std::size(kTypes)) ? kTypes[type].sized : 0;
}

template <class T>
T Load(void const* from) noexcept {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

// A NaN below everything, so that numbers have one order.
CFComparisonResult OrderOf(double first, double second) noexcept {
    if (std::isnan(first) || std::isnan(second))
        return static_cast<CFComparisonResult>(std::isnan(second)) - static_cast<CFComparisonResult>(std::isnan(first));
    return first < second ? kCFCompareLessThan : first > second ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

// Exact, where turning the integer into a double would round it.
CFComparisonResult OrderOf(SInt64 first, double second) noexcept {
    if (std::isnan(second) || second < -kTwoTo63)
        return kCFCompareGreaterThan;
    if (second >= kTwoTo63)
        return kCFCompareLessThan;
    SInt64 const whole = static_cast<SInt64>(second);
    if (first != whole)
        return first < whole ? kCFCompareLessThan : kCFCompareGreaterThan;
    return OrderOf(0.0, second - static_cast<double>(whole));
}

// The float cut to an integer; false when anything was lost.
bool ToInteger(double value, SInt64& out) noexcept {
    if (std::isnan(value) || value >= kTwoTo63 || value < -kTwoTo63) {
        out = std::isnan(value) ? 0
              : value > 0       ? std::numeric_limits<SInt64>::max()
                                : std::numeric_limits<SInt64>::min();
        return false;
    }
    out = static_cast<SInt64>(value);
    return static_cast<double>(out) == value;
}

template <class T>
bool StoreInteger(__CFNumber const& number, void* to) noexcept {
    SInt64 n = number.nValue;
    bool bExact = !number.IsFloat() || ToInteger(number.value, n);
    if (number.IsFloat()) // the nearest limit rather than the low bits
        n = std::min<SInt64>(std::max<SInt64>(n, std::numeric_limits<T>::min()), std::numeric_limits<T>::max());
    T const stored = static_cast<T>(n);
    bExact = bExact && stored == (number.IsFloat() ? n : number.nValue) &&
             (!number.IsFloat() || static_cast<double>(stored) == number.value);
    std::memcpy(to, &stored, sizeof stored);
    return bExact;
}

template <class T>
bool StoreFloat(__CFNumber const& number, void* to) noexcept {
    double const value = number.AsDouble();
    // Past a float's range is infinity; the plain conversion would be undefined.
    T const stored = std::isfinite(value) && std::fabs(value) > static_cast<double>(std::numeric_limits<T>::max())
                         ? std::copysign(std::numeric_limits<T>::infinity(), static_cast<T>(value > 0 ? 1 : -1))
                         : static_cast<T>(value);
    std::memcpy(to, &stored, sizeof stored);
    return number.IsFloat() ? OrderOf(static_cast<double>(stored), value) == kCFCompareEqualTo
                            : OrderOf(number.nValue, static_cast<double>(stored)) == kCFCompareEqualTo;
}

} // namespace

CFComparisonResult __CFNumber::Compare(__CFNumber const& other) const noexcept {
    if (IsFloat())
        return other.IsFloat() ? OrderOf(value, other.value) : -OrderOf(other.nValue, value);
    if (other.IsFloat())
        return OrderOf(nValue, other.value);
    return nValue < other.nValue   ? kCFCompareLessThan
           : nValue > other.nValue ? kCFCompareGreaterThan
                                   : kCFCompareEqualTo;
}

CFHashCode __CFNumber::Hash() const noexcept {
    SInt64 n = nValue;
    if (IsFloat() && !ToInteger(value, n))
        return std::isnan(value) ? 0 : std::hash<double>()(value);
    return std::hash<SInt64>()(n);
}

std::string __CFNumber::Digits() const {
    cf::PlainLocale const oPlain;
    char szDigits[40];
    if (IsFloat())
        std::snprintf(szDigits, sizeof szDigits, "%.*g", type == kCFNumberFloat32Type ? 7 : 15, value);
    else
        std::snprintf(szDigits, sizeof szDigits, "%lld", nValue);
    return szDigits;
}

std::string __CFNumber::Description() const {
    std::string const szSign = AsDouble() < 0 || std::isnan(AsDouble()) ? "" : "+";
    return Head() + "{value = " + szSign + Digits() + ", type = " + kTypes[type].szName + "}";
}

std::u16string __CFNumber::FormattingText() const {
    auto const szDigits = Digits();
    return {szDigits.begin(), szDigits.end()};
}

CFBooleanRef const kCFBooleanTrue = &oTrue;
CFBooleanRef const kCFBooleanFalse = &oFalse;
CFNumberRef const kCFNumberPositiveInfinity = &oPositiveInfinity;
CFNumberRef const kCFNumberNegativeInfinity = &oNegativeInfinity;
CFNumberRef const kCFNumberNaN = &oNaN;

CFTypeID CFBooleanGetTypeID() {
    return cf::kTypeBoolean;
}

Boolean CFBooleanGetValue(CFBooleanRef value) {
    return value->bTrue;
}

CFTypeID CFNumberGetTypeID() {
    return cf::kTypeNumber;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, void const* value) {
    CFNumberType const sized = SizedType(type);
    switch (sized) {
    case kCFNumberSInt8Type: return new __CFNumber(sized, static_cast<SInt64>(Load<SInt8>(value)));
    case kCFNumberSInt16Type: return new __CFNumber(sized, static_cast<SInt64>(Load<SInt16>(value)));
    case kCFNumberSInt32Type: return new __CFNumber(sized, static_cast<SInt64>(Load<SInt32>(value)));
    case kCFNumberSInt64Type: return new __CFNumber(sized, Load<SInt64>(value));
    case kCFNumberFloat32Type: return new __CFNumber(sized, static_cast<double>(Load<Float32>(value)));
    case kCFNumberFloat64Type: return new __CFNumber(sized, Load<Float64>(value));
    default: return nullptr;
    }
}

CFNumberType CFNumberGetType(CFNumberRef number) {
    return number->type;
}

CFIndex CFNumberGetByteSize(CFNumberRef number) {
    return kTypes[number->type].nByteCount;
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    return number->IsFloat();
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
    switch (SizedType(type)) {
    case kCFNumberSInt8Type: return StoreInteger<SInt8>(*number, value);
    case kCFNumberSInt16Type: return StoreInteger<SInt16>(*number, value);
    case kCFNumberSInt32Type: return StoreInteger<SInt32>(*number, value);
    case kCFNumberSInt64Type: return StoreInteger<SInt64>(*number, value);
    case kCFNumberFloat32Type: return StoreFloat<Float32>(*number, value);
    case kCFNumberFloat64Type: return StoreFloat<Float64>(*number, value);
    default: return false;
    }
}

CFComparisonResult CFNumberCompare(CFNumberRef first, CFNumberRef second, void*) {
    return first->Compare(*second);
}
