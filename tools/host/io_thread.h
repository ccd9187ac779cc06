// Drives a device's IO: one cycle of output after another, when the device's clock says so.
#pragma once

#include "base/mutex.h"
#include "tools/audio/frames.h"
#include "tools/host/device.h"

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

// Where a cycle's audio comes from. The IO thread calls it: it never waits, locks or allocates.
class CycleSource {
public:
    enum class Cycle {
        Filled, // the whole buffer holds the cycle's audio
        Empty,  // nothing is ready: the cycle passes unwritten, and what would have been in it comes later
        End,    // there is no more
    };
    virtual ~CycleSource() = default;
    virtual Cycle FillCycle(float* pFrames, UInt32 nFrames) noexcept = 0;
    virtual void CycleWritten(float const* pFrames, UInt32 nFrames) noexcept = 0;
};

// The device's IO thread. Start, Stop and Reconfigure may be called by any thread.
//
// A cycle that comes late, because the machine was busy, is done at once and the next ones catch up: a server that
// feeds a recorder loses no audio for having been late.
class IoThread {
public:
    struct Figures {
        uint64_t nCycles = 0;     // written to the device
        uint64_t nHeldCycles = 0; // passed unwritten because no audio was ready
        uint64_t nLateCycles = 0; // done more than a cycle's length after their time
    };

    // nCycleFrames: the IO buffer frame size. oEnded is called once, by the IO thread, when the source has ended.
    IoThread(DriverView oDriven, AudioObjectID nDeviceObject, UInt32 nClient, UInt32 nCycleFrames, CycleSource& oPlayed,
             std::function<void()> oEnded);
    ~IoThread(); // stops
    IoThread(IoThread const&) = delete;
    IoThread& operator=(IoThread const&) = delete;

    // Throws Failure(Service) when the device refuses to start or has no output stream to write to.
    void Start() EXCLUDES(mtx);
    void Stop() noexcept EXCLUDES(mtx);
    // Stops IO if it runs, calls oChange, and starts it again if it ran.
    void Reconfigure(std::function<void()> const& oChange) EXCLUDES(mtx);

    Figures Now() const noexcept;
    // Whether the IO thread got the real-time priority that it asked for. After Start.
    bool IsRealTime() const noexcept { return nSchedule.load() == kRealTime; }

private:
    enum : int { kNotStarted, kOrdinary, kRealTime };

    void StartLocked() REQUIRES(mtx);
    void StopLocked() noexcept REQUIRES(mtx);
    void CheckOutput();
    void Run() noexcept;
    // False at the end of the source.
    bool DoCycle(uint64_t nCycle, double nSampleTime, uint64_t nDue, struct IoClock& oClock) noexcept;

    DriverView oDriver;
    AudioObjectID nDevice;
    AudioObjectID nStream = 0;
    UInt32 nClientId;
    UInt32 nFrames;
    CycleSource& oSource;
    std::function<void()> oAtEnd;
    std::vector<float> arBuffer;

    LMutex mtx;
    bool bRunning GUARDED_BY(mtx) = false;
    std::thread oThread GUARDED_BY(mtx);
    std::atomic<bool> bStop{false};
    std::atomic<int> nSchedule{kNotStarted};
    std::atomic<uint64_t> nCycles{0};
    std::atomic<uint64_t> nHeldCycles{0};
    std::atomic<uint64_t> nLateCycles{0};
};
