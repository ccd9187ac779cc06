#include "tests/platform/fuzz_frame.h"

#include "platform/xpc/decoder.h"
#include "platform/xpc/encoder.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>

using namespace platform;

namespace {

std::vector<FileDescriptor> SomeDescriptors(size_t nCount) {
    std::vector<FileDescriptor> lDescriptors;
    for (size_t n = 0; n < nCount; ++n)
        lDescriptors.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    return lDescriptors;
}

std::vector<uint8_t> BytesOf(OutgoingPacket const& oPacket) {
    std::vector<uint8_t> lBytes;
    for (size_t n = 0; n < oPacket.nParts; ++n) {
        auto const* const p = static_cast<uint8_t const*>(oPacket.aParts[n].iov_base);
        lBytes.insert(lBytes.end(), p, p + oPacket.aParts[n].iov_len);
    }
    return lBytes;
}

} // namespace

int FuzzFrame(uint8_t const* pBytes, size_t nBytes) {
    if (nBytes == 0)
        return 0;
    auto lDescriptors = SomeDescriptors(pBytes[0] % 4);
    FrameHeader oHeader;
    Ref<Dictionary> pBody, pAgain;
    std::span<uint8_t const> const oPacket(pBytes + 1, nBytes - 1);
    if (!DecodeFrame(oPacket, lDescriptors, oHeader, pBody) || !pBody || oHeader.nDescriptors != 0)
        return 0;
    FrameWriter oWriter(oHeader.eKind);
    oWriter.SetReplyNumber(oHeader.nReply);
    OutgoingPacket oWritten;
    if (!oWriter.Write(*pBody))
        std::abort();
    oWriter.Fill(oWritten);
    auto const lAgain = BytesOf(oWritten);
    if (!std::equal(lAgain.begin(), lAgain.end(), oPacket.begin(), oPacket.end()))
        std::abort();
    return 0;
}
