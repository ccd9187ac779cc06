#include "platform/testing/ports.h"
#include "runtime/diagnostics/exception_handler_installer.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <mach/mach_exc.h>
#include <mach/mach_port.h>
#include <thread>
#include <vector>

namespace {

// A request as the system makes it, in a buffer of exactly its size, so that a read behind it is seen.
std::vector<char> Request(mach_msg_id_t nId, unsigned nCodes, unsigned nState) {
    bool const bPorts = nId != MACH_EXC_RAISE_STATE_ID, bState = nId != MACH_EXC_RAISE_ID;
    std::vector<char> lBytes(sizeof(mach_msg_header_t));
    auto const Add = [&](auto const& oValue, std::size_t nBytes) {
        lBytes.insert(lBytes.end(), reinterpret_cast<char const*>(&oValue),
                      reinterpret_cast<char const*>(&oValue) + nBytes);
    };
    if (bPorts) {
        mach_msg_body_t const oBody{2};
        mach_msg_port_descriptor_t const oPort{0x303, 0, 0, MACH_MSG_TYPE_PORT_SEND, MACH_MSG_PORT_DESCRIPTOR};
        Add(oBody, sizeof oBody), Add(oPort, sizeof oPort), Add(oPort, sizeof oPort);
    }
    Add(NDR_record, sizeof NDR_record);
    exception_type_t const nException = EXC_BAD_ACCESS;
    Add(nException, 4), Add(nCodes, 4);
    lBytes.resize(lBytes.size() + nCodes * 8);
    if (bState) {
        int const nFlavor = 1;
        Add(nFlavor, 4), Add(nState, 4);
        lBytes.resize(lBytes.size() + std::size_t{nState} * 4);
    }
    mach_msg_header_t const oHead{(bPorts ? MACH_MSGH_BITS_COMPLEX : 0) | MACH_MSGH_BITS(18u, 17u),
                                  static_cast<mach_msg_size_t>(lBytes.size()),
                                  0x1234,
                                  0x5678,
                                  0,
                                  nId};
    std::memcpy(lBytes.data(), &oHead, sizeof oHead);
    return lBytes;
}

template <class Value>
std::vector<char> With(std::vector<char> lBytes, std::size_t nAt, Value nValue) {
    std::memcpy(lBytes.data() + nAt, &nValue, sizeof nValue);
    return lBytes;
}

// Cut, its header saying so.
std::vector<char> Cut(std::vector<char> lBytes, std::size_t nSize) {
    lBytes.resize(std::max(nSize, sizeof(mach_msg_header_t)));
    return With(lBytes, offsetof(mach_msg_header_t, msgh_size), static_cast<mach_msg_size_t>(nSize));
}

struct Result {
    bool bServed;
    kern_return_t nCode;
    bool operator==(Result const&) const = default;
};

Result Serve(std::vector<char> lBytes) {
    auto* const pRequest = reinterpret_cast<mach_msg_header_t*>(lBytes.data());
    mig_reply_error_t oReply;
    std::memset(&oReply, 0xAA, sizeof oReply);
    bool const bServed = mach_exc_server(pRequest, &oReply.Head);
    EXPECT_EQ(oReply.Head.msgh_bits, 18u);
    EXPECT_EQ(oReply.Head.msgh_size, 36u);
    EXPECT_EQ(oReply.Head.msgh_remote_port, 0x1234u);
    EXPECT_EQ(oReply.Head.msgh_local_port, MACH_PORT_NULL);
    EXPECT_EQ(static_cast<unsigned>(oReply.Head.msgh_id), static_cast<unsigned>(pRequest->msgh_id) + 100);
    EXPECT_EQ(std::memcmp(&oReply.NDR, &NDR_record, sizeof NDR_record), 0);
    return {bServed, oReply.RetCode};
}

constexpr std::size_t kDescriptors = offsetof(__Request__mach_exception_raise_t, msgh_body);
constexpr std::size_t kThreadType = offsetof(__Request__mach_exception_raise_t, thread) + 11;
constexpr std::size_t kCodes = offsetof(__Request__mach_exception_raise_t, codeCnt);
constexpr std::size_t kBits = offsetof(mach_msg_header_t, msgh_bits);

} // namespace

TEST(MachExcServer, RefusesEveryExceptionAndAnyMessageThatIsNotOne) {
    constexpr Result kRefused{true, KERN_FAILURE}, kMalformed{true, MIG_BAD_ARGUMENTS}, kUnknown{false, MIG_BAD_ID};
    for (mach_msg_id_t const nId : {2405, 2406, 2407})
        for (unsigned const nCodes : {0u, 1u, 2u})
            for (unsigned const nState : {0u, 3u, unsigned{THREAD_STATE_MAX}}) {
                auto const lWhole = Request(nId, nCodes, nState);
                EXPECT_EQ(Serve(lWhole), kRefused) << nId;
                for (std::size_t nSize = 0; nSize < lWhole.size(); nSize += nSize < 100 ? 1 : 97)
                    EXPECT_EQ(Serve(Cut(lWhole, nSize)), kMalformed) << nId << " cut to " << nSize;
                EXPECT_EQ(Serve(Cut(lWhole, lWhole.size() + 4)), kMalformed) << nId;
            }
    auto const lRaise = Request(2405, 2, 0), lState = Request(2406, 2, 0);
    EXPECT_EQ(Serve(With(lRaise, kDescriptors, 1u)), kMalformed);
    EXPECT_EQ(Serve(With(lRaise, kThreadType, char{1})), kMalformed);
    EXPECT_EQ(Serve(With(lRaise, kCodes, 3u)), kMalformed);
    EXPECT_EQ(Serve(With(lRaise, kCodes, 0x2000'0002u)), kMalformed); // times 8 it would wrap to 2
    EXPECT_EQ(Serve(With(lRaise, kBits, 18u)), kMalformed);
    EXPECT_EQ(Serve(With(lState, kBits, 18u | MACH_MSGH_BITS_COMPLEX)), kMalformed);
    EXPECT_EQ(Serve(With(lState, lState.size() - 4, 0x4000'0000u)), kMalformed);
    EXPECT_EQ(Serve(Request(2406, 2, THREAD_STATE_MAX + 1)), kMalformed);
    for (mach_msg_id_t const nId : {2404, 2408, 2410, 0, -1, std::numeric_limits<mach_msg_id_t>::max()})
        EXPECT_EQ(Serve(Request(nId, 2, 0)), kUnknown) << nId;
}

// At the installer's own port, which the test guesses: the thread takes one message, answers none of these and ends.
TEST(ExceptionHandlerInstaller, TakesAnyMessageAtItsPortAndCanBeInstalledAnew) {
    EXPECT_EQ(LExceptionHandlerInstaller::LMachExceptionHandlerThread(nullptr), nullptr);
    LExceptionHandlerInstaller oInstaller;
    EXPECT_EQ(oInstaller.LMachExceptionHandlerInstall(), 0);
    EXPECT_EQ(PlatformPorts(), 1);
    while (PlatformReceivers() == 0)
        std::this_thread::yield();
    // Names grow; the last one given out is the port's or its thread's.
    mach_port_t hProbe = MACH_PORT_NULL;
    ASSERT_EQ(mach_port_allocate(mach_task_self(), MACH_PORT_RIGHT_RECEIVE, &hProbe), KERN_SUCCESS);
    auto lMessage = Request(2410, 2, 0);
    auto& oHead = *reinterpret_cast<mach_msg_header_t*>(lMessage.data());
    bool bSent = false;
    for (mach_port_t hPort = hProbe - 0x100; !bSent && hPort > 0x100; hPort -= 0x100) {
        oHead.msgh_bits = MACH_MSG_TYPE_COPY_SEND;
        oHead.msgh_remote_port = hPort;
        oHead.msgh_local_port = MACH_PORT_NULL;
        bSent = mach_msg(&oHead, MACH_SEND_MSG, static_cast<mach_msg_size_t>(lMessage.size()), 0, MACH_PORT_NULL, 0,
                         MACH_PORT_NULL) == MACH_MSG_SUCCESS;
    }
    EXPECT_TRUE(bSent);
    while (PlatformReceivers() != 0)
        std::this_thread::yield();
    mach_port_mod_refs(mach_task_self(), hProbe, MACH_PORT_RIGHT_RECEIVE, -1);
}
