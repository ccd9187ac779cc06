// Stands in for <mach/boolean.h>.
#pragma once

typedef int boolean_t;
