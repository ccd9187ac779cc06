// Reference counting, start-up and the configuration change, driver argument already checked.
#pragma once

#include "driver/state/state.h"

// Counts one more reference, as LVADAddRef does, and answers S_OK when the UUID is IUnknown's or the driver
// interface's, else E_NOINTERFACE; kAudioHardwareIllegalOperationError when no CFUUID can be made of it. At a count of
// 0xFFFFFFFF the answer is S_OK all the same and the count stays: nothing hangs on it. Any thread.
HRESULT LVADQueryInterface(REFIID const& oInterface) EXCLUDES(gVADStateMutex);

// The new count. It stays at 0xFFFFFFFF and at 0 rather than wrap; at 0 nothing is freed. Any thread.
ULONG LVADAddRef() EXCLUDES(gVADStateMutex);
ULONG LVADRelease() EXCLUDES(gVADStateMutex);

// Keeps the host (not owned; may be null, and then nothing is restored or ever told), restores the box from its
// storage, sets the clock's rate and starts the helper link. The box is acquired and has its default name unless the
// storage says otherwise. The host calls it before every other operation but the counting ones. One that calls it again
// gets what it asks for, except that a name goes only for a stored one; it must not do so while other calls run. Takes
// no mutex.
void LVADInitialize(AudioServerPlugInHostRef pHost);

// Makes nSampleRate (Hz) the nominal rate; false, and nothing changed, when it is not one of the two. Any thread.
bool LVADApplySampleRate(UInt64 nSampleRate) EXCLUDES(gVADStateMutex);
