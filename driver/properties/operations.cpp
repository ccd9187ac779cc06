#include "driver/properties/operations.h"

#include "driver/properties/catalogue.h"

namespace {

bool IsShownAt(PropertyPlace nPlace, PropertyAddress const& oAddress) {
    switch (nPlace) {
    case PropertyPlace::Anywhere: return true;
    case PropertyPlace::MainAndTwoChannels: return oAddress.mElement <= 2;
    case PropertyPlace::GlobalOrOutput: return LVADIsGlobalOrOutput(oAddress);
    case PropertyPlace::InputOrOutput:
        return oAddress.mScope == kAudioObjectPropertyScopeInput || oAddress.mScope == kAudioObjectPropertyScopeOutput;
    }
    return false;
}

// Why there is no row.
OSStatus Missing(AudioObjectID nObjectId) {
    return LVADIsObject(nObjectId) ? kAudioHardwareUnknownPropertyError : kAudioHardwareBadObjectError;
}

} // namespace

bool LVADHasProperty(AudioObjectID nObjectId, PropertyAddress const* pAddress) {
    Property const* const pRow = pAddress ? LVADFindProperty(nObjectId, pAddress->mSelector) : nullptr;
    return pRow && IsShownAt(pRow->nPlace, *pAddress);
}

OSStatus LVADIsPropertySettable(AudioObjectID nObjectId, PropertyAddress const* pAddress, Boolean* pIsSettable) {
    if (!pAddress || !pIsSettable)
        return kAudioHardwareIllegalOperationError;
    Property const* const pRow = LVADFindProperty(nObjectId, pAddress->mSelector);
    if (!pRow)
        return Missing(nObjectId);
    *pIsSettable = pRow->IsSettable();
    return kAudioHardwareNoError;
}

OSStatus LVADGetPropertyDataSize(AudioObjectID nObjectId, PropertyAddress const* pAddress,
                                 PropertyQualifier const& oQualifier, UInt32* pSize) {
    if (!pAddress || !pSize)
        return kAudioHardwareIllegalOperationError;
    Property const* const pRow = LVADFindProperty(nObjectId, pAddress->mSelector);
    return pRow ? pRow->oSize.Get(*pAddress, oQualifier, *pSize) : Missing(nObjectId);
}

OSStatus LVADGetPropertyData(AudioObjectID nObjectId, PropertyAddress const* pAddress,
                             PropertyQualifier const& oQualifier, UInt32 nBufferSize, UInt32* pWritten, void* pBuffer) {
    if (!pAddress || !pWritten || !pBuffer)
        return kAudioHardwareIllegalOperationError;
    Property const* const pRow = LVADFindProperty(nObjectId, pAddress->mSelector);
    return pRow ? pRow->pRead({*pAddress, oQualifier, nBufferSize, pWritten, pBuffer}) : Missing(nObjectId);
}

OSStatus LVADSetPropertyData(AudioObjectID nObjectId, PropertyAddress const* pAddress,
                             PropertyQualifier const& oQualifier, UInt32 nSize, void const* pData) {
    if (!pAddress)
        return kAudioHardwareIllegalOperationError;
    Property const* const pRow = LVADFindProperty(nObjectId, pAddress->mSelector);
    if (!pRow)
        return Missing(nObjectId);
    if (!pRow->IsSettable())
        return kAudioHardwareUnknownPropertyError;
    if (nSize != pRow->SetSize())
        return kAudioHardwareBadPropertySizeError;
    return pRow->pChange({nObjectId, oQualifier, pData});
}
