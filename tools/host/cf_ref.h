// Ownership of CoreFoundation references, and the few conversions that a host needs.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <string>
#include <utility>

// Owns one reference, or null.
template <class Ref>
class CFOwner {
public:
    CFOwner() noexcept = default;
    explicit CFOwner(Ref pOwned) noexcept : pObject(pOwned) {}
    CFOwner(CFOwner&& oOther) noexcept : pObject(std::exchange(oOther.pObject, nullptr)) {}
    CFOwner& operator=(CFOwner&& oOther) noexcept {
        std::swap(pObject, oOther.pObject);
        return *this;
    }
    ~CFOwner() {
        if (pObject)
            CFRelease(pObject);
    }

    Ref Get() const noexcept { return pObject; }
    explicit operator bool() const noexcept { return pObject != nullptr; }

private:
    Ref pObject = nullptr;
};

inline CFOwner<CFStringRef> MakeCFString(std::string const& szText) {
    return CFOwner<CFStringRef>(CFStringCreateWithCString(nullptr, szText.c_str(), kCFStringEncodingUTF8));
}

// "" for null.
inline std::string TextOf(CFStringRef pText) {
    if (!pText)
        return "";
    std::string szText(
        static_cast<size_t>(CFStringGetMaximumSizeForEncoding(CFStringGetLength(pText), kCFStringEncodingUTF8) + 1),
        '\0');
    CFStringGetCString(pText, szText.data(), static_cast<CFIndex>(szText.size()), kCFStringEncodingUTF8);
    szText.resize(szText.find('\0'));
    return szText;
}
