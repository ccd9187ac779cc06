// Stands in for <mach/message.h>: messages to and from ports. Any thread.
//
// Kept: the layouts; sizes, in bytes, that count the header and leave the trailer out; a minimal trailer behind each
// message received; at most 5 messages wait at a port, and the next sender waits with them. Waiting is a cancellation
// point, and ends when the port dies. MACH_RCV_INTERRUPT makes a signal that has no SA_RESTART end the wait with
// MACH_RCV_INTERRUPTED; otherwise it goes on. A message that is too large for its receiver is lost.
// Differs from the OS:
// - Messages go between threads of one process. Those sent here carry no rights: no reply port, no descriptors, no
//   voucher; MACH_SEND_INVALID_REPLY and MACH_SEND_INVALID_HEADER answer them. Options other than those below fail with
//   MACH_SEND_INVALID_OPTIONS or MACH_RCV_INVALID_OPTIONS.
// - The kernel's own requests (exceptions, <mach/task.h>) come with a reply port that takes one reply. The ports in
//   their descriptors come without references, so there is nothing to give back.
#pragma once

#include <mach/boolean.h>
#include <mach/kern_return.h>
#include <mach/port.h>

#include <stddef.h>

typedef unsigned int mach_msg_bits_t;
typedef natural_t mach_msg_size_t;
typedef integer_t mach_msg_id_t;
typedef natural_t mach_msg_timeout_t; // milliseconds
typedef unsigned int mach_msg_type_name_t;
typedef unsigned int mach_msg_descriptor_type_t;
typedef unsigned int mach_msg_trailer_type_t;
typedef unsigned int mach_msg_trailer_size_t;
typedef natural_t mach_msg_type_number_t;
typedef integer_t mach_msg_option_t;
typedef kern_return_t mach_msg_return_t;

#define MACH_MSG_TIMEOUT_NONE ((mach_msg_timeout_t)0)

// What becomes of the right that a message names.
#define MACH_MSG_TYPE_PORT_SEND_ONCE MACH_MSG_TYPE_MOVE_SEND_ONCE
#define MACH_MSG_TYPE_PORT_SEND MACH_MSG_TYPE_MOVE_SEND
#define MACH_MSG_TYPE_MOVE_RECEIVE 16
#define MACH_MSG_TYPE_MOVE_SEND 17
#define MACH_MSG_TYPE_MOVE_SEND_ONCE 18
#define MACH_MSG_TYPE_COPY_SEND 19
#define MACH_MSG_TYPE_MAKE_SEND 20
#define MACH_MSG_TYPE_MAKE_SEND_ONCE 21

#define MACH_MSGH_BITS_REMOTE_MASK 0x0000001fu
#define MACH_MSGH_BITS_LOCAL_MASK 0x00001f00u
#define MACH_MSGH_BITS_COMPLEX 0x80000000u
#define MACH_MSGH_BITS(remote, local) ((remote) | ((local) << 8))
#define MACH_MSGH_BITS_REMOTE(bits) ((bits)&MACH_MSGH_BITS_REMOTE_MASK)
#define MACH_MSGH_BITS_LOCAL(bits) (((bits)&MACH_MSGH_BITS_LOCAL_MASK) >> 8)

typedef struct {
    mach_msg_bits_t msgh_bits;
    mach_msg_size_t msgh_size;
    mach_port_t msgh_remote_port; // sent: where to; received: where the reply goes
    mach_port_t msgh_local_port;  // sent: where the reply is to go; received: where it was received
    mach_port_name_t msgh_voucher_port;
    mach_msg_id_t msgh_id;
} mach_msg_header_t;
static_assert(sizeof(mach_msg_header_t) == 24 && offsetof(mach_msg_header_t, msgh_id) == 20);

typedef struct {
    mach_msg_size_t msgh_descriptor_count;
} mach_msg_body_t;

#define MACH_MSG_PORT_DESCRIPTOR 0

#pragma pack(push, 4)
typedef struct {
    mach_port_t name;
    mach_msg_size_t pad1;
    unsigned int pad2 : 16;
    mach_msg_type_name_t disposition : 8;
    mach_msg_descriptor_type_t type : 8;
} mach_msg_port_descriptor_t;
#pragma pack(pop)
static_assert(sizeof(mach_msg_port_descriptor_t) == 12);

typedef struct {
    mach_msg_trailer_type_t msgh_trailer_type;
    mach_msg_trailer_size_t msgh_trailer_size;
} mach_msg_trailer_t;
#define MACH_MSG_TRAILER_FORMAT_0 0
#define MACH_MSG_TRAILER_MINIMUM_SIZE sizeof(mach_msg_trailer_t)

#define MACH_MSG_OPTION_NONE 0x00000000
#define MACH_SEND_MSG 0x00000001
#define MACH_RCV_MSG 0x00000002
#define MACH_SEND_TIMEOUT 0x00000010
#define MACH_RCV_TIMEOUT 0x00000100
#define MACH_RCV_INTERRUPT 0x00000400

#define MACH_MSG_SUCCESS 0x00000000
#define MACH_SEND_INVALID_DEST 0x10000003
#define MACH_SEND_TIMED_OUT 0x10000004
#define MACH_SEND_MSG_TOO_SMALL 0x10000008
#define MACH_SEND_INVALID_REPLY 0x10000009
#define MACH_SEND_NO_BUFFER 0x1000000d
#define MACH_SEND_INVALID_HEADER 0x10000010
#define MACH_SEND_INVALID_OPTIONS 0x10000013
#define MACH_RCV_INVALID_NAME 0x10004002
#define MACH_RCV_TIMED_OUT 0x10004003
#define MACH_RCV_TOO_LARGE 0x10004004
#define MACH_RCV_INTERRUPTED 0x10004005
#define MACH_RCV_PORT_DIED 0x10004009
#define MACH_RCV_INVALID_OPTIONS 0x1000400d // of this stand-in only

extern "C" {

// Sends `send_size` bytes of the message, then receives into the same buffer, as far as `option` says; the receive
// limit `rcv_size` counts the trailer too. `timeout` is for both and only with an option that says so. Sending needs a
// send right, or the receive right to make one from; receiving needs the receive right of `rcv_name`.
// Not noexcept: a cancelled thread unwinds out of the wait.
mach_msg_return_t mach_msg(mach_msg_header_t* msg, mach_msg_option_t option, mach_msg_size_t send_size,
                           mach_msg_size_t rcv_size, mach_port_name_t rcv_name, mach_msg_timeout_t timeout,
                           mach_port_name_t notify);

} // extern "C"
