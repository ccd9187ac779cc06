// Stands in for <mach/mig_errors.h>: the reply that every generated server can give, and the codes of its own.
// Differs from the OS: codes that nothing here gives are left out.
#pragma once

#include <mach/kern_return.h>
#include <mach/message.h>
#include <mach/ndr.h>

#include <stddef.h>

#define MIG_BAD_ID (-303)
#define MIG_BAD_ARGUMENTS (-304)

#pragma pack(push, 4)
typedef struct {
    mach_msg_header_t Head;
    NDR_record_t NDR;
    kern_return_t RetCode;
} mig_reply_error_t;
#pragma pack(pop)
static_assert(sizeof(mig_reply_error_t) == 36 && offsetof(mig_reply_error_t, RetCode) == 32);
