// Another process that holds a lock on a file until it is killed.
#pragma once

#include <sys/file.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <string>

class LockHolder {
public:
    // Returns when the lock is held.
    LockHolder(std::string const& szPath, int nLock) {
        int hReady[2];
        if (pipe(hReady) != 0)
            abort();
        nProcess = fork();
        if (nProcess == 0) {
            int const hFile = ::open(szPath.c_str(), O_RDWR);
            flock(hFile, nLock);
            close(hReady[1]);
            for (;;)
                pause();
        }
        close(hReady[1]);
        char c;
        while (::read(hReady[0], &c, 1) != 0) {
        }
        close(hReady[0]);
    }
    ~LockHolder() { Kill(); }

    void Kill() {
        if (nProcess <= 0)
            return;
        kill(nProcess, SIGKILL);
        waitpid(nProcess, nullptr, 0);
        nProcess = -1;
    }

private:
    pid_t nProcess = -1;
};
