// A lock between processes in the form of a file beside the one that it protects.
#pragma once

#include "base/file_descriptor.h"

#include <climits>
#include <sys/types.h>

// Holds at most one lock file. The lock is the kernel's, on the open file: it ends with its holder's process, however
// that ends. One thread at a time; two objects of one process exclude each other like two processes. A forked child's
// copy leaves the file to its parent, but keeps the lock alive until it is released or the child ends.
class LLockFile {
public:
    LLockFile() noexcept = default;
    ~LLockFile() { Release(); }
    LLockFile(LLockFile const&) = delete;
    LLockFile& operator=(LLockFile const&) = delete;

    // Releases what this object holds, then takes the lock file of `szPath`: that path with its extension (from the
    // last "." of its last part) replaced by ".lck", or with ".lck" appended. Does not wait.
    // False only when another holder has it. A lock file that can't be made (no such folder, no permission, a path over
    // PATH_MAX) gives true without a lock: work is not to stop for that.
    bool Lock(char const* szPath) noexcept;

    // Deletes the lock file and gives the lock back; nothing without a lock.
    void Release() noexcept;

    bool IsLocked() const noexcept { return fd.IsOpen(); }

private:
    bool IsStillMine() const noexcept;

    LFileDescriptor fd;        // open, and locked, while a lock is held
    char szLockPath[PATH_MAX]; // of the lock file, while fd is open
    pid_t nHolder = 0;         // the process that locked it
};
