// The IO operations, driver and device already checked: counting starts and stops, saying which operations the device
// performs, and handing each cycle's mix to the recorder.
#pragma once

#include "driver/state/state.h"

// Counts one more start; the first one anchors the clock. Before that, and on every call, asks the helper link to
// reach the recorder when no connection to it exists; what comes of that is not looked at.
// kAudioHardwareIllegalOperationError when the count is at its end. The host's non-IO threads.
OSStatus LVADStartIO() EXCLUDES(gVADStateMutex);

// Takes one start back; kAudioHardwareIllegalOperationError when none is out. The link is not told and the clock's
// values stay as they are. The host's non-IO threads.
OSStatus LVADStopIO() EXCLUDES(gVADStateMutex);

// Whether the device performs the operation (WriteMix, and ReadInput, for which it does nothing), and whether in place
// (always). Null pointers are skipped. Any thread.
void LVADWillDoIOOperation(UInt32 nOperationId, Boolean* pWillDo, Boolean* pWillDoInPlace);

// IO thread. One cycle: WriteMix sends nFrames × 8 bytes of pMainBuffer to the recorder, if a connection exists, and
// otherwise drops them; any other operation touches nothing. A cycle of more than 268435455 frames, whose bytes the
// link could not count, is dropped as well. Takes no lock of the driver's and allocates nothing itself; the link copies
// the bytes once and the buffer is the host's again on return, unchanged.
void LVADDoIOOperation(UInt32 nOperationId, UInt32 nFrames, void* pMainBuffer);
