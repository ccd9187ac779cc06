#include "settings/plist.h"

#include "base/cf_ref.h"
#include "settings/cf_string.h"

#include <limits>

namespace {

template <class Object>
Object As(void const* pValue, CFTypeID nType) {
    return pValue && CFGetTypeID(pValue) == nType ? static_cast<Object>(pValue) : nullptr;
}

// The dictionary in the file of a URL, for the caller; null when there is none.
LCFOwner<CFPropertyListRef> ReadList(CFURLRef pURL) {
    CFDataRef pData = nullptr;
    if (!pURL || !CFURLCreateDataAndPropertiesFromResource(nullptr, pURL, &pData, nullptr, nullptr, nullptr))
        return {};
    LCFOwner<CFDataRef> const oData(pData);
    return LCFOwner<CFPropertyListRef>(
        CFPropertyListCreateWithData(nullptr, pData, kCFPropertyListImmutable, nullptr, nullptr));
}

} // namespace

bool LPlist::CreateFromFile(char const* szPath) noexcept {
    LStringLong szURL;
    if (!szPath || !szURL.Append("file://localhost") || !szURL.Append(szPath))
        return false;
    LCFString const oURL(szURL.GetString());
    LCFOwner<CFURLRef> const oFile(oURL ? CFURLCreateWithString(nullptr, oURL.Get(), nullptr) : nullptr);
    auto const oList = ReadList(oFile.Get());
    return CreateFromDictionary(As<CFDictionaryRef>(oList.Get(), CFDictionaryGetTypeID()));
}

bool LPlist::WriteToFile(char const* szPath) const noexcept {
    LCFString const oPath(szPath);
    if (!pDictionary || !oPath)
        return false;
    LCFOwner<CFURLRef> const oFile(CFURLCreateWithFileSystemPath(nullptr, oPath.Get(), kCFURLPOSIXPathStyle, false));
    LCFOwner<CFDataRef> const oData(
        CFPropertyListCreateData(nullptr, pDictionary, kCFPropertyListXMLFormat_v1_0, 0, nullptr));
    return oFile && oData && CFURLWriteDataAndPropertiesToResource(oFile.Get(), oData.Get(), nullptr, nullptr);
}

bool LPlist::CreateFromDictionary(CFDictionaryRef const& pFrom) noexcept {
    auto const pCopy = pFrom ? CFDictionaryCreateMutableCopy(nullptr, 0, pFrom) : nullptr;
    if (pCopy)
        Replace(pCopy);
    return pCopy;
}

bool LPlist::TestKeyExists(char const* szKey) const noexcept {
    void const* pValue;
    return GetValue(szKey, pValue);
}

bool LPlist::TestValueExists(void const* const& pValue) const noexcept {
    return pDictionary && pValue && CFDictionaryContainsValue(pDictionary, pValue);
}

void LPlist::RemoveValue(char const* szKey) noexcept {
    if (LCFString const oKey(szKey); pDictionary && oKey)
        CFDictionaryRemoveValue(pDictionary, oKey.Get());
}

void LPlist::RemoveAllValues() noexcept {
    if (pDictionary)
        CFDictionaryRemoveAllValues(pDictionary);
}

bool LPlist::GetValue(char const* szKey, void const*& pValue) const noexcept {
    LCFString const oKey(szKey);
    return pDictionary && oKey && CFDictionaryGetValueIfPresent(pDictionary, oKey.Get(), &pValue);
}

bool LPlist::GetValueArraySize(char const* szKey, unsigned long& nSize) const noexcept {
    void const* pValue = nullptr;
    auto const pArray = GetValue(szKey, pValue) ? As<CFArrayRef>(pValue, CFArrayGetTypeID()) : nullptr;
    if (pArray)
        nSize = static_cast<unsigned long>(CFArrayGetCount(pArray));
    return pArray;
}

unsigned long LPlist::GetSize() const noexcept {
    return pDictionary ? static_cast<unsigned long>(CFDictionaryGetCount(pDictionary)) : 0;
}

bool LPlist::ConvertToValue(bool bFrom, void const*& pValue) noexcept {
    pValue = CFRetain(bFrom ? kCFBooleanTrue : kCFBooleanFalse);
    return true;
}

bool LPlist::ConvertToValue(int nFrom, void const*& pValue) noexcept {
    pValue = CFNumberCreate(nullptr, kCFNumberIntType, &nFrom);
    return pValue;
}

bool LPlist::ConvertToValue(float fFrom, void const*& pValue) noexcept {
    pValue = CFNumberCreate(nullptr, kCFNumberFloatType, &fFrom);
    return pValue;
}

bool LPlist::ConvertToValue(LStringLongTemplate<char> const& szFrom, void const*& pValue) noexcept {
    return ConvertToValue(szFrom.GetString(), pValue);
}

bool LPlist::ConvertToValue(char const* szFrom, void const*& pValue) noexcept {
    LCFString const oText(szFrom);
    if (oText)
        pValue = CFStringCreateCopy(nullptr, oText.Get());
    return static_cast<bool>(oText);
}

bool LPlist::ConvertToValue(LPlist const& oFrom, void const*& pValue) noexcept {
    if (oFrom.pDictionary)
        pValue = CFDictionaryCreateMutableCopy(nullptr, 0, oFrom.pDictionary);
    return oFrom.pDictionary;
}

bool LPlist::ConvertFromValue(void const* const& pValue, bool& bTo) noexcept {
    auto const pBoolean = As<CFBooleanRef>(pValue, CFBooleanGetTypeID());
    if (pBoolean)
        bTo = CFBooleanGetValue(pBoolean);
    return pBoolean;
}

bool LPlist::ConvertFromValue(void const* const& pValue, int& nTo) noexcept {
    using Limits = std::numeric_limits<int>;
    auto const pNumber = As<CFNumberRef>(pValue, CFNumberGetTypeID());
    double f = 0;
    if (pNumber)
        CFNumberGetValue(pNumber, kCFNumberDoubleType, &f);
    if (!pNumber || !(f > Limits::min() - 1.0 && f < Limits::max() + 1.0))
        return false;
    CFNumberGetValue(pNumber, kCFNumberIntType, &nTo); // false only for what was behind the point
    return true;
}

bool LPlist::ConvertFromValue(void const* const& pValue, float& fTo) noexcept {
    auto const pNumber = As<CFNumberRef>(pValue, CFNumberGetTypeID());
    if (pNumber)
        CFNumberGetValue(pNumber, kCFNumberFloatType, &fTo); // false when it had to round
    return pNumber;
}

bool LPlist::ConvertFromValue(void const* const& pValue, LStringLongTemplate<char>& szTo) noexcept {
    auto const pString = As<CFStringRef>(pValue, CFStringGetTypeID());
    return pString && LCFString(static_cast<CFStringRef>(CFRetain(pString))).GetString(szTo);
}

bool LPlist::ConvertFromValue(void const* const& pValue, char* szTo) noexcept {
    LStringLong szText;
    if (!ConvertFromValue(pValue, szText))
        return false;
    std::memcpy(szTo, szText.GetString(), szText.GetLength() + 1);
    return true;
}

bool LPlist::ConvertFromValue(void const* const& pValue, LPlist& oTo) noexcept {
    return oTo.CreateFromDictionary(As<CFDictionaryRef>(pValue, CFDictionaryGetTypeID()));
}
