#include "tools/roles/audio_intake.h"

#include <algorithm>
#include <cstring>

void AudioIntake::Add(long nConnection, void const* pBytes, size_t nByteCount) {
    LScopedLock oLock(mtx);
    if (bClosed)
        return;
    if (nByteCount == 0 || nByteCount % kBytesPerFrame != 0) {
        ++oFigures.nRefusedBlocks;
        return;
    }
    if (nCurrent == 0)
        nCurrent = nConnection;
    if (nConnection == nCurrent)
        Append(pBytes, nByteCount);
    else
        Wait(nConnection, pBytes, nByteCount);
}

void AudioIntake::Wait(long nConnection, void const* pBytes, size_t nByteCount) {
    Waiting* pWaiting = FindWaiting(nConnection);
    if (nWaitingBytes + nByteCount > kMostWaiting || (!pWaiting && lWaiting.size() == kMostWaiters)) {
        ++oFigures.nRefusedBlocks;
        return;
    }
    if (!pWaiting)
        pWaiting = &lWaiting.emplace_back(Waiting{nConnection, false, {}});
    std::vector<float>& arWaiting = pWaiting->arSamples;
    size_t const nOld = arWaiting.size();
    arWaiting.resize(nOld + nByteCount / sizeof(float));
    std::memcpy(arWaiting.data() + nOld, pBytes, nByteCount);
    nWaitingBytes += nByteCount;
}

void AudioIntake::Append(void const* pBytes, size_t nByteCount) {
    size_t const nFrames = nByteCount / kBytesPerFrame;
    size_t const nOld = arPending.size();
    nArrivedFrames += nFrames;
    oChanged.NotifyAll();
    if (nOld * sizeof(float) + nByteCount > kMostPending) {
        ++oFigures.nDroppedBlocks;
        return;
    }
    arPending.resize(nOld + nByteCount / sizeof(float));
    std::memcpy(arPending.data() + nOld, pBytes, nByteCount); // the message's bytes need not be aligned
    ++oFigures.nBlocks;
    oFigures.nFrames += nFrames;
}

AudioIntake::Waiting* AudioIntake::FindWaiting(long nConnection) {
    auto const it = std::find_if(lWaiting.begin(), lWaiting.end(), [=](Waiting const& oWaiting) {
        return oWaiting.nConnection == nConnection && !oWaiting.bEnded;
    });
    return it == lWaiting.end() ? nullptr : &*it;
}

void AudioIntake::ConnectionEnded(long nConnection) {
    LScopedLock oLock(mtx);
    if (nConnection != nCurrent) {
        if (Waiting* const pWaiting = FindWaiting(nConnection))
            pWaiting->bEnded = true; // what it sent keeps its turn
        return;
    }
    nCurrent = 0;
    while (nCurrent == 0 && !lWaiting.empty()) {
        Waiting const oNext = std::move(lWaiting.front());
        lWaiting.pop_front();
        nWaitingBytes -= oNext.arSamples.size() * sizeof(float);
        if (!oNext.arSamples.empty())
            Append(oNext.arSamples.data(), oNext.arSamples.size() * sizeof(float));
        if (!oNext.bEnded)
            nCurrent = oNext.nConnection;
    }
}

bool AudioIntake::Take(std::vector<float>& arFrames) {
    arFrames.clear();
    LScopedLock oLock(mtx);
    oChanged.Wait(mtx, [this]() NO_THREAD_SAFETY_ANALYSIS { return bClosed || !arPending.empty(); });
    std::swap(arFrames, arPending);
    return !arFrames.empty();
}

void AudioIntake::Close() {
    LScopedLock oLock(mtx);
    bClosed = true;
    oChanged.NotifyAll();
}

bool AudioIntake::WaitForFrames(uint64_t nFrames, std::chrono::milliseconds nPatience) {
    LScopedLock oLock(mtx);
    while (nArrivedFrames < nFrames) {
        uint64_t const nSeen = nArrivedFrames;
        auto const oDeadline = std::chrono::steady_clock::now() + nPatience;
        if (!oChanged.WaitUntil(mtx, oDeadline,
                                [this, nSeen]() NO_THREAD_SAFETY_ANALYSIS { return nArrivedFrames != nSeen; }))
            return false;
    }
    return true;
}

AudioIntake::Figures AudioIntake::Now() {
    LScopedLock oLock(mtx);
    return oFigures;
}
