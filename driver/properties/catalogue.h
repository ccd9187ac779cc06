// The one catalogue: which object has which property, where, how large, how read and how changed.
#pragma once

#include "driver/properties/property.h"

// True for the eight objects of the tree. Any thread.
bool LVADIsObject(AudioObjectID nObjectId);

// The object's row for the selector; null when the object has no such property, or is none. A constant; any thread.
Property const* LVADFindProperty(AudioObjectID nObjectId, PropertySelector nSelector);
