// Stands in for <mach/task_info.h> and, from <mach/task.h>, task_info: what a task uses. Any thread.
//
// Kept: layout and size of the answer; `*task_info_outCnt` is in 4-byte units, room on entry and what was filled on
// return; KERN_INVALID_ARGUMENT for too little room, an unknown flavour or a task that is not the calling one.
// Differs from the OS:
// - TASK_BASIC_INFO_64 is the one flavour.
// - Times count the living threads too, not the ended ones alone. Tasks are never suspended and always share time.
#pragma once

#include <mach/kern_return.h>
#include <mach/port.h>
#include <mach/thread_policy.h>
#include <mach/vm_types.h>

typedef mach_port_t task_name_t;
typedef natural_t task_flavor_t;
typedef integer_t* task_info_t;
typedef int policy_t;

#define POLICY_TIMESHARE 1
#define TASK_BASIC_INFO_64 5

struct time_value {
    integer_t seconds;
    integer_t microseconds;
};
typedef struct time_value time_value_t;

#pragma pack(push, 4)
struct task_basic_info_64 {
    integer_t suspend_count;
    mach_vm_size_t virtual_size;  // bytes
    mach_vm_size_t resident_size; // bytes
    time_value_t user_time;
    time_value_t system_time;
    policy_t policy;
};
#pragma pack(pop)
typedef struct task_basic_info_64 task_basic_info_64_data_t;
typedef struct task_basic_info_64* task_basic_info_64_t;
static_assert(sizeof(task_basic_info_64_data_t) == 40 && __builtin_offsetof(task_basic_info_64, virtual_size) == 4);

#define TASK_BASIC_INFO_64_COUNT ((mach_msg_type_number_t)(sizeof(task_basic_info_64_data_t) / sizeof(natural_t)))

extern "C" kern_return_t task_info(task_name_t target_task, task_flavor_t flavor, task_info_t task_info_out,
                                   mach_msg_type_number_t* task_info_outCnt);
