#include "platform/corefoundation/object.h"

#include <CoreFoundation/CFDate.h>

#include <chrono>
#include <cstdio>

CFTimeInterval const kCFAbsoluteTimeIntervalSince1970 = 978307200.0;

struct __CFDate final : cf::Object {
    explicit __CFDate(CFAbsoluteTime when) noexcept : at(when) {}

    CFTypeID TypeOf() const noexcept override { return cf::kTypeDate; }
    bool Equals(Object const& other) const noexcept override { return at == static_cast<__CFDate const&>(other).at; }
    CFHashCode Hash() const noexcept override { return std::hash<double>()(at); }
    std::string Description() const override {
        char szAt[64];
        std::snprintf(szAt, sizeof szAt, "{at = %.3f}", at);
        return Head() + szAt;
    }

    CFAbsoluteTime const at;

private:
    void Destroy() const noexcept override { delete this; }
};

CFAbsoluteTime CFAbsoluteTimeGetCurrent() {
    std::chrono::duration<double> const oSince1970 = std::chrono::system_clock::now().time_since_epoch();
    return oSince1970.count() - kCFAbsoluteTimeIntervalSince1970;
}

CFTypeID CFDateGetTypeID() {
    return cf::kTypeDate;
}

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime at) {
    return new __CFDate(at);
}

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date) {
    return date->at;
}

CFComparisonResult CFDateCompare(CFDateRef first, CFDateRef second, void*) {
    return first->at < second->at   ? kCFCompareLessThan
           : first->at > second->at ? kCFCompareGreaterThan
                                    : kCFCompareEqualTo;
}
