// What a process that hates us may put on a connection's socket.
#include "platform/xpc/frame.h"
#include "platform/xpc/packet_socket.h"
#include "platform/xpc/service_folder.h"
#include "platform/xpc/values.h"
#include "tests/platform/fuzz_frame.h"
#include "tests/platform/xpc_scene.h"

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <random>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

using namespace platform;

namespace {

constexpr char kName[] = "com.tarnwicksoftware.Lumora.Hostile";

// Bytes written one after the other.
struct Body {
    std::string szBytes;

    template <class T>
    Body& Add(T oValue) {
        szBytes.append(reinterpret_cast<char const*>(&oValue), sizeof oValue);
        return *this;
    }
    Body& Text(std::string_view szText) {
        Add(static_cast<uint32_t>(szText.size())).szBytes += szText;
        return *this;
    }
    // A dictionary's head, and an entry's.
    Body& Entries(uint32_t nCount) { return Add(nCount); }
    Body& Key(std::string_view szKey, int nType) { return Text(szKey).Add(static_cast<uint8_t>(nType)); }
};

Body Entry(std::string_view szKey, int nType) {
    return Body().Entries(1).Key(szKey, nType);
}

Body Nested(int nDictionaries) {
    Body oBody;
    for (int n = 1; n < nDictionaries; ++n)
        oBody.Entries(1).Key("k", 13);
    return oBody.Entries(0);
}

FileDescriptor MemoryFile(std::string const& szBytes, int nSeals) {
    FileDescriptor oFile(::memfd_create("body", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    EXPECT_EQ(static_cast<ssize_t>(szBytes.size()), ::write(oFile.Get(), szBytes.data(), szBytes.size()));
    ::fcntl(oFile.Get(), F_ADD_SEALS, nSeals);
    return oFile;
}

constexpr int kAllSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

// A frame as its sender likes it; what is left alone is right.
struct Attack {
    char const* szName;
    Body oBody;
    FrameHeader oHeader{};
    size_t nDescriptors = 0;
    int nSeals = -1;  // of a body in a file
    int32_t nLie = 0; // on the body's length
    size_t nCut = SIZE_MAX;
    bool bWelcome = false;

    void Throw(int nSocket) const {
        std::vector<FileDescriptor> lFiles;
        FrameHeader oSent = oHeader;
        oSent.nBodyLength = static_cast<uint32_t>(static_cast<int64_t>(oBody.szBytes.size()) + nLie);
        if (nSeals >= 0) {
            oSent.nFlags = kFrameBodyIsFile;
            lFiles.push_back(MemoryFile(oBody.szBytes, nSeals));
        }
        while (lFiles.size() < nDescriptors)
            lFiles.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        std::string szFrame(reinterpret_cast<char const*>(&oSent), sizeof oSent);
        if (nSeals < 0)
            szFrame += oBody.szBytes;
        szFrame.resize(std::min(nCut, szFrame.size()));
        Send(nSocket, szFrame, lFiles);
    }

private:
    // Not through SendPacket, which would not carry as many descriptors.
    static void Send(int nSocket, std::string& szFrame, std::vector<FileDescriptor> const& lFiles) {
        iovec oPart{szFrame.data(), szFrame.size()};
        msghdr oMessage{};
        oMessage.msg_iov = &oPart;
        oMessage.msg_iovlen = 1;
        std::vector<char> lControl(CMSG_SPACE(lFiles.size() * sizeof(int)));
        if (!lFiles.empty()) {
            oMessage.msg_control = lControl.data();
            oMessage.msg_controllen = lControl.size();
            cmsghdr* const pControl = CMSG_FIRSTHDR(&oMessage);
            *pControl = {CMSG_LEN(lFiles.size() * sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
            for (size_t n = 0; n < lFiles.size(); ++n) {
                int const nFile = lFiles[n].Get();
                std::memcpy(CMSG_DATA(pControl) + n * sizeof(int), &nFile, sizeof nFile);
            }
        }
        ssize_t nSent;
        while ((nSent = ::sendmsg(nSocket, &oMessage, MSG_NOSIGNAL)) < 0 && errno == EAGAIN) {
            pollfd oRoom{nSocket, POLLOUT, 0};
            ASSERT_EQ(1, ::poll(&oRoom, 1, 10000));
        }
        EXPECT_EQ(static_cast<ssize_t>(szFrame.size()), nSent);
    }
};

FrameHeader Header(FrameKind eKind, uint64_t nReply = 0, uint32_t nDescriptors = 0, uint16_t nFlags = 0) {
    return {.eKind = eKind, .nFlags = nFlags, .nReply = nReply, .nDescriptors = nDescriptors};
}

constexpr FrameKind kMessage = FrameKind::Message;

std::vector<Attack> Attacks() {
    Body const oEmpty = Body().Entries(0), oInt = Entry("number", 3).Add(int64_t{7});
    Body const oBig = Entry("d", 7).Text(std::string(kMaxInlineBody - 14, 'x'));
    return {
        {"empty dictionary", oEmpty, {}, 0, -1, 0, SIZE_MAX, true},
        {"a number", oInt, {}, 0, -1, 0, SIZE_MAX, true},
        {"32 deep", Nested(32), {}, 0, -1, 0, SIZE_MAX, true},
        {"33 deep", Nested(33)},
        {"very deep", Nested(7000)},
        {"longest packet", oBig, {}, 0, -1, 0, SIZE_MAX, true},
        {"one byte longer", Entry("d", 7).Text(std::string(kMaxInlineBody - 13, 'x'))},
        {"sealed file", oInt, Header(kMessage, 0, 1), 0, kAllSeals, 0, SIZE_MAX, true},
        {"unsealed file", oInt, Header(kMessage, 0, 1), 0, 0},
        {"writable file", oInt, Header(kMessage, 0, 1), 0, F_SEAL_SHRINK | F_SEAL_GROW},
        {"shrinkable file", oInt, Header(kMessage, 0, 1), 0, F_SEAL_WRITE | F_SEAL_GROW},
        {"file longer than said", oInt, Header(kMessage, 0, 1), 0, kAllSeals, -1},
        {"file shorter than said", oInt, Header(kMessage, 0, 1), 0, kAllSeals, 1},
        {"file that is none", oInt, Header(kMessage, 0, 1, kFrameBodyIsFile), 1, -1, 0, sizeof(FrameHeader)},
        {"file that did not come", Body(), Header(kMessage, 0, 0, kFrameBodyIsFile)},
        {"empty packet", oInt, {}, 0, -1, 0, 0},
        {"empty packet with descriptors", oInt, Header(kMessage, 0, 2), 2, -1, 0, 0},
        {"half a header", oInt, {}, 0, -1, 0, 12},
        {"header alone", oInt, {}, 0, -1, 0, sizeof(FrameHeader)},
        {"last byte missing", oInt, {}, 0, -1, 0, sizeof(FrameHeader) + 22},
        {"body said longer", oInt, {}, 0, -1, 1},
        {"body said shorter", oInt, {}, 0, -1, -1},
        {"trailing byte", Body(oInt).Add(uint8_t{0})},
        {"magic", oInt, {.nMagic = 0x12345678}},
        {"kind 0", oInt, Header(FrameKind{0})},
        {"kind 9", oInt, Header(FrameKind{9})},
        {"unknown flag", oInt, Header(kMessage, 0, 0, 2)},
        {"connect on a connection", Body(), Header(FrameKind::Connect, 0, 1), 1},
        {"answer nobody asked for", oInt, Header(FrameKind::Reply, 1)},
        {"answer to number 0", oInt, Header(FrameKind::Reply, 0)},
        {"no answer nobody asked for", Body(), Header(FrameKind::NoReply, 1)},
        {"no answer with a body", oInt, Header(FrameKind::NoReply, 1)},
        {"entries: all ones", Body().Entries(0xFFFFFFFF)},
        {"entries: one too many", Body().Entries(2).Key("number", 3).Add(int64_t{7})},
        {"key: all ones", Body().Entries(1).Add(0xFFFFFFFFu)},
        {"key: one past", Body().Entries(1).Add(2u).Add('k')},
        {"key with NUL", Entry(std::string_view("a\0b", 3), 1)},
        {"string with NUL", Entry("k", 8).Text(std::string_view("a\0b", 3))},
        {"string: one past", Entry("k", 8).Add(2u).Add('s')},
        {"data: all ones", Entry("k", 7).Add(0xFFFFFFFFu).Add('d')},
        {"array: all ones", Entry("k", 12).Add(0xFFFFFFFFu).Add(uint8_t{1})},
        {"type 0", Entry("k", 0)},
        {"type 14", Entry("k", 14)},
        {"bool 2", Entry("k", 2).Add(uint8_t{2})},
        {"half an integer", Entry("k", 3).Add(int32_t{1})},
        {"half a UUID", Entry("k", 9).Add(int64_t{1})},
        {"descriptor", Entry("k", 10), Header(kMessage, 0, 1), 1, -1, 0, SIZE_MAX, true},
        {"descriptor that did not come", Entry("k", 10), Header(kMessage, 0, 1)},
        {"descriptor not said", Entry("k", 10), Header(kMessage), 1},
        {"endpoint without descriptor", Entry("k", 11), Header(kMessage)},
        {"descriptor nobody takes", oInt, Header(kMessage, 0, 1), 1},
        {"descriptors: all ones", Entry("k", 10), Header(kMessage, 0, 0xFFFFFFFF), 1},
        {"more descriptors than fit", oInt, Header(kMessage, 0, 70), 70},
    };
}

} // namespace

TEST(XpcHostile, BadFrameEndsItsConnectionAndNothingElse) {
    ServiceFolder oFolder;
    Listener oListener([](xpc_connection_t, xpc_object_t p) { AnswerWith(p, "well"); },
                       ServiceFolder::NewServer(kName));
    Party oFriend(ServiceFolder::NewClient(kName));
    oFriend.Resume();
    for (Attack const& oAttack : Attacks()) {
        SCOPED_TRACE(oAttack.szName);
        size_t const nBefore = oListener.PeerNotes().Now().size();
        {
            FileDescriptor oSocket;
            ASSERT_EQ(ConnectResult::Connected, ConnectToService(kName, oSocket));
            oAttack.Throw(oSocket.Get());
            size_t const nExpected = nBefore + 1; // the message, or the end
            auto const lNotes = oListener.PeerNotes().WaitFor(nExpected);
            ASSERT_EQ(nExpected, lNotes.size());
            EXPECT_EQ(oAttack.bWelcome, lNotes.back() != "invalid");
        }
        oListener.PeerNotes().WaitFor(nBefore + (oAttack.bWelcome ? 2 : 1));
        EXPECT_EQ("well", WordFor(Message(xpc_connection_send_message_with_reply_sync(oFriend, Message("how?")))));
        oListener.PeerNotes().WaitFor(nBefore + (oAttack.bWelcome ? 3 : 2));
    }
}

TEST(XpcHostile, WhatIsThrownAtADoorDoesNotShutIt) {
    Listener oListener;
    xpc_endpoint_t const pEndpoint = xpc_endpoint_create(oListener.AsParty());
    int const nDoor = reinterpret_cast<Endpoint*>(pEndpoint)->oDoor.Get();
    for (Attack const& oAttack : Attacks())
        oAttack.Throw(nDoor);
    Attack{"no socket", {}, Header(FrameKind::Connect, 0, 1), 1}.Throw(nDoor);
    Party oCaller(xpc_connection_create_from_endpoint(pEndpoint));
    oCaller.Resume().Send(Message("hello"));
    EXPECT_EQ(Words{"hello"}, oListener.PeerNotes().WaitFor(1));
    xpc_release(pEndpoint);
}

TEST(XpcHostile, AListenerHasRoomForSoManyPeersAndNoMore) {
    Listener oListener;
    std::vector<std::unique_ptr<Party>> lCallers;
    for (int n = 0; n < 257; ++n) {
        lCallers.push_back(std::make_unique<Party>(oListener.NewCaller()));
        lCallers.back()->Resume();
    }
    EXPECT_EQ(Words{"invalid"}, lCallers.back()->Notes().WaitFor(1));
    lCallers.front().reset(); // one leaves, one may come
    EXPECT_EQ(Words{"invalid"}, oListener.PeerNotes().WaitFor(1));
    std::string szAnswer;
    for (int n = 0; n < 1000 && szAnswer != "hello"; ++n) { // the place is free soon after the peer was told
        Party oNext(oListener.NewCaller());
        oNext.Resume().Send(Message("hello"));
        oNext.Ask(Message("hello?"));
        oNext.Notes().WaitFor(1);
        szAnswer = oListener.PeerNotes().Now().size() > 1 ? "hello" : "";
    }
    EXPECT_EQ("hello", szAnswer);
}

TEST(XpcHostile, PeersThatHaveGoneKeepNoThread) {
    Listener oListener; // holds on to its peers
    auto const Threads = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}); };
    auto const nBefore = Threads();
    constexpr size_t kPeers = 50;
    for (size_t n = 0; n < kPeers; ++n) {
        Party oCaller(oListener.NewCaller());
        oCaller.Resume().Send(Message("hello"));
        ASSERT_EQ(2 * n + 1, oListener.PeerNotes().WaitFor(2 * n + 1).size());
        xpc_connection_cancel(oCaller);
        ASSERT_EQ("invalid", oListener.PeerNotes().WaitFor(2 * n + 2).back());
    }
    auto const oDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (Threads() >= nBefore + 10 && std::chrono::steady_clock::now() < oDeadline)
        std::this_thread::yield(); // the last ones are still on their way out
    EXPECT_LT(Threads(), nBefore + 10) << "a few are the platform's own";
}

TEST(XpcHostile, RandomFramesAreReadOrRefused) {
    std::mt19937 oRandom(20240607);
    auto const Below = [&](size_t nEnd) { return std::uniform_int_distribution<size_t>(0, nEnd - 1)(oRandom); };
    for (Attack const& oAttack : Attacks()) {
        if (oAttack.nSeals >= 0 || oAttack.oBody.szBytes.size() > 1000)
            continue;
        FrameHeader oHeader = oAttack.oHeader;
        oHeader.nBodyLength = static_cast<uint32_t>(oAttack.oBody.szBytes.size());
        std::string szSeed(1, static_cast<char>(oAttack.nDescriptors));
        szSeed.append(reinterpret_cast<char const*>(&oHeader), sizeof oHeader).append(oAttack.oBody.szBytes);
        for (int n = 0; n < 400; ++n) {
            std::string szFrame = szSeed;
            for (size_t nChanges = Below(4); nChanges-- != 0;)
                szFrame[Below(szFrame.size())] = static_cast<char>(Below(256));
            if (Below(8) == 0)
                szFrame.resize(Below(szFrame.size() + 1));
            FuzzFrame(reinterpret_cast<uint8_t const*>(szFrame.data()), szFrame.size());
        }
    }
}
