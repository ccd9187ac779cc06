// LPlist: a property-list dictionary, in memory and in a file.
#pragma once

#include "base/string_long.h"

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

// Holds one dictionary, or none to begin with: without one there are no keys and nothing to write. Values are
// CoreFoundation's property-list objects. What fails leaves the dictionary and the outputs as they were, unless it says
// otherwise. Nothing throws. One thread at a time.
class LPlist {
public:
    LPlist() noexcept = default;
    LPlist(LPlist&& oOther) noexcept : pDictionary(std::exchange(oOther.pDictionary, nullptr)) {}
    LPlist& operator=(LPlist&& oOther) noexcept {
        std::swap(pDictionary, oOther.pDictionary);
        return *this;
    }
    ~LPlist() { Replace(nullptr); }

    // The file's dictionary. The path is absolute UTF-8 and becomes a URL as it stands: where it has a blank, a "%" or
    // any other character that a URL can't hold, escape it first. False when the file can't be read, is no property
    // list or has something else than a dictionary at its top.
    bool CreateFromFile(char const* szPath) noexcept;
    // As XML (docs/property_lists.md), in the place of what was there, whole or not at all. Any path.
    bool WriteToFile(char const* szPath) const noexcept;
    // Its values are shared, the dictionary is copied. False for null.
    bool CreateFromDictionary(CFDictionaryRef const& pFrom) noexcept;

    bool TestKeyExists(char const* szKey) const noexcept;
    bool TestValueExists(void const* const& pValue) const noexcept; // equal to it
    void RemoveValue(char const* szKey) noexcept;
    void RemoveAllValues() noexcept;
    // The value stays the dictionary's: it is gone when it is removed there.
    bool GetValue(char const* szKey, void const*& pValue) const noexcept;
    bool GetValueArraySize(char const* szKey, unsigned long& nSize) const noexcept; // false for what is no array
    unsigned long GetSize() const noexcept;

    // A value for the caller, who releases it. False: a null text, no dictionary.
    static bool ConvertToValue(bool bFrom, void const*& pValue) noexcept;
    static bool ConvertToValue(int nFrom, void const*& pValue) noexcept;
    static bool ConvertToValue(float fFrom, void const*& pValue) noexcept;
    static bool ConvertToValue(LStringLongTemplate<char> const& szFrom, void const*& pValue) noexcept;
    static bool ConvertToValue(char const* szFrom, void const*& pValue) noexcept;
    static bool ConvertToValue(LPlist const& oFrom, void const*& pValue) noexcept;

    // What a value holds. False for null, a value of another kind, and a number that is out of an int's range; the part
    // of a number behind the point is dropped. The growable string is empty when there is no memory. The char* takes
    // the whole text: its buffer must hold it.
    static bool ConvertFromValue(void const* const& pValue, bool& bTo) noexcept;
    static bool ConvertFromValue(void const* const& pValue, int& nTo) noexcept;
    static bool ConvertFromValue(void const* const& pValue, float& fTo) noexcept;
    static bool ConvertFromValue(void const* const& pValue, LStringLongTemplate<char>& szTo) noexcept;
    static bool ConvertFromValue(void const* const& pValue, char* szTo) noexcept;
    static bool ConvertFromValue(void const* const& pValue, LPlist& oTo) noexcept;

private:
    void Replace(CFMutableDictionaryRef pWith) noexcept {
        if (auto const pOld = std::exchange(pDictionary, pWith))
            CFRelease(pOld);
    }

    CFMutableDictionaryRef pDictionary = nullptr;
};
