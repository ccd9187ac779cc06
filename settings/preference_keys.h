// How the keys of the preference store are built, compared and walked through. Any thread; nothing throws.
#pragma once

#include "base/cf_ref.h"
#include "base/fixed_text.h"
#include "base/utf.h"

#include <CoreFoundation/CFPreferences.h>
#include <CoreFoundation/CoreFoundation.h>

#include <string_view>

// A section of 259 bytes, a slash, an item of 259 bytes and a NUL. No key of the store is longer.
inline constexpr std::size_t kLFullKeySize = 2 * kLNameSize;

// Whether it can be a section, a record's path, an item's name: not null and at most 259 bytes. What is longer is
// refused everywhere and never cut: the cut text would be another key.
constexpr bool LIsKeyPart(char const* szText) noexcept {
    return szText && std::string_view(szText).size() < kLNameSize;
}

// Left, a slash unless the left is empty or ends in a separator, right; "" when the whole does not fit.
bool LJoinKey(char (&szOut)[kLFullKeySize], std::string_view szLeft, std::string_view szRight) noexcept;

// Keys are compared in UTF-16, in which the platform keeps them: the walk through thousands of them converts none.
//
// Letter case is ASCII's alone. With Unicode's, texts that are equal differ in length, so "begins with" would have no
// one meaning, and deleting a section would take others with it that a user sees as different.
int LCompareKeys(std::u16string_view szFirst, std::u16string_view szSecond) noexcept; // below 0, 0, above; by character
bool LKeyBeginsWith(std::u16string_view szKey, std::u16string_view szPrefix) noexcept;

// A text of at most 520 bytes of UTF-8 to compare keys with; ill-formed as it is it becomes what a key of it is.
class LKeyText {
public:
    explicit LKeyText(std::string_view szText) noexcept : nLength(LCopyUnicodeFromUTF8(szUnits, kSize, szText)) {}
    std::u16string_view View() const noexcept { return {szUnits, nLength}; }

private:
    static constexpr std::size_t kSize = kLFullKeySize + 1;
    char16_t szUnits[kSize];
    std::size_t nLength;
};

// The keys of one user on this host as they are now. What is set and removed afterwards does not change it.
class LPreferenceKeys {
public:
    explicit LPreferenceKeys(CFStringRef pUser) noexcept;

    unsigned long GetCount() const noexcept { return nCount; }
    CFStringRef GetKey(unsigned long nIndex) const noexcept {
        return static_cast<CFStringRef>(CFArrayGetValueAtIndex(oKeys.Get(), static_cast<CFIndex>(nIndex)));
    }
    // Until the next call; "" for a key that is too long to be the store's.
    std::u16string_view GetText(unsigned long nIndex) noexcept;
    // The same in UTF-8.
    std::string_view GetName(unsigned long nIndex) noexcept;

private:
    LCFOwner<CFArrayRef> oKeys;
    unsigned long nCount = 0;
    char16_t szText[kLFullKeySize];
    char szName[kLFullKeySize];
};

// The application id of all keys.
CFStringRef LPreferenceApplication() noexcept;

// The value of one key, one reference for the caller; null when there is none.
CFPropertyListRef LPreferenceCopy(CFStringRef pUser, CFStringRef pKey) noexcept;
// A null value removes the key.
void LPreferenceSet(CFStringRef pUser, CFStringRef pKey, CFPropertyListRef pValue) noexcept;
// False when the keys can't be read, or not be written: then what was set is kept for the next time.
bool LPreferenceSynchronize(CFStringRef pUser) noexcept;
