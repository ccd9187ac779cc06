// A row of the property catalogue, and the two requests that a row answers.
#pragma once

#include <CoreAudio/AudioServerPlugIn.h>
#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

using PropertyAddress = AudioObjectPropertyAddress;
using PropertySelector = AudioObjectPropertySelector;

constexpr bool LVADIsGlobalOrOutput(PropertyAddress const& oAddress) {
    return oAddress.mScope == kAudioObjectPropertyScopeGlobal || oAddress.mScope == kAudioObjectPropertyScopeOutput;
}

// What the host passes beside an address: nSize bytes at pData, unaligned; pData may be null.
struct PropertyQualifier {
    UInt32 nSize;
    void const* pData;

    // Exactly the bytes of one T are there.
    template <class T>
    bool Holds() const {
        return nSize == sizeof(T) && pData;
    }
    template <class T> // only when Holds<T>()
    T As() const {
        T tValue;
        std::memcpy(&tValue, pData, sizeof tValue);
        return tValue;
    }
};

// A request for a value: the caller's buffer of nBufferSize bytes, unaligned, and where the count of bytes written
// goes. No pointer is null. On any status but 0 neither is touched.
struct PropertyQuery {
    PropertyAddress const& oAddress;
    PropertyQualifier oQualifier;
    UInt32 nBufferSize;
    UInt32* pWritten;
    void* pBuffer;

    // A single value: all of it, or kAudioHardwareBadPropertySizeError.
    template <class T>
    OSStatus Deliver(T const& tValue) const {
        if (nBufferSize < sizeof tValue)
            return kAudioHardwareBadPropertySizeError;
        std::memcpy(pBuffer, &tValue, sizeof tValue);
        *pWritten = sizeof tValue;
        return kAudioHardwareNoError;
    }

    // A list: as many whole items from its start as the buffer holds, which may be none.
    template <class T>
    OSStatus DeliverList(T const* pItems, size_t nItems) const {
        size_t const nBytes = std::min(nBufferSize / sizeof(T), nItems) * sizeof(T);
        std::memcpy(pBuffer, pItems, nBytes);
        *pWritten = static_cast<UInt32>(nBytes);
        return kAudioHardwareNoError;
    }
};

// A request to change a value. The size is already the property's; pData is unaligned and may be null.
struct PropertyChange {
    AudioObjectID nObjectId;
    PropertyQualifier oQualifier;
    void const* pData;
};

// The addresses at which HasProperty says yes. Nothing else asks: a property answers size, value and change at any.
enum class PropertyPlace : UInt8 { Anywhere, MainAndTwoChannels, GlobalOrOutput, InputOrOutput };

using PropertySizeRule = OSStatus (*)(PropertyAddress const&, PropertyQualifier const&, UInt32& nSize);
using PropertyReader = OSStatus (*)(PropertyQuery const&);
using PropertyChanger = OSStatus (*)(PropertyChange const&);

// How many bytes a property says its value has: always the same number, or by a rule.
struct PropertySize {
    UInt32 nBytes;
    PropertySizeRule pRule;

    constexpr PropertySize(UInt32 nFixed) : nBytes(nFixed), pRule(nullptr) {}
    constexpr PropertySize(PropertySizeRule pAsk) : nBytes(0), pRule(pAsk) {}

    OSStatus Get(PropertyAddress const& oAddress, PropertyQualifier const& oQualifier, UInt32& nSize) const {
        if (pRule)
            return pRule(oAddress, oQualifier, nSize);
        nSize = nBytes;
        return kAudioHardwareNoError;
    }
};

struct Property {
    PropertySelector nSelector;
    PropertyPlace nPlace;
    PropertySize oSize;
    PropertyReader pRead;
    PropertyChanger pChange = nullptr; // null: can't be set

    constexpr bool IsSettable() const { return pChange != nullptr; }

    // The bytes that a change takes. Of the settable properties only the custom one sizes itself by a rule, which is
    // about its qualifier; its value is a reference like any other.
    constexpr UInt32 SetSize() const { return oSize.pRule ? sizeof(CFPropertyListRef) : oSize.nBytes; }
};
