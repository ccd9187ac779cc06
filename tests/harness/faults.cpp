#include "tests/harness/faults.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#define UNSEEN [[gnu::noinline, gnu::no_sanitize("address"), gnu::no_sanitize("thread"), gnu::no_sanitize("undefined")]]

UNSEEN void WriteByte(char* pTo) {
    *const_cast<char volatile*>(pTo) = 1;
}

void FaultUnmapped() {
    WriteByte(reinterpret_cast<char*>(std::uintptr_t{16}));
}

void FaultNonCanonical() {
    WriteByte(reinterpret_cast<char*>(std::uintptr_t{0x8000'0000'0000'0000}));
}

void FaultReadOnly() {
    WriteByte(static_cast<char*>(mmap(nullptr, 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)));
}

void FaultBeyondFile() {
    int const hEmpty = memfd_create("empty", MFD_CLOEXEC);
    void* const pMapped = mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED, hEmpty, 0);
    close(hEmpty);
    WriteByte(static_cast<char*>(pMapped));
}

void FaultInstruction() {
    __builtin_trap();
}

UNSEEN void FaultDivision() {
    int volatile nDividend = 7, nZero = 0;
    nDividend = nDividend / nZero;
}

UNSEEN void FaultStack() {
    char volatile arFrame[4096];
    arFrame[0] = 1;
    if (arFrame[0])
        FaultStack();
    arFrame[1] = 1; // after the call, so that the frame stays
}

std::string Dispositions() {
    std::string szAll;
    for (int const nSignal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE}) {
        char arNow[32]{};
        syscall(SYS_rt_sigaction, nSignal, nullptr, arNow, 8);
        szAll.append(arNow, sizeof arNow);
    }
    return szAll;
}
