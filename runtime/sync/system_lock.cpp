#include "runtime/sync/system_lock.h"

#include "runtime/sync/deadline.h"

#include <cerrno>
#include <ctime>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

namespace {

constexpr unsigned int kPause = 10;      // ms between two attempts
constexpr unsigned int kStopCheck = 300; // ms between two questions whether to stop
constexpr time_t kUnbornAge = 2;         // s that a maker has to give its semaphore a value

// 0 or errno.
int Operate(int nSemId, short nChange, short nFlags) noexcept {
    sembuf oOperation{0, nChange, static_cast<short>(nFlags | SEM_UNDO)};
    return semop(nSemId, &oOperation, 1) == 0 ? 0 : errno;
}

int MakeWithValue(key_t nKey) noexcept {
    int const nSemId = semget(nKey, 1, IPC_CREAT | IPC_EXCL | 0666);
    semun oValue;
    oValue.val = 1;
    if (nSemId >= 0 && semctl(nSemId, 0, SETVAL, oValue) != 0)
        return -1; // somebody removed it again
    return nSemId;
}

} // namespace

LSystemLockMutex::LSystemLockMutex(char const* szName) noexcept : nKey(KeyFromName(szName)), nSemId(FindOrMake()) {}

key_t LSystemLockMutex::KeyFromName(char const* szName) noexcept {
    unsigned int nHash = 11223;
    for (char const* p = szName; *p; ++p)
        nHash = nHash * 32 + static_cast<unsigned int>(static_cast<signed char>(*p));
    return static_cast<key_t>(nHash == 0 ? 1 : nHash); // 0 is no name: every semget of it makes another set
}

int LSystemLockMutex::FindOrMake() const noexcept {
    int nFound = MakeWithValue(nKey);
    if (nFound < 0 && (errno == EEXIST || errno == EINVAL || errno == EIDRM))
        nFound = semget(nKey, 0, 0);
    if (nFound < 0 && errno == ENOENT) // removed between the two
        nFound = MakeWithValue(nKey);
    return nFound;
}

bool LSystemLockMutex::Lock(unsigned int nTimeout) noexcept {
    return LockOrError(nTimeout) == 0;
}

int LSystemLockMutex::LockOrError(unsigned int nTimeout) noexcept {
    int nError;
    while ((nError = Operate(nSemId, -1, IPC_NOWAIT)) == EAGAIN) {
        LSleep(kPause);
        if (nTimeout <= kPause)
            break;
        if (nTimeout != kLNoTimeout)
            nTimeout -= kPause;
    }
    return nError;
}

bool LSystemLockMutex::LockForever() noexcept {
    int nError = HasSemaphore() ? EAGAIN : EINVAL;
    while (nError == EAGAIN || nError == EINTR)
        nError = Operate(nSemId, -1, 0);
    return nError == 0;
}

bool LSystemLockMutex::Lock(LProcessInterface& oProcess) {
    for (;;) {
        int const nError = LockOrError(kStopCheck);
        if (nError == 0)
            return true;
        if (oProcess.IsToStop())
            return false;
        if (nError != EAGAIN)
            LSleep(kPause); // it failed at once, and would again
        Renew();
    }
}

void LSystemLockMutex::Unlock() noexcept {
    // Of a held semaphore the value is 0: one call sees to that and gives it back.
    sembuf arHeldToFree[] = {{0, 0, IPC_NOWAIT}, {0, +1, IPC_NOWAIT | SEM_UNDO}};
    if (semop(nSemId, arHeldToFree, 2) == 0)
        return;
    bool const bFreedByUs = errno == EAGAIN && semctl(nSemId, 0, GETPID) == getpid();
    if (bFreedByUs || Operate(nSemId, +1, 0) != 0)
        RemoveSemaphore();
}

void LSystemLockMutex::RemoveSemaphore() noexcept {
    if (HasSemaphore())
        semctl(nSemId, 0, IPC_RMID);
}

// A set has no value, and was never operated on, for the moment between its making and its first value.
bool LSystemLockMutex::IsUnborn() const noexcept {
    semid_ds oStatus;
    semun oArgument;
    oArgument.buf = &oStatus;
    if (semctl(nSemId, 0, IPC_STAT, oArgument) != 0 || oStatus.sem_otime != 0)
        return false;
    time_t const nAge = time(nullptr) - oStatus.sem_ctime; // negative once the clock has been set back
    return (nAge < 0 || nAge >= kUnbornAge) && semctl(nSemId, 0, GETVAL) == 0;
}

void LSystemLockMutex::Renew() noexcept {
    if (IsUnborn())
        RemoveSemaphore(); // nobody can hold it; a maker who comes back finds it gone and makes another
    if (!HasSemaphore() || semctl(nSemId, 0, GETVAL) < 0)
        nSemId = FindOrMake();
}

LSystemLockMutexScope::LSystemLockMutexScope(LProcessInterface& oProcess, char const* szName)
    : LSystemLockMutex(szName) {
    if (!HasSemaphore())
        return;
    try {
        bLocked = Lock(oProcess);
        nHolder = getpid();
    } catch (...) {
        RemoveSemaphore();
        throw;
    }
}

LSystemLockMutexScope::~LSystemLockMutexScope() {
    if (bLocked && nHolder == getpid())
        Unlock();
}
