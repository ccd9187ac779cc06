// Stands in for <mach/ndr.h>: how the data of a message is represented. Every generated message carries it.
#pragma once

typedef struct {
    unsigned char mig_vers;
    unsigned char if_vers;
    unsigned char reserved1;
    unsigned char mig_encoding;
    unsigned char int_rep; // 1: little-endian
    unsigned char char_rep;
    unsigned char float_rep;
    unsigned char reserved2;
} NDR_record_t;
static_assert(sizeof(NDR_record_t) == 8);

extern "C" {

// This machine's own.
extern NDR_record_t const NDR_record;

} // extern "C"
