// The five property operations, the driver reference already checked. Checks run in this order and the first that fails
// is the answer: pointers (kAudioHardwareIllegalOperationError), object (kAudioHardwareBadObjectError), selector
// (kAudioHardwareUnknownPropertyError), size and qualifier (kAudioHardwareBadPropertySizeError), value. On any status
// but 0 nothing is stored, written or changed. Any thread, many at once.
#pragma once

#include "driver/properties/property.h"

// False for a null address, an unknown object, and an address at which the object does not show the property.
bool LVADHasProperty(AudioObjectID nObjectId, PropertyAddress const* pAddress);

// Of the address only the selector counts: a property answers in every scope and element.
OSStatus LVADIsPropertySettable(AudioObjectID nObjectId, PropertyAddress const* pAddress, Boolean* pIsSettable);

// The bytes that the value takes; of some lists fewer or more than GetPropertyData delivers (see the catalogue).
OSStatus LVADGetPropertyDataSize(AudioObjectID nObjectId, PropertyAddress const* pAddress,
                                 PropertyQualifier const& oQualifier, UInt32* pSize);

// Writes the value into the nBufferSize bytes at pBuffer and its size to *pWritten. A single value fits whole or not at
// all; a list is cut to what fits, which may be nothing.
OSStatus LVADGetPropertyData(AudioObjectID nObjectId, PropertyAddress const* pAddress,
                             PropertyQualifier const& oQualifier, UInt32 nBufferSize, UInt32* pWritten, void* pBuffer);

// Changes the value to the nSize bytes at pData, exactly the property's size, and tells the host what changed.
OSStatus LVADSetPropertyData(AudioObjectID nObjectId, PropertyAddress const* pAddress,
                             PropertyQualifier const& oQualifier, UInt32 nSize, void const* pData);
