// Stands in for <mach/vm_types.h>: sizes in memory.
#pragma once

#include <stdint.h>

typedef uintptr_t vm_size_t;
typedef uint64_t mach_vm_size_t;
