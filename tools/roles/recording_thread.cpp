#include "tools/roles/recording_thread.h"

#include <exception>

RecordingThread::RecordingThread(AudioIntake& oFrom, WavWriter& oTo, std::function<void()> oFailed)
    : oIntake(oFrom), oWriter(oTo), oOnFailure(std::move(oFailed)), oThread([this] { Run(); }) {}

RecordingThread::~RecordingThread() {
    oIntake.Close();
    if (oThread.joinable())
        oThread.join();
}

void RecordingThread::Run() {
    std::vector<float> arFrames;
    bool bWriting = true;
    while (oIntake.Take(arFrames)) {
        if (!bWriting)
            continue; // what comes now is thrown away until somebody closes the intake
        try {
            oWriter.Write(arFrames.data(), arFrames.size() / kChannels);
        } catch (Failure const& oWhy) {
            bWriting = false;
            {
                LScopedLock oLock(mtx);
                oFailure = oWhy;
            }
            oOnFailure();
        }
    }
}

std::optional<Failure> RecordingThread::Failed() {
    LScopedLock oLock(mtx);
    return oFailure;
}

void RecordingThread::Finish() {
    oIntake.Close();
    if (oThread.joinable())
        oThread.join();
    if (auto const oWhy = Failed())
        throw *oWhy;
}
