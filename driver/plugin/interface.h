// The driver interface that the host calls through: 22 operations behind one reference.
#pragma once

#include <CoreAudio/AudioServerPlugIn.h>

// The table: the reserved slot, null, and the operations. Each of them compares its driver argument with the one
// reference before anything else; a foreign one gets kAudioHardwareBadObjectError (AddRef and Release: 0,
// HasProperty: false) and touches nothing. Any thread, but as each operation says.
extern AudioServerPlugInDriverInterface gVADDriverInterface;

// Points to the table for ever; its address is the AudioServerPlugInDriverRef.
extern AudioServerPlugInDriverInterface* gVADDriverRef;
