// Stands in for <mach/port.h>: names of ports.
//
// Differs from the OS: a name is a number that one process gives out once and never again.
#pragma once

typedef unsigned int natural_t;
typedef int integer_t;
typedef natural_t mach_port_name_t;
typedef mach_port_name_t mach_port_t;
typedef mach_port_t task_t;

#define MACH_PORT_NULL ((mach_port_t)0)
#define MACH_PORT_DEAD ((mach_port_t)~0)
