// System calls of this test program that a test can watch and make fail: the program's own definitions stand before the
// C library's. Untouched, each goes to the kernel.
#pragma once

#include <sys/types.h>

#include <functional>
#include <vector>

struct timespec;

struct FileCallHooks {
    // Called in place of a pause, with its length in ms; the pause then takes no time.
    std::function<void(long)> Sleep;
    // Called before a read or write of so many bytes: how many to move at most, or -errno to fail with.
    std::function<ssize_t(size_t)> Transfer;
    // Called before a folder is removed: 0, or -errno to fail with.
    std::function<int()> RemoveFolder;

    // What time it is, in seconds since the epoch.
    std::function<long()> Now;

    static FileCallHooks& Hooks();
};

// Removes every hook at the end of the scope.
class HookScope {
public:
    ~HookScope() { FileCallHooks::Hooks() = {}; }
    FileCallHooks* operator->() { return &FileCallHooks::Hooks(); }
};
