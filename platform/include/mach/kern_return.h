// Stands in for <mach/kern_return.h>: the result type of mach calls and the codes that this stand-in answers with.
// Differs from the OS: codes that nothing here gives are left out.
#pragma once

typedef int kern_return_t;

#define KERN_SUCCESS 0
#define KERN_INVALID_ADDRESS 1
#define KERN_PROTECTION_FAILURE 2
#define KERN_NO_SPACE 3
#define KERN_INVALID_ARGUMENT 4
#define KERN_FAILURE 5
#define KERN_RESOURCE_SHORTAGE 6
#define KERN_NOT_RECEIVER 7
#define KERN_NO_ACCESS 8
#define KERN_MEMORY_ERROR 10
#define KERN_ABORTED 14
#define KERN_INVALID_NAME 15
#define KERN_INVALID_TASK 16
#define KERN_INVALID_RIGHT 17
#define KERN_INVALID_VALUE 18
#define KERN_NOT_SUPPORTED 46
