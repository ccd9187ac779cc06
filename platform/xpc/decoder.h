// A frame becomes a dictionary, or is refused. Everything in it is hostile until then.
#pragma once

#include "platform/xpc/frame.h"
#include "platform/xpc/values.h"

#include <span>

namespace platform {

// Reads one packet: header into `oHeader`, body into a new dictionary (null for the kinds without body, whose
// descriptors stay in `lDescriptors`). False for anything that FrameWriter would not have written: nothing is then kept
// but what the caller owns. Any thread.
bool DecodeFrame(std::span<uint8_t const> oPacket, std::vector<FileDescriptor>& lDescriptors, FrameHeader& oHeader,
                 Ref<Dictionary>& pBody);

} // namespace platform
