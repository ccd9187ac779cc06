// Stands in for <mach/host_info.h>, <mach/vm_statistics.h> and, from <mach/mach_host.h>, the calls about the host's
// memory. Any thread.
//
// Kept: layout and size of the answer; `*host_info_outCnt` is in 4-byte units, room on entry and what was filled on
// return; KERN_INVALID_ARGUMENT for an unknown flavour or another port than the host's, KERN_FAILURE for too little
// room. Differs from the OS:
// - HOST_VM_INFO is the one flavour.
// - Pages are the kernel's by its own kinds: "wired" is what it can't page out, "purgeable" what it can drop at once.
//   What it does not count (reactivations, look-ups, hits, speculative pages) is 0; a count past 32 bits is the
//   largest.
#pragma once

#include <mach/kern_return.h>
#include <mach/port.h>
#include <mach/thread_policy.h>
#include <mach/vm_types.h>

typedef mach_port_t host_t;
typedef mach_port_t host_priv_t;
typedef integer_t host_flavor_t;
typedef integer_t* host_info_t;

#define HOST_VM_INFO 2

struct vm_statistics {
    natural_t free_count; // pages, as the five below
    natural_t active_count;
    natural_t inactive_count;
    natural_t wire_count;
    natural_t zero_fill_count; // since the machine started, as all down to `hits`
    natural_t reactivations;
    natural_t pageins;
    natural_t pageouts;
    natural_t faults;
    natural_t cow_faults;
    natural_t lookups;
    natural_t hits;
    natural_t purgeable_count; // pages
    natural_t purges;
    natural_t speculative_count; // pages
};
typedef struct vm_statistics vm_statistics_data_t;
typedef struct vm_statistics* vm_statistics_t;
static_assert(sizeof(vm_statistics_data_t) == 60 && __builtin_offsetof(vm_statistics, purgeable_count) == 48);

#define HOST_VM_INFO_COUNT ((mach_msg_type_number_t)(sizeof(vm_statistics_data_t) / sizeof(integer_t)))

extern "C" {

mach_port_t mach_host_self(void);
kern_return_t host_statistics(host_priv_t host_priv, host_flavor_t flavor, host_info_t host_info_out,
                              mach_msg_type_number_t* host_info_outCnt);
kern_return_t host_page_size(host_t host, vm_size_t* out_page_size); // bytes

} // extern "C"
