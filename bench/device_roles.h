// The other processes of the device benchmark: this program again, under another role.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <sys/types.h>

// Memory that the benchmark and its child both see, through a memory file that the child inherits.
struct SharedFigures {
    static constexpr uint64_t kArrivals = 1 << 20;

    std::atomic<bool> bReady{false};
    std::atomic<uint64_t> nArrived{0};
    uint64_t arArrival_ns[kArrivals]; // arrival instant by the message's sequence number

    // Makes the file and maps it; aborts the benchmark when that fails. The descriptor is inherited by children.
    static SharedFigures* Create(int& nDescriptor);
    static SharedFigures* Map(int nDescriptor);
};

// A child process running this program with "--role NAME ARGUMENT"; killed and reaped on destruction.
class RoleProcess {
public:
    RoleProcess(std::string const& szRole, int nFiguresDescriptor, int nSocket = -1);
    ~RoleProcess();
    RoleProcess(RoleProcess const&) = delete;
    RoleProcess& operator=(RoleProcess const&) = delete;
    pid_t Id() const { return nProcess; }

private:
    pid_t nProcess = -1;
};

// Serves the recorder helper's service and is its own recorder: answers each request for an endpoint with its own,
// notes when each AUDIO_DATA reached the message handler, and answers START_RECORDING messages. Never returns.
[[noreturn]] void RunRecorderRole(int nFiguresDescriptor);

// Reads packets from a socket and notes their arrival; with bEcho sends each back. Never returns.
[[noreturn]] void RunReaderRole(int nFiguresDescriptor, int nSocket, bool bEcho);
