// Sections and records: what touches more than one key.
#include "settings/preferences.h"

#include "base/utf.h"
#include "settings/cf_string.h"
#include "settings/preference_keys.h"

#include <algorithm>
#include <vector>

namespace {

constexpr std::size_t kMostBytesOfAUnit = 3; // of UTF-8; four bytes are two units

void Delete(CFStringRef pUser, CFStringRef pKey) {
    LPreferenceSet(pUser, pKey, nullptr);
}

// Where a key of a record goes, and with what.
struct Move {
    LCFString oFrom, oTo;
    LCFOwner<CFPropertyListRef> oValue;
};

// What a key's value is at its new place.
LCFOwner<CFPropertyListRef> ValueToCarry(CFStringRef pUser, CFStringRef pKey) {
    LCFOwner<CFPropertyListRef> oValue(LPreferenceCopy(pUser, pKey));
    if (oValue && CFGetTypeID(oValue.Get()) != CFStringGetTypeID())
        return oValue;
    char szValue[kLNameSize] = "";
    if (oValue)
        LCFString(static_cast<CFStringRef>(CFRetain(oValue.Get()))).GetString(szValue, sizeof szValue);
    return LCFOwner<CFPropertyListRef>(CFRetain(LCFString(szValue).Get()));
}

// Whether a preference file takes it: not with a control character in it, for one.
bool CanBeStored(char const* szText) {
    LCFString const oText(szText);
    return oText && LCFOwner<CFDataRef>(
                        CFPropertyListCreateData(nullptr, oText.Get(), kCFPropertyListXMLFormat_v1_0, 0, nullptr));
}

// False when one of the new keys is too long: as a whole, or for the section of an item, which nobody could read then.
bool PlanMoves(CFStringRef pUser, char const* szKeyPath, char const* szNewKey, std::string_view szNewPath,
               std::vector<Move>& lMoves) {
    LKeyText const oPath(szKeyPath);
    LPreferenceKeys oKeys(pUser);
    for (unsigned long n = 0; n < oKeys.GetCount(); ++n) {
        std::u16string_view const szKey = oKeys.GetText(n);
        if (!LKeyBeginsWith(szKey, oPath.View()))
            continue;
        char szTo[kLFullKeySize];
        char szRest[kMostBytesOfAUnit * kLFullKeySize];
        std::size_t const nRest = LCopyUTF8FromUnicode(szRest, sizeof szRest, szKey.substr(oPath.View().size()));
        if (!LJoinKey(szTo, szNewPath, {szRest, nRest}) || std::string_view(szTo).rfind('/') >= kLNameSize)
            return false;
        auto const pKey = oKeys.GetKey(n);
        auto oValue = szKey.size() == oPath.View().size()
                          ? LCFOwner<CFPropertyListRef>(CFRetain(LCFString(szNewKey).Get()))
                          : ValueToCarry(pUser, pKey);
        lMoves.push_back({LCFString(static_cast<CFStringRef>(CFRetain(pKey))), LCFString(szTo), std::move(oValue)});
    }
    return oKeys.GetCount() > 0;
}

// Whether a buffer for names takes it.
bool IsName(std::u16string_view szText) {
    char szName[kMostBytesOfAUnit * kLFullKeySize];
    return szText.size() < kLNameSize / kMostBytesOfAUnit ||
           LCopyUTF8FromUnicode(szName, sizeof szName, szText) < kLNameSize;
}

} // namespace

void _LSettingDeleteSection(CFStringRef pUser, char const* szSection) noexcept {
    if (!LIsKeyPart(szSection) || !szSection[0])
        return;
    char szPrefix[kLFullKeySize];
    _LSettingGetFullKeyName(szPrefix, szSection, "");
    LKeyText const oPrefix(szPrefix);
    LPreferenceKeys oKeys(pUser);
    bool bDeleted = false;
    for (unsigned long n = 0; n < oKeys.GetCount(); ++n)
        if (LKeyBeginsWith(oKeys.GetText(n), oPrefix.View())) {
            Delete(pUser, oKeys.GetKey(n));
            bDeleted = true;
        }
    if (bDeleted)
        LPreferenceSynchronize(pUser);
}

bool _LSettingTestKeyHasValue(CFStringRef pUser, char const* szSection) noexcept {
    if (!LIsKeyPart(szSection) || !szSection[0])
        return false;
    char szInside[kLFullKeySize];
    LKeyText const oInside(LFixedWriter(szInside).Add(szSection).Add('/').Text());
    LPreferenceKeys oKeys(pUser);
    for (unsigned long n = 0; n < oKeys.GetCount(); ++n)
        if (auto const szKey = oKeys.GetText(n);
            szKey.size() > oInside.View().size() && LKeyBeginsWith(szKey, oInside.View()))
            return true;
    return false;
}

void _LSettingMakePrimaryKeyFromPath(char* szOut, char const* szPath) noexcept {
    std::string_view szKey = szPath ? szPath : "";
    szKey = szKey.substr(0, LCutUTF8(szKey, kLNameSize - 1));
    if (szKey.ends_with('/'))
        szKey.remove_suffix(1);
    LCopyUTF8(szOut, kLNameSize, szKey.substr(szKey.rfind('/') + 1)); // npos + 1 is 0
}

bool _LSettingMakeParentKeyPath(CFStringRef pUser, char const* szPath) noexcept {
    if (!LIsKeyPart(szPath))
        return true;
    std::string_view const szWhole = szPath;
    std::size_t nAt = std::min(szWhole.find_first_not_of('/'), szWhole.size());
    while ((nAt = szWhole.find('/', nAt)) != szWhole.npos) {
        nAt = std::min(szWhole.find_first_not_of('/', nAt), szWhole.size());
        char szRecord[kLNameSize], szPrimaryKey[kLNameSize];
        LFixedWriter(szRecord).Add(szPath, nAt);
        if (_LSettingTestKeyExists(pUser, szRecord))
            continue;
        _LSettingMakePrimaryKeyFromPath(szPrimaryKey, szRecord);
        _LSettingSetString(pUser, szRecord, "", szPrimaryKey);
    }
    return true;
}

bool _LSettingPlistGetNextKey(CFStringRef pUser, char const* szPrefix, char const* szCurrent, char* szNext) noexcept {
    LKeyText const oAfter(LIsKeyPart(szCurrent) ? szCurrent : ""); // which may be where the next one goes
    szNext[0] = '\0';
    if (!LIsKeyPart(szPrefix))
        return false;
    LKeyText const oPrefix(szPrefix);
    char16_t szBest[kLFullKeySize];
    std::u16string_view szBestSoFar;
    LPreferenceKeys oKeys(pUser);
    for (unsigned long n = 0; n < oKeys.GetCount(); ++n) {
        std::u16string_view szName = oKeys.GetText(n);
        if (!LKeyBeginsWith(szName, oPrefix.View()))
            continue;
        szName.remove_prefix(oPrefix.View().size());
        szName = szName.substr(0, szName.find(u'/'));
        if (szName.empty() || LCompareKeys(szName, oAfter.View()) <= 0 ||
            (!szBestSoFar.empty() && LCompareKeys(szName, szBestSoFar) >= 0) || !IsName(szName))
            continue;
        szName.copy(szBest, szName.size());
        szBestSoFar = {szBest, szName.size()};
    }
    LCopyUTF8FromUnicode(szNext, kLNameSize, szBestSoFar);
    return szNext[0] != '\0';
}

bool _LSettingFindRecord(CFStringRef pUser, char* szName, unsigned long& nIndex, char const* szPath,
                         char const* szSubKey) noexcept {
    if (!szSubKey)
        szSubKey = "";
    if (!LIsKeyPart(szPath) || !LIsKeyPart(szSubKey) || (!szPath[0] && !szSubKey[0]))
        return false;
    char szBuffer[kLFullKeySize];
    LFixedWriter oWriter(szBuffer);
    oWriter.Add(szPath);
    if (szSubKey[0] && !std::string_view(szPath).ends_with('/'))
        oWriter.Add('/');
    LKeyText const oBase(oWriter.Add(szSubKey).Text());
    std::size_t const nBase = oBase.View().size();
    for (LPreferenceKeys oKeys(pUser); nIndex < oKeys.GetCount(); ++nIndex) {
        std::u16string_view szKey = oKeys.GetText(nIndex);
        if (!LKeyBeginsWith(szKey, oBase.View()) || szKey.size() == nBase || szKey[nBase] != u'/')
            continue;
        szKey.remove_prefix(nBase + 1);
        std::size_t const nSlash = szKey.find(u'/');
        if (szKey.empty() || (nSlash != szKey.npos && nSlash + 1 != szKey.size()) || !IsName(szKey.substr(0, nSlash)))
            continue;
        LCopyUTF8FromUnicode(szName, kLNameSize, szKey.substr(0, nSlash));
        return true;
    }
    return false;
}

bool _LSettingChangePrimaryKey(CFStringRef pUser, char const* szKeyPath, char const* szNewKey,
                               char* szNewKeyPath) noexcept {
    szNewKeyPath[0] = '\0';
    if (!LIsKeyPart(szKeyPath) || !LIsKeyPart(szNewKey) || !szNewKey[0])
        return false;
    std::string_view szParent = szKeyPath;
    if (szParent.find('/') == szParent.npos)
        return false;
    if (szParent.ends_with('/'))
        szParent.remove_suffix(1);
    szParent = szParent.substr(0, szParent.rfind('/') + 1);
    char szNewPath[kLFullKeySize];
    // With the slash that will end it the record's path must still be one.
    if (!LJoinKey(szNewPath, szParent, szNewKey) || std::strlen(szNewPath) >= kLNameSize - 1)
        return false;
    std::vector<Move> lMoves;
    // What the platform leaves out would be gone with its old key: nothing is moved to such a one.
    if (!CanBeStored(szNewKey) || !PlanMoves(pUser, szKeyPath, szNewKey, szNewPath, lMoves))
        return false;
    for (auto const& oMove : lMoves) // all of them, before a new key that is also an old one is set
        Delete(pUser, oMove.oFrom.Get());
    for (auto const& oMove : lMoves)
        LPreferenceSet(pUser, oMove.oTo.Get(), oMove.oValue.Get());
    LPreferenceSynchronize(pUser);
    LCopyUTF8(szNewKeyPath, kLNameSize, szNewPath);
    return true;
}
