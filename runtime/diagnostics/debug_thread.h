// What reports of a failure say about the threads of the process: a table of those that have announced themselves, and
// the command that is being worked on.
#pragma once

#include "base/mutex.h"

#include <mach/port.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

// What dwThreadId holds when it is not a thread's.
inline constexpr mach_port_t kLDebugThreadFree = 0xFFFFFFFF;
inline constexpr mach_port_t kLDebugThreadReserved = 0xFFFFFFFE; // being filled

// One thread's entry. The texts are the thread's own: nobody else reads or writes them between the thread's start and
// its stop, so they need no lock. NUL-terminated.
struct LDebugThreadData {
    std::atomic<mach_port_t> dwThreadId{kLDebugThreadFree}; // the thread's mach port
    char szLastDialog[32] = {};                             // its last dialog's text, tagged with digits of its ID
    char szName[8] = {};                                    // its short name, at most 4 bytes
};

inline constexpr std::size_t kLDebugThreads = 64;

// Entries are claimed and released under the mutex, which the start-up makes recursive, and found without it: a thread
// looks for its own ID, which it has put there itself when the texts were ready.
extern constinit LRecursiveMutex loDebugThreads;
extern constinit std::array<LDebugThreadData, kLDebugThreads> gDebugThreadData;
extern constinit std::atomic<std::uint64_t> gnDebugThreads; // the entries from here on are free

// Numbers of the command that the main thread works on and of the one before; 0 for none. Any thread.
extern constinit std::atomic<std::uint32_t> gwDebugCurrentCommand;
extern constinit std::atomic<std::uint32_t> gwDebugLastCommand;

// Gives the calling thread an entry under the name, cut to 4 bytes; null names it by the last four digits of its ID.
// Without effect when 64 threads have one. A thread that starts twice has two entries and is to stop twice.
void LDebugThreadDataStartThread(char const* szName) noexcept;
// Gives the entry back; to be called before the thread ends, for its ID may be another thread's later.
void LDebugThreadDataStopThread() noexcept;

// The calling thread's entry, or null. It is the thread's until it stops.
LDebugThreadData* LDebugThreadFindData() noexcept;

// Without effect, or with an empty text, where the calling thread has no entry. A null name or text is empty; a null
// output is ignored, any other holds 8 bytes.
void LDebugThreadSetName(char const* szName) noexcept;
void LDebugThreadGetName(char* szOut) noexcept;
// Keeps the text and behind it the units, tens and hundreds of the thread's ID, in that order; cut to 31 bytes.
void LDebugThreadSetLastDialog(char const* szText) noexcept;

// Whether the caller is the process's first thread. Any thread.
bool LIsMainThread() noexcept;
