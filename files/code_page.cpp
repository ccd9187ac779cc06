#include "files/code_page.h"

#include "base/cf_ref.h"

#include <CoreFoundation/CoreFoundation.h>

namespace {

using Text = LCFOwner<CFStringRef>;

// Null when the encoding is not known or the bytes are not valid in it.
Text Decode(CFStringEncoding nEncoding, char const* szIn) noexcept {
    return Text(nEncoding == kCFStringEncodingInvalidId ? nullptr
                                                        : CFStringCreateWithCString(nullptr, szIn, nEncoding));
}

std::size_t WriteUTF8(Text const& pText, char* szOut, std::size_t nSize) noexcept {
    CFIndex nWritten = 0;
    if (pText && nSize > 1)
        CFStringGetBytes(pText.Get(), CFRangeMake(0, CFStringGetLength(pText.Get())), kCFStringEncodingUTF8, 0, false,
                         reinterpret_cast<UInt8*>(szOut), static_cast<CFIndex>(nSize - 1), &nWritten);
    szOut[nWritten] = '\0';
    return static_cast<std::size_t>(nWritten);
}

} // namespace

void LCopyFromSpecificCodePage(unsigned int nCodePage, char* szOut, char const* szIn, unsigned long nSize) noexcept {
    if (nSize != 0)
        WriteUTF8(Decode(CFStringConvertWindowsCodepageToEncoding(nCodePage), szIn), szOut, nSize);
}

std::size_t LCopyFromSpecificCodePage(unsigned int nCodePage, LStringLongTemplate<char>& szOut,
                                      LStringLongTemplate<char> const& szIn) noexcept {
    std::size_t const nIn = szIn.GetLength();
    Text const pText = Decode(CFStringConvertWindowsCodepageToEncoding(nCodePage), szIn.GetString());
    szOut.Empty();
    if (!szOut.Reserve(nIn * 6 + 1))
        return 0;
    szOut.SetLength(WriteUTF8(pText, szOut.GetBuffer(), szOut.GetCapacity()));
    return szOut.GetLength();
}

bool LCopyToSpecificCodePage(unsigned int nCodePage, char* szOut, char const* szIn, unsigned long nSize) noexcept {
    if (nSize == 0)
        return false;
    szOut[0] = '\0';
    CFStringEncoding const nEncoding = CFStringConvertWindowsCodepageToEncoding(nCodePage);
    if (nEncoding == kCFStringEncodingInvalidId)
        return false;
    Text const pText = Decode(kCFStringEncodingUTF8, szIn);
    bool const bDone = pText && CFStringGetCString(pText.Get(), szOut, static_cast<CFIndex>(nSize), nEncoding);
    if (!bDone)
        szOut[0] = '\0';
    return bDone;
}
