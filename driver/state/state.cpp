#include "driver/state/state.h"

#include "driver/state/object_ids.h"

constinit LMutex gVADStateMutex;
constinit LMutex gVADIOMutex;

constinit UInt32 gVADRefCount = 0;
constinit std::atomic<AudioServerPlugInHostRef> gVADHost = nullptr;

constinit CFStringRef gVADBoxName = nullptr;
constinit LRelaxed<Boolean> gVADBoxAcquired = true;
constinit Float64 gVADSampleRate = kVADSampleRate;
constinit Boolean gVADOutputStreamActive = true;
constinit UInt64 gVADIORunningCount = 0;
constinit Float32 gVADOutputVolume = 0.0f;
constinit Boolean gVADOutputMute = false;
constinit UInt32 gVADDataSourceValue = 0;
constinit UInt32 gVADDataDestinationValue = 0;

constinit LRelaxed<Float64> gVADHostTicksPerFrame = 0.0;
constinit LRelaxed<UInt64> gVADNumberTimeStamps = 0;
constinit LRelaxed<UInt64> gVADAnchorHostTime = 0;
