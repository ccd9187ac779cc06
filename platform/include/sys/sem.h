// Stands in for <sys/sem.h>: the kernel's own header, and the argument of semctl, which the OS declares and this kernel
// leaves to its callers.
// Differs from the OS: the members that only a super-user's calls take are left out.
#pragma GCC system_header

#include_next <sys/sem.h> // outside of the guard, so that this file may be reached by two names

#ifndef LUMORA_PLATFORM_SYS_SEM_H
#define LUMORA_PLATFORM_SYS_SEM_H

union semun {
    int val;               // SETVAL
    struct semid_ds* buf;  // IPC_STAT, IPC_SET
    unsigned short* array; // GETALL, SETALL
};

#endif
