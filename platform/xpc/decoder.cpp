#include "platform/xpc/decoder.h"

#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>

namespace platform {
namespace {

// Walks a body. Each step that finds too little left, or nonsense, answers false (null) and the walk ends.
class BodyReader {
public:
    BodyReader(std::span<uint8_t const> oBodyToRead, std::span<FileDescriptor> oDescriptorsToTake)
        : oLeft(oBodyToRead), oDescriptors(oDescriptorsToTake) {}

    Ref<Dictionary> Read() {
        auto pMessage = ReadEntries(1);
        return pMessage && oLeft.empty() && oDescriptors.empty() ? std::move(pMessage) : Ref<Dictionary>();
    }

private:
    template <class T>
    bool Take(T& oValue) {
        if (oLeft.size() < sizeof oValue)
            return false;
        std::memcpy(&oValue, oLeft.data(), sizeof oValue);
        oLeft = oLeft.subspan(sizeof oValue);
        return true;
    }

    bool TakeBytes(std::span<uint8_t const>& oBytes) {
        uint32_t nLength;
        if (!Take(nLength) || nLength > oLeft.size())
            return false;
        oBytes = oLeft.first(nLength);
        oLeft = oLeft.subspan(nLength);
        return true;
    }

    // The OS's strings end at their first NUL: one inside could make two readers see two different keys.
    bool TakeText(std::span<uint8_t const>& oText) {
        return TakeBytes(oText) && (oText.empty() || !std::memchr(oText.data(), 0, oText.size()));
    }

    FileDescriptor TakeDescriptor() {
        if (oDescriptors.empty())
            return FileDescriptor();
        FileDescriptor oFirst = std::move(oDescriptors.front());
        oDescriptors = oDescriptors.subspan(1);
        return oFirst;
    }

    template <class T>
    Ref<Object> ReadScalar(xpc_type_t pType) {
        T oValue;
        return Take(oValue) ? Ref<Object>::Adopt(new Scalar<T>(pType, oValue)) : Ref<Object>();
    }

    Ref<Object> ReadBool() {
        uint8_t nValue;
        return Take(nValue) && nValue <= 1 ? MakeBool(nValue != 0) : Ref<Object>();
    }

    Ref<Object> ReadBytes(xpc_type_t pType) {
        std::span<uint8_t const> oBytes;
        bool const bWhole = pType == XPC_TYPE_STRING ? TakeText(oBytes) : TakeBytes(oBytes);
        return bWhole ? Ref<Object>(Bytes::Make(pType, oBytes.data(), oBytes.size())) : Ref<Object>();
    }

    Ref<Object> ReadUuid() {
        uint8_t aBytes[16];
        return Take(aBytes) ? Ref<Object>::Adopt(new Uuid(aBytes)) : Ref<Object>();
    }

    template <class Holder>
    Ref<Object> ReadDescriptor() {
        FileDescriptor oFile = TakeDescriptor();
        return oFile ? Ref<Object>::Adopt(new Holder(std::move(oFile))) : Ref<Object>();
    }

    Ref<Object> ReadItems(int nDepth) {
        uint32_t nCount;
        if (nDepth > kMaxDepth || !Take(nCount) || nCount > oLeft.size()) // an item takes a byte at least
            return {};
        auto pArray = Ref<Array>::Adopt(new Array);
        for (uint32_t n = 0; n < nCount; ++n) {
            Ref<Object> pItem = ReadObject(nDepth);
            if (!pItem)
                return {};
            pArray->lItems.push_back(std::move(pItem));
        }
        return pArray;
    }

    Ref<Dictionary> ReadEntries(int nDepth) {
        uint32_t nCount;
        if (nDepth > kMaxDepth || !Take(nCount) || nCount > oLeft.size())
            return {};
        auto pDictionary = Ref<Dictionary>::Adopt(new Dictionary);
        for (uint32_t n = 0; n < nCount; ++n) {
            std::span<uint8_t const> oKey;
            if (!TakeText(oKey))
                return {};
            Ref<Object> pValue = ReadObject(nDepth);
            if (!pValue)
                return {};
            // Not through Set: a search for each of a million keys would be the sender's to order.
            pDictionary->lEntries.push_back(
                {std::string(reinterpret_cast<char const*>(oKey.data()), oKey.size()), std::move(pValue)});
        }
        return pDictionary;
    }

    Ref<Object> ReadObject(int nDepth) {
        WireType eType;
        if (!Take(eType) || ++nValues > kMaxValues)
            return {};
        switch (eType) {
        case WireType::Null: return MakeNull();
        case WireType::Bool: return ReadBool();
        case WireType::Int64: return ReadScalar<int64_t>(XPC_TYPE_INT64);
        case WireType::UInt64: return ReadScalar<uint64_t>(XPC_TYPE_UINT64);
        case WireType::Double: return ReadScalar<double>(XPC_TYPE_DOUBLE);
        case WireType::Date: return ReadScalar<int64_t>(XPC_TYPE_DATE);
        case WireType::Data: return ReadBytes(XPC_TYPE_DATA);
        case WireType::String: return ReadBytes(XPC_TYPE_STRING);
        case WireType::Uuid: return ReadUuid();
        case WireType::FileDescriptor: return ReadDescriptor<Descriptor>();
        case WireType::Endpoint: return ReadDescriptor<Endpoint>();
        case WireType::Array: return ReadItems(nDepth + 1);
        case WireType::Dictionary: return ReadEntries(nDepth + 1);
        case WireType::None: break;
        }
        return {};
    }

    std::span<uint8_t const> oLeft;
    std::span<FileDescriptor> oDescriptors;
    size_t nValues = 0;
};

// A body that came as a file. Without the seals its sender could change it under the reader's eyes, or cut it off and
// have the reader die of a bus error.
class MappedBody {
public:
    MappedBody(int nFile, size_t nLengthOfBody) : nLength(nLengthOfBody) {
        constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;
        int const nSeals = ::fcntl(nFile, F_GET_SEALS);
        struct stat oStatus;
        if (nSeals < 0 || (nSeals & kSeals) != kSeals || ::fstat(nFile, &oStatus) != 0 || oStatus.st_size < 0 ||
            static_cast<size_t>(oStatus.st_size) != nLength)
            return;
        void* const p = ::mmap(nullptr, nLength, PROT_READ, MAP_PRIVATE, nFile, 0);
        pBytes = p == MAP_FAILED ? nullptr : static_cast<uint8_t const*>(p);
    }
    ~MappedBody() {
        if (pBytes)
            ::munmap(const_cast<uint8_t*>(pBytes), nLength);
    }
    MappedBody(MappedBody const&) = delete;
    MappedBody& operator=(MappedBody const&) = delete;

    explicit operator bool() const { return pBytes != nullptr; }
    std::span<uint8_t const> Bytes() const { return {pBytes, nLength}; }

private:
    size_t const nLength;
    uint8_t const* pBytes = nullptr;
};

bool IsHeaderSound(FrameHeader const& oHeader, size_t nDescriptors) {
    if (oHeader.nMagic != kFrameMagic || (oHeader.nFlags & ~kFrameBodyIsFile) != 0 ||
        oHeader.nDescriptors != nDescriptors)
        return false;
    switch (oHeader.eKind) {
    case FrameKind::Message: return true;
    case FrameKind::Reply: return oHeader.nReply != 0;
    case FrameKind::NoReply: return oHeader.nReply != 0 && oHeader.nBodyLength == 0 && nDescriptors == 0;
    case FrameKind::Connect: return oHeader.nBodyLength == 0 && oHeader.nFlags == 0 && nDescriptors == 1;
    }
    return false;
}

Ref<Dictionary> ReadBodyFile(std::span<FileDescriptor> oDescriptors, size_t nLength) {
    if (oDescriptors.empty() || nLength == 0 || nLength > kMaxBody)
        return {};
    MappedBody const oBody(oDescriptors.front().Get(), nLength);
    return oBody ? BodyReader(oBody.Bytes(), oDescriptors.subspan(1)).Read() : Ref<Dictionary>();
}

} // namespace

bool DecodeFrame(std::span<uint8_t const> oPacket, std::vector<FileDescriptor>& lDescriptors, FrameHeader& oHeader,
                 Ref<Dictionary>& pBody) try {
    if (oPacket.size() < sizeof oHeader)
        return false;
    std::memcpy(&oHeader, oPacket.data(), sizeof oHeader);
    auto const oInline = oPacket.subspan(sizeof oHeader);
    if (!IsHeaderSound(oHeader, lDescriptors.size()))
        return false;
    bool const bFile = (oHeader.nFlags & kFrameBodyIsFile) != 0;
    if (oInline.size() != (bFile ? 0 : oHeader.nBodyLength))
        return false;
    if (oHeader.eKind == FrameKind::NoReply || oHeader.eKind == FrameKind::Connect)
        return true;
    if (lDescriptors.size() > kMaxDescriptors + (bFile ? 1 : 0))
        return false;
    pBody = bFile ? ReadBodyFile(lDescriptors, oHeader.nBodyLength) : BodyReader(oInline, lDescriptors).Read();
    lDescriptors.clear();
    return static_cast<bool>(pBody);
} catch (std::bad_alloc const&) {
    return false;
}

} // namespace platform
