#include "tools/host/io_thread.h"

#include "tools/host/device_timeline.h"
#include "tools/process/failure.h"

#include <mach/mach_time.h>

#include <system_error>

#include <pthread.h>
#include <sched.h>

namespace {

constexpr int kPriority = 20; // above everything with an ordinary schedule, below the machine's own threads

double TicksPerSecond() {
    mach_timebase_info_data_t oBase = {1, 1};
    mach_timebase_info(&oBase);
    return 1e9 * oBase.denom / oBase.numer;
}

AudioTimeStamp StampOf(double nSampleTime, uint64_t nHostTime, double nRateScalar) {
    AudioTimeStamp oStamp = {};
    oStamp.mSampleTime = nSampleTime;
    oStamp.mHostTime = nHostTime;
    oStamp.mRateScalar = nRateScalar;
    oStamp.mFlags = kAudioTimeStampSampleHostTimeValid | kAudioTimeStampRateScalarValid;
    return oStamp;
}

} // namespace

// The device's clock as the IO thread follows it.
struct IoClock {
    AudioServerPlugInDriverRef pDriver;
    AudioObjectID nDevice;
    UInt32 nClientId;
    DeviceTimeline oLine;

    void Follow() noexcept {
        Float64 nSampleTime = 0;
        UInt64 nHostTime = 0, nSeed = 0;
        if ((*pDriver)->GetZeroTimeStamp(pDriver, nDevice, nClientId, &nSampleTime, &nHostTime, &nSeed) == 0)
            oLine.Report(nSampleTime, nHostTime, nSeed);
    }
};

IoThread::IoThread(DriverView oDriven, AudioObjectID nDeviceObject, UInt32 nClient, UInt32 nCycleFrames,
                   CycleSource& oPlayed, std::function<void()> oEnded)
    : oDriver(oDriven), nDevice(nDeviceObject), nClientId(nClient), nFrames(nCycleFrames), oSource(oPlayed),
      oAtEnd(std::move(oEnded)), arBuffer(nCycleFrames * kChannels) {}

IoThread::~IoThread() {
    Stop();
}

void IoThread::Start() {
    LScopedLock oLock(mtx);
    StartLocked();
}

void IoThread::Stop() noexcept {
    LScopedLock oLock(mtx);
    StopLocked();
}

void IoThread::Reconfigure(std::function<void()> const& oChange) {
    LScopedLock oLock(mtx);
    bool const bRan = bRunning;
    StopLocked();
    oChange();
    if (bRan)
        StartLocked();
}

// That there is an output stream of two float channels, and that the driver wants the mix in place.
void IoThread::CheckOutput() {
    auto const lStreams = oDriver.List(nDevice, kAudioDevicePropertyStreams, kAudioObjectPropertyScopeOutput);
    auto const oFormat = lStreams.empty() ? std::nullopt
                                          : oDriver.Get<AudioStreamBasicDescription>(
                                                lStreams.front(), GlobalAddress(kAudioStreamPropertyVirtualFormat));
    Boolean bWillDo = false, bInPlace = false;
    (*oDriver.Ref())
        ->WillDoIOOperation(oDriver.Ref(), nDevice, nClientId, kAudioServerPlugInIOOperationWriteMix, &bWillDo,
                            &bInPlace);
    if (!oFormat || oFormat->mBytesPerFrame != kBytesPerFrame || oFormat->mChannelsPerFrame != kChannels || !bWillDo ||
        !bInPlace)
        throw Failure(ExitCode::Service, "the device has no stereo float output to play to.");
    nStream = lStreams.front();
}

void IoThread::StartLocked() {
    if (bRunning)
        return;
    CheckOutput();
    OSStatus const nResult = (*oDriver.Ref())->StartIO(oDriver.Ref(), nDevice, nClientId);
    if (nResult != 0)
        throw Failure(ExitCode::Service,
                      "the device does not start: " + FourCharText(static_cast<UInt32>(nResult)) + ".");
    bStop.store(false);
    nSchedule.store(kNotStarted);
    try {
        oThread = std::thread([this] { Run(); });
    } catch (std::system_error const& oWhy) {
        (*oDriver.Ref())->StopIO(oDriver.Ref(), nDevice, nClientId);
        throw Failure(ExitCode::Service, std::string("the system gives no thread to do IO on: ") + oWhy.what() + ".");
    }
    bRunning = true;
    nSchedule.wait(kNotStarted);
}

void IoThread::StopLocked() noexcept {
    if (!bRunning)
        return;
    bStop.store(true);
    oThread.join();
    (*oDriver.Ref())->StopIO(oDriver.Ref(), nDevice, nClientId);
    bRunning = false;
}

IoThread::Figures IoThread::Now() const noexcept {
    return {nCycles.load(), nHeldCycles.load(), nLateCycles.load()};
}

void IoThread::Run() noexcept {
    sched_param oParameter = {};
    oParameter.sched_priority = kPriority;
    nSchedule.store(pthread_setschedparam(pthread_self(), SCHED_FIFO, &oParameter) == 0 ? kRealTime : kOrdinary);
    nSchedule.notify_all();

    auto const oRate = oDriver.Get<Float64>(nDevice, GlobalAddress(kAudioDevicePropertyNominalSampleRate));
    IoClock oClock{oDriver.Ref(), nDevice, nClientId, DeviceTimeline(TicksPerSecond() / oRate.value_or(44100.0))};
    oClock.Follow();
    for (uint64_t nCycle = 0; !bStop.load(); ++nCycle) {
        double const nSampleTime = static_cast<double>(nCycle) * nFrames;
        uint64_t const nDue = oClock.oLine.HostTimeOf(nSampleTime);
        mach_wait_until(nDue);
        oClock.Follow();
        if (!DoCycle(nCycle, nSampleTime, nDue, oClock)) {
            oAtEnd();
            return;
        }
    }
}

bool IoThread::DoCycle(uint64_t nCycle, double nSampleTime, uint64_t nDue, IoClock& oClock) noexcept {
    uint64_t const nNow = mach_absolute_time();
    if (static_cast<double>(nNow - nDue) > oClock.oLine.TicksPerFrame() * nFrames)
        nLateCycles.fetch_add(1, std::memory_order_relaxed);

    CycleSource::Cycle const nWhat = oSource.FillCycle(arBuffer.data(), nFrames);
    if (nWhat == CycleSource::Cycle::Empty)
        nHeldCycles.fetch_add(1, std::memory_order_relaxed);
    if (nWhat != CycleSource::Cycle::Filled)
        return nWhat != CycleSource::Cycle::End;

    double const nScalar = oClock.oLine.TicksPerFrame() / oClock.oLine.NominalTicksPerFrame();
    AudioServerPlugInIOCycleInfo oInfo = {};
    oInfo.mIOCycleCounter = nCycle;
    oInfo.mNominalIOBufferFrameSize = nFrames;
    oInfo.mCurrentTime = StampOf(oClock.oLine.SampleTimeAt(nNow), nNow, nScalar);
    oInfo.mOutputTime = StampOf(nSampleTime + nFrames, oClock.oLine.HostTimeOf(nSampleTime + nFrames), nScalar);
    oInfo.mMainHostTicksPerFrame = oInfo.mDeviceHostTicksPerFrame = oClock.oLine.TicksPerFrame();

    auto const pDriver = oDriver.Ref();
    constexpr UInt32 nOperation = kAudioServerPlugInIOOperationWriteMix;
    (*pDriver)->BeginIOOperation(pDriver, nDevice, nClientId, nOperation, nFrames, &oInfo);
    (*pDriver)->DoIOOperation(pDriver, nDevice, nStream, nClientId, nOperation, nFrames, &oInfo, arBuffer.data(),
                              nullptr);
    (*pDriver)->EndIOOperation(pDriver, nDevice, nClientId, nOperation, nFrames, &oInfo);
    oSource.CycleWritten(arBuffer.data(), nFrames);
    nCycles.fetch_add(1, std::memory_order_relaxed);
    return true;
}
