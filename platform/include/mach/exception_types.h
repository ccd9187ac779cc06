// Stands in for <mach/exception_types.h> and the processor's part of it: kinds of exception, their codes, and how a
// handler wants to be told.
// Differs from the OS: kinds, codes and behaviours that nothing here gives are left out.
#pragma once

#include <mach/port.h>

#include <stdint.h>

typedef int exception_type_t;
typedef int exception_behavior_t;
typedef unsigned int exception_mask_t;
typedef int64_t mach_exception_data_type_t;
typedef mach_exception_data_type_t* mach_exception_data_t;
typedef mach_port_t exception_handler_t;

#define EXC_BAD_ACCESS 1      // code: a kern_return_t or EXC_I386_GPFLT; subcode: the address
#define EXC_BAD_INSTRUCTION 2 // code: EXC_I386_INVOP
#define EXC_ARITHMETIC 3      // code: which fault

#define EXC_MASK_BAD_ACCESS (1u << EXC_BAD_ACCESS)
#define EXC_MASK_BAD_INSTRUCTION (1u << EXC_BAD_INSTRUCTION)
#define EXC_MASK_ARITHMETIC (1u << EXC_ARITHMETIC)

#define EXC_I386_INVOP 1
#define EXC_I386_DIV 1
#define EXC_I386_INTO 2
#define EXC_I386_SSEEXTERR 8
#define EXC_I386_GPFLT 13
#define EXC_I386_ALIGNFLT 17

#define EXCEPTION_DEFAULT 1
#define MACH_EXCEPTION_CODES 0x80000000u
