// Reference counting, start-up and the configuration change, driver argument already checked.
#pragma once

#include "driver/state/state.h"

// Counts one more reference and answers S_OK when the UUID is IUnknown's or the driver interface's, else E_NOINTERFACE;
// kAudioHardwareIllegalOperationError when no CFUUID can be made of it. Any thread.
HRESULT LVADQueryInterface(REFIID const& oInterface) EXCLUDES(gVADStateMutex);

// The new count. It stays at 0xFFFFFFFF and at 0 rather than wrap; at 0 nothing is freed. Any thread.
ULONG LVADAddRef() EXCLUDES(gVADStateMutex);
ULONG LVADRelease() EXCLUDES(gVADStateMutex);

// Keeps the host (not owned; may be null, and then nothing is restored or ever told), restores the box from its
// storage, sets the clock's rate and starts the helper link. The host calls it before every other operation but the
// counting ones, so it takes no mutex.
void LVADInitialize(AudioServerPlugInHostRef pHost);

// Makes nSampleRate (Hz) the nominal rate; false, and nothing changed, when it is neither 44100 nor 48000. Any thread.
bool LVADApplySampleRate(UInt64 nSampleRate) EXCLUDES(gVADStateMutex);
