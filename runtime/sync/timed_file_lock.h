// flock with a limit of time.
#pragma once

// Takes (or changes, or releases) the lock of an open file as flock does. `nOperation` includes LOCK_NB: the lock is
// tried for, with pauses that double from nTimeout / 32 + 1 ms on, and given up when the next pause would be as long as
// the timeout. kLNoTimeout waits in the kernel until the lock is there.
// 0: done. -1: given up, or any other failure. Any thread.
int flocktimed(int fd, int nOperation, unsigned int nTimeout) noexcept;
