// A shell command on a thread of its own, and its exit status handed back.
#pragma once

#include "runtime/sync/signal_object.h"

// What the command's thread and its starter share. The starter makes it with new, sets szCommand, sees that both
// signals are valid and starts a thread with ProcessRunThreadCallback and the record. It then waits for oDone, reads
// the results and signals oRelease; from then on the record is the thread's, which frees it.
struct ProcessRunData {
    ProcessRunData() noexcept;
    ~ProcessRunData();
    ProcessRunData(ProcessRunData const&) = delete;
    ProcessRunData& operator=(ProcessRunData const&) = delete;

    char* szCommand = nullptr; // made with new[], owned; null runs the empty command
    void* pFirst = nullptr;    // two places that the starter may use for its own
    void* pSecond = nullptr;
    LSignalObject oDone;    // signalled by the thread: the command has finished
    LSignalObject oRelease; // signalled by the starter: the result has been read
    int nResult;            // 1: not started; 0: started; 2: the command could not be run
    int nExitCode;          // 0 to 255 once the command has exited; -1 before, and when a signal ended it
};

// The entry of the command's thread. The command is run by the shell with an empty standard input. Null does nothing;
// returns null.
void* ProcessRunThreadCallback(void* pData);
