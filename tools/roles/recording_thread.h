// Writes what an intake receives to the recording, on a thread of its own.
#pragma once

#include "base/mutex.h"
#include "tools/audio/wav_writer.h"
#include "tools/process/failure.h"
#include "tools/roles/audio_intake.h"

#include <functional>
#include <optional>
#include <thread>

// Runs until the intake is closed and empty, or the file can't be written. One owner thread.
class RecordingThread {
public:
    // oFailed is called once, by the writing thread, when writing has failed; Failed() then says why.
    RecordingThread(AudioIntake& oFrom, WavWriter& oTo, std::function<void()> oFailed);
    ~RecordingThread(); // closes the intake and waits
    RecordingThread(RecordingThread const&) = delete;
    RecordingThread& operator=(RecordingThread const&) = delete;

    std::optional<Failure> Failed() EXCLUDES(mtx);
    // Closes the intake and waits until all of it is written. Throws the failure, if there was one.
    void Finish();

private:
    void Run();

    AudioIntake& oIntake;
    WavWriter& oWriter;
    std::function<void()> oOnFailure;
    LMutex mtx;
    std::optional<Failure> oFailure GUARDED_BY(mtx);
    std::thread oThread;
};
