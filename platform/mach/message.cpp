#include "platform/mach/exceptions.h"
#include "platform/mach/ports.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <mach/ndr.h>
#include <new>
#include <optional>

namespace platform {
namespace {

using Deadline = std::optional<timespec>; // of CLOCK_MONOTONIC; none: wait for good

constexpr mach_msg_option_t kSendOptions = MACH_SEND_MSG | MACH_SEND_TIMEOUT;
constexpr mach_msg_option_t kReceiveOptions = MACH_RCV_MSG | MACH_RCV_TIMEOUT | MACH_RCV_INTERRUPT;

Deadline After(mach_msg_timeout_t milliseconds) {
    timespec at;
    clock_gettime(CLOCK_MONOTONIC, &at);
    long const nanoseconds = at.tv_nsec + static_cast<long>(milliseconds % 1000) * 1'000'000;
    return timespec{at.tv_sec + milliseconds / 1000 + nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
}

// A cancellation point. 0, EINTR or ETIMEDOUT.
int Wait(sem_t& semaphore, Deadline const& deadline) {
    int const result = deadline ? sem_clockwait(&semaphore, CLOCK_MONOTONIC, &*deadline) : sem_wait(&semaphore);
    return result == 0 ? 0 : errno;
}

constexpr std::size_t Rounded(std::size_t size) {
    return (size + 3) & ~std::size_t{3};
}

// Puts a message and its trailer where the receiver wants them.
mach_msg_return_t Deliver(char const* message, std::size_t size, mach_msg_header_t* to, mach_msg_size_t limit) {
    mach_msg_trailer_t const trailer{MACH_MSG_TRAILER_FORMAT_0, MACH_MSG_TRAILER_MINIMUM_SIZE};
    if (Rounded(size) + sizeof trailer > limit)
        return MACH_RCV_TOO_LARGE;
    std::memcpy(to, message, size);
    std::memcpy(reinterpret_cast<char*>(to) + Rounded(size), &trailer, sizeof trailer);
    return MACH_MSG_SUCCESS;
}

mach_msg_return_t Receive(mach_msg_header_t* msg, mach_msg_option_t option, mach_msg_size_t limit, mach_port_name_t at,
                          Deadline const& deadline) {
    Receiving port = EnterReceiver(at);
    if (!port)
        return MACH_RCV_INVALID_NAME;
    ReceiverMark mark;
    for (;;) {
        if (!port->IsAt(at)) {
            sem_post(&port->arrivals); // for the next that waits
            return MACH_RCV_PORT_DIED;
        }
        // The faulting thread may hold any lock of the process: up to the answer none is taken for it, nor memory.
        __Request__mach_exception_raise_t request;
        if (TakeException(at, request)) {
            port.reset();
            mark.End(); // a fault of this thread from here on is nobody's to answer
            auto const result = Deliver(reinterpret_cast<char const*>(&request), sizeof request, msg, limit);
            if (result != MACH_MSG_SUCCESS)
                AnswerException(request.Head.msgh_remote_port, KERN_FAILURE);
            return result;
        }
        if (auto const message = PopMessage(*port, at); !message.empty()) {
            sem_post(&port->room);
            port.reset();
            mark.End();
            return Deliver(message.data(), message.size(), msg, limit);
        }
        int const error = Wait(port->arrivals, deadline);
        if (error == ETIMEDOUT)
            return MACH_RCV_TIMED_OUT;
        if (error == EINTR && (option & MACH_RCV_INTERRUPT))
            return MACH_RCV_INTERRUPTED;
    }
}

// What the receiver gets: the sender's ports become the receiver's.
std::vector<char> AsReceived(mach_msg_header_t const* msg, mach_msg_size_t size) {
    std::vector<char> message(reinterpret_cast<char const*>(msg), reinterpret_cast<char const*>(msg) + size);
    mach_msg_header_t header;
    std::memcpy(&header, message.data(), sizeof header);
    header.msgh_bits = MACH_MSGH_BITS(0u, static_cast<unsigned>(MACH_MSG_TYPE_PORT_SEND));
    header.msgh_size = size;
    header.msgh_local_port = header.msgh_remote_port;
    header.msgh_remote_port = MACH_PORT_NULL;
    std::memcpy(message.data(), &header, sizeof header);
    return message;
}

mach_msg_return_t SendToPort(mach_msg_header_t const* msg, mach_msg_size_t size, Deadline const& deadline) {
    mach_msg_type_name_t const disposition = MACH_MSGH_BITS_REMOTE(msg->msgh_bits);
    if (msg->msgh_local_port != MACH_PORT_NULL)
        return MACH_SEND_INVALID_REPLY;
    if ((msg->msgh_bits & ~MACH_MSGH_BITS_REMOTE_MASK) != 0 || msg->msgh_voucher_port != MACH_PORT_NULL ||
        (disposition != MACH_MSG_TYPE_COPY_SEND && disposition != MACH_MSG_TYPE_MAKE_SEND))
        return MACH_SEND_INVALID_HEADER;
    mach_port_name_t const to = msg->msgh_remote_port;
    Messages message{AsReceived(msg, size)};
    Sending const port = EnterSender(to, disposition);
    if (!port)
        return MACH_SEND_INVALID_DEST;
    for (int error = EINTR; error == EINTR;)
        if ((error = Wait(port->room, deadline)) == ETIMEDOUT)
            return MACH_SEND_TIMED_OUT;
    if (!PushMessage(*port, to, std::move(message))) {
        sem_post(&port->room); // for the next that waits
        return MACH_SEND_INVALID_DEST;
    }
    sem_post(&port->arrivals);
    return MACH_MSG_SUCCESS;
}

// An answer that is not one fails the exception.
kern_return_t ResultOf(mach_msg_header_t const* reply, mach_msg_size_t size) {
    mig_reply_error_t answer;
    if (size < sizeof answer || reply->msgh_id != MACH_EXC_RAISE_ID + 100)
        return KERN_FAILURE;
    std::memcpy(&answer, reply, sizeof answer);
    return answer.RetCode;
}

mach_msg_return_t Send(mach_msg_header_t const* msg, mach_msg_size_t size, Deadline const& deadline) try {
    if (size < sizeof *msg)
        return MACH_SEND_MSG_TOO_SMALL;
    if (MACH_MSGH_BITS_REMOTE(msg->msgh_bits) == MACH_MSG_TYPE_MOVE_SEND_ONCE)
        return AnswerException(msg->msgh_remote_port, ResultOf(msg, size)) ? MACH_MSG_SUCCESS : MACH_SEND_INVALID_DEST;
    return SendToPort(msg, size, deadline);
} catch (std::bad_alloc const&) {
    return MACH_SEND_NO_BUFFER;
}

} // namespace
} // namespace platform

extern "C" {

NDR_record_t const NDR_record = {0, 0, 0, 0, 1, 0, 0, 0};

mach_msg_return_t mach_msg(mach_msg_header_t* msg, mach_msg_option_t option, mach_msg_size_t send_size,
                           mach_msg_size_t rcv_size, mach_port_name_t rcv_name, mach_msg_timeout_t timeout,
                           mach_port_name_t) {
    if (option & ~(platform::kSendOptions | platform::kReceiveOptions))
        return option & MACH_SEND_MSG ? MACH_SEND_INVALID_OPTIONS : MACH_RCV_INVALID_OPTIONS;
    platform::Deadline deadline;
    if (option & (MACH_SEND_TIMEOUT | MACH_RCV_TIMEOUT))
        deadline = platform::After(timeout);
    if (option & MACH_SEND_MSG) {
        auto const result =
            platform::Send(msg, send_size, option & MACH_SEND_TIMEOUT ? deadline : platform::Deadline());
        if (result != MACH_MSG_SUCCESS)
            return result;
    }
    if (option & MACH_RCV_MSG)
        return platform::Receive(msg, option, rcv_size, rcv_name,
                                 option & MACH_RCV_TIMEOUT ? deadline : platform::Deadline());
    return MACH_MSG_SUCCESS;
}

} // extern "C"
