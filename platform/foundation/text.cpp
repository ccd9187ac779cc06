#include "platform/foundation/text.h"

std::string TextOf(CFStringRef text) {
    if (!text)
        return "";
    CFIndex nBytes = 0;
    CFRange const oAll = CFRangeMake(0, CFStringGetLength(text));
    CFStringGetBytes(text, oAll, kCFStringEncodingUTF8, 0, false, nullptr, 0, &nBytes);
    std::string szText(static_cast<size_t>(nBytes), '\0');
    CFStringGetBytes(text, oAll, kCFStringEncodingUTF8, 0, false, reinterpret_cast<UInt8*>(szText.data()), nBytes,
                     &nBytes);
    return szText;
}

CFStringRef StringOf(std::string const& szText) {
    return CFStringCreateWithBytes(nullptr, reinterpret_cast<UInt8 const*>(szText.data()),
                                   static_cast<CFIndex>(szText.size()), kCFStringEncodingUTF8, false);
}

std::nullptr_t Fail(NSError* error, int nCode) {
    if (error)
        error->code = nCode;
    return nullptr;
}
