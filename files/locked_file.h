// A file opened and locked, and bytes moved to and from it whole: what loading and saving have in common. Any thread.
#pragma once

#include "base/file_descriptor.h"

#include <cstddef>

// Opens the file, close-on-exec, and takes flock's lock `nLock` (LOCK_SH, LOCK_EX, or 0 for none) within `nTimeout` ms.
// Not open when either fails. Never waits for another end of a pipe.
LFileDescriptor LOpenLocked(char const* szPath, int nFlags, int nLock, unsigned int nTimeout) noexcept;

// The size of a regular file in bytes, -1 for anything else.
long long LSizeOfFile(int hFile) noexcept;

// Reads until `nSize` bytes are there or the file ends, in as many pieces as it takes. The count, -1 on an error.
std::ptrdiff_t LReadWhole(int hFile, void* pTo, std::size_t nSize) noexcept;

// Writes all the bytes, in as many pieces as it takes. False on an error.
bool LWriteWhole(int hFile, void const* pFrom, std::size_t nSize) noexcept;
