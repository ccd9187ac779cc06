// CoreFoundation strings to text and back.
#pragma once

#include "base/cf_ref.h"

#include <string>

inline LCFOwner<CFStringRef> MakeCFString(std::string const& szText) {
    return LCFOwner<CFStringRef>(CFStringCreateWithCString(nullptr, szText.c_str(), kCFStringEncodingUTF8));
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
