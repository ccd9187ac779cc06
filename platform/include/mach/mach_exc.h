// Stands in for what the OS's interface generator makes of <mach/mach_exc.defs>: the requests of the exception
// interface with 64-bit codes, and the functions that a server dispatches them to.
//
// Kept: layouts and numbers. Arrays are as long in a message as their counts say, and what follows moves up.
// Differs from the OS: the replies that return a state are left out, as no state is ever given.
#pragma once

#include <mach/exception_types.h>
#include <mach/mig_errors.h>
#include <mach/thread_status.h>

#define MACH_EXC_RAISE_ID 2405
#define MACH_EXC_RAISE_STATE_ID 2406
#define MACH_EXC_RAISE_STATE_IDENTITY_ID 2407

#pragma pack(push, 4)
typedef struct {
    mach_msg_header_t Head;
    mach_msg_body_t msgh_body;
    mach_msg_port_descriptor_t thread;
    mach_msg_port_descriptor_t task;
    NDR_record_t NDR;
    exception_type_t exception;
    mach_msg_type_number_t codeCnt; // at most 2
    int64_t code[2];
} __Request__mach_exception_raise_t;

typedef struct {
    mach_msg_header_t Head;
    NDR_record_t NDR;
    exception_type_t exception;
    mach_msg_type_number_t codeCnt;
    int64_t code[2];
    int flavor;
    mach_msg_type_number_t old_stateCnt; // at most THREAD_STATE_MAX
    natural_t old_state[THREAD_STATE_MAX];
} __Request__mach_exception_raise_state_t;

typedef struct {
    mach_msg_header_t Head;
    mach_msg_body_t msgh_body;
    mach_msg_port_descriptor_t thread;
    mach_msg_port_descriptor_t task;
    NDR_record_t NDR;
    exception_type_t exception;
    mach_msg_type_number_t codeCnt;
    int64_t code[2];
    int flavor;
    mach_msg_type_number_t old_stateCnt;
    natural_t old_state[THREAD_STATE_MAX];
} __Request__mach_exception_raise_state_identity_t;
#pragma pack(pop)

typedef mig_reply_error_t __Reply__mach_exception_raise_t;

static_assert(sizeof(__Request__mach_exception_raise_t) == 84);
static_assert(offsetof(__Request__mach_exception_raise_t, code) == 68);
static_assert(offsetof(__Request__mach_exception_raise_state_t, old_state) == 64);
static_assert(offsetof(__Request__mach_exception_raise_state_identity_t, old_state) == 92);

extern "C" {

// To be defined by whoever runs a server. KERN_SUCCESS lets the thread go on, anything else passes the fault on.
kern_return_t catch_mach_exception_raise(mach_port_t exception_port, mach_port_t thread, mach_port_t task,
                                         exception_type_t exception, mach_exception_data_t code,
                                         mach_msg_type_number_t codeCnt);
kern_return_t catch_mach_exception_raise_state(mach_port_t exception_port, exception_type_t exception,
                                               mach_exception_data_t code, mach_msg_type_number_t codeCnt, int* flavor,
                                               thread_state_t old_state, mach_msg_type_number_t old_stateCnt,
                                               thread_state_t new_state, mach_msg_type_number_t* new_stateCnt);
kern_return_t catch_mach_exception_raise_state_identity(mach_port_t exception_port, mach_port_t thread,
                                                        mach_port_t task, exception_type_t exception,
                                                        mach_exception_data_t code, mach_msg_type_number_t codeCnt,
                                                        int* flavor, thread_state_t old_state,
                                                        mach_msg_type_number_t old_stateCnt, thread_state_t new_state,
                                                        mach_msg_type_number_t* new_stateCnt);

// The server's demultiplexer, to be defined beside them.
boolean_t mach_exc_server(mach_msg_header_t* InHeadP, mach_msg_header_t* OutHeadP);

} // extern "C"
