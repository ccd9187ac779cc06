#include "platform/xpc/encoder.h"

#include <fcntl.h>
#include <new>
#include <sys/mman.h>

namespace platform {

FrameWriter::FrameWriter(FrameKind eKind) noexcept {
    new (aSmall) FrameHeader{.eKind = eKind};
}

void FrameWriter::Spill(void const* pBytes, size_t nBytes) {
    if (lSpilled.empty())
        lSpilled.assign(aSmall, aSmall + nSmall);
    auto const* const p = static_cast<uint8_t const*>(pBytes);
    lSpilled.insert(lSpilled.end(), p, p + nBytes);
}

bool FrameWriter::PutLength(size_t nLength) {
    PutValue(static_cast<uint32_t>(nLength));
    return nLength <= kMaxBody;
}

bool FrameWriter::PutBytes(uint8_t const* pBytes, size_t nBytes) {
    if (!PutLength(nBytes) || Cost() + nBytes > kMaxBody)
        return false;
    if (nBytes >= kWorthGathering && nOutsides < kMaxOutside) {
        aOutside[nOutsides++] = {nSmall, pBytes, nBytes};
        nOutside += nBytes;
    } else {
        Put(pBytes, nBytes);
    }
    return true;
}

bool FrameWriter::PutDescriptor(Object& oHolder, int nDescriptor) {
    if (nDescriptors == kMaxDescriptors || nDescriptor < 0)
        return false;
    aHolders[nDescriptors++] = &oHolder;
    aDescriptors[nDescriptors] = nDescriptor;
    return true;
}

bool FrameWriter::PutEntries(Dictionary const& oDictionary, int nDepth) {
    if (!PutLength(oDictionary.lEntries.size()))
        return false;
    for (auto const& [szKey, pValue] : oDictionary.lEntries) {
        if (!PutLength(szKey.size()) || Cost() + szKey.size() > kMaxBody)
            return false;
        Put(szKey.data(), szKey.size());
        if (!PutObject(*pValue, nDepth))
            return false;
    }
    return true;
}

bool FrameWriter::PutItems(Array const& oArray, int nDepth) {
    if (!PutLength(oArray.lItems.size()))
        return false;
    for (auto const& pItem : oArray.lItems)
        if (!PutObject(*pItem, nDepth))
            return false;
    return true;
}

bool FrameWriter::PutObject(Object& oObject, int nDepth) {
    WireType const eType = oObject.pType->eWire;
    PutValue(eType);
    if (++nValues > kMaxValues || Cost() > kMaxBody)
        return false;
    switch (eType) {
    case WireType::None: return false;
    case WireType::Null: return true;
    case WireType::Bool: PutValue(static_cast<uint8_t>(static_cast<Bool&>(oObject).bValue)); return true;
    case WireType::Int64:
    case WireType::Date: PutValue(static_cast<Scalar<int64_t>&>(oObject).oValue); return true;
    case WireType::UInt64: PutValue(static_cast<Scalar<uint64_t>&>(oObject).oValue); return true;
    case WireType::Double: PutValue(static_cast<Scalar<double>&>(oObject).oValue); return true;
    case WireType::Data:
    case WireType::String: {
        auto const& oBytes = static_cast<Bytes&>(oObject);
        return PutBytes(oBytes.Contents(), oBytes.nLength);
    }
    case WireType::Uuid: PutValue(static_cast<Uuid&>(oObject).aBytes); return true;
    case WireType::FileDescriptor: return PutDescriptor(oObject, static_cast<Descriptor&>(oObject).oFile.Get());
    case WireType::Endpoint: return PutDescriptor(oObject, static_cast<Endpoint&>(oObject).oDoor.Get());
    case WireType::Array: return nDepth < kMaxDepth && PutItems(static_cast<Array&>(oObject), nDepth + 1);
    case WireType::Dictionary: return nDepth < kMaxDepth && PutEntries(static_cast<Dictionary&>(oObject), nDepth + 1);
    }
    return false;
}

bool FrameWriter::Write(Dictionary const& oDictionary) {
    if (!PutEntries(oDictionary, 1))
        return false;
    size_t const nBody = Cost() - sizeof(FrameHeader);
    if (nBody > kMaxBody)
        return false;
    Header().nBodyLength = static_cast<uint32_t>(nBody);
    Header().nDescriptors = static_cast<uint32_t>(nDescriptors);
    return nBody <= kMaxInlineBody || MoveBodyToFile();
}

bool FrameWriter::MoveBodyToFile() {
    if (oBodyFile || Header().nBodyLength == 0)
        return false;
    FileDescriptor oFile(gSystemCalls.memfd_create.load()("xpc body", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!oFile)
        return false;
    OutgoingPacket oParts;
    FillParts(oParts);
    for (size_t n = 0; n < oParts.nParts; ++n) {
        auto const* p = static_cast<uint8_t const*>(oParts.aParts[n].iov_base);
        size_t nLeft = oParts.aParts[n].iov_len;
        if (n == 0) { // the header travels in the packet
            p += sizeof(FrameHeader);
            nLeft -= sizeof(FrameHeader);
        }
        while (nLeft != 0) {
            ssize_t const nWritten = Uninterrupted([&] { return ::write(oFile.Get(), p, nLeft); });
            if (nWritten <= 0)
                return false;
            p += nWritten;
            nLeft -= static_cast<size_t>(nWritten);
        }
    }
    if (::fcntl(oFile.Get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL) != 0)
        return false;
    oBodyFile = std::move(oFile);
    aDescriptors[0] = oBodyFile.Get();
    Header().nFlags = kFrameBodyIsFile;
    ++Header().nDescriptors;
    return true;
}

// Header, then small bytes and gathered values by turns.
void FrameWriter::FillParts(OutgoingPacket& oPacket) const noexcept {
    size_t nAt = 0;
    for (size_t n = 0; n < nOutsides; ++n) {
        Outside const& oOutside = aOutside[n];
        oPacket.AddPart(Small() + nAt, oOutside.nAt - nAt);
        oPacket.AddPart(oOutside.pBytes, oOutside.nBytes);
        nAt = oOutside.nAt;
    }
    oPacket.AddPart(Small() + nAt, nSmall - nAt);
}

void FrameWriter::Fill(OutgoingPacket& oPacket) const noexcept {
    if (oBodyFile)
        oPacket.AddPart(Small(), sizeof(FrameHeader));
    else
        FillParts(oPacket);
    oPacket.pDescriptors = aDescriptors.data() + (oBodyFile ? 0 : 1);
    oPacket.nDescriptors = nDescriptors + (oBodyFile ? 1 : 0);
}

FrameWriter::Kept FrameWriter::Keep() {
    OutgoingPacket oPacket;
    Fill(oPacket);
    Kept oKept;
    for (size_t n = 0; n < oPacket.nParts; ++n) {
        auto const* const p = static_cast<uint8_t const*>(oPacket.aParts[n].iov_base);
        oKept.lBytes.insert(oKept.lBytes.end(), p, p + oPacket.aParts[n].iov_len);
    }
    oKept.lDescriptors.assign(oPacket.pDescriptors, oPacket.pDescriptors + oPacket.nDescriptors);
    for (size_t n = 0; n < nDescriptors; ++n)
        oKept.lHolders.push_back(Ref<Object>::Retain(aHolders[n]));
    oKept.nCost = Cost();
    oKept.oBodyFile = std::move(oBodyFile);
    return oKept;
}

void FrameWriter::Kept::Fill(OutgoingPacket& oPacket) const noexcept {
    oPacket.AddPart(lBytes.data(), lBytes.size());
    oPacket.pDescriptors = lDescriptors.data();
    oPacket.nDescriptors = lDescriptors.size();
}

} // namespace platform
