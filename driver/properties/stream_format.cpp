#include "driver/properties/stream_format.h"

#include "driver/state/object_ids.h"

#include <tuple>

namespace {

auto FieldsOf(AudioStreamBasicDescription const& oFormat) {
    return std::tie(oFormat.mFormatID, oFormat.mFormatFlags, oFormat.mBytesPerPacket, oFormat.mFramesPerPacket,
                    oFormat.mBytesPerFrame, oFormat.mChannelsPerFrame, oFormat.mBitsPerChannel);
}

} // namespace

AudioStreamBasicDescription LVADStreamFormat(Float64 nSampleRate) {
    return {.mSampleRate = nSampleRate,
            .mFormatID = kAudioFormatLinearPCM,
            .mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked,
            .mBytesPerPacket = kVADBytesPerFrame,
            .mFramesPerPacket = 1,
            .mBytesPerFrame = kVADBytesPerFrame,
            .mChannelsPerFrame = 2,
            .mBitsPerChannel = 32,
            .mReserved = 0};
}

bool LVADIsStreamFormat(AudioStreamBasicDescription const& oFormat) {
    return FieldsOf(oFormat) == FieldsOf(LVADStreamFormat(0.0));
}

bool LVADIsSampleRate(Float64 nSampleRate) {
    return nSampleRate == kVADSampleRate || nSampleRate == kVADOtherSampleRate;
}
