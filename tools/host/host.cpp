#include "tools/host/host.h"

#include <algorithm>

Host::Host(std::string const& szStateFolder, ChangePerformer oPerform)
    : oStorage(szStateFolder), oPerformer(std::move(oPerform)),
      pQueue(dispatch_queue_create("lumora.configuration-changes", DISPATCH_QUEUE_SERIAL)) {
    oTable.PropertiesChanged = &Host::PropertiesChanged;
    oTable.CopyFromStorage = &Host::CopyFromStorage;
    oTable.WriteToStorage = &Host::WriteToStorage;
    oTable.DeleteFromStorage = &Host::DeleteFromStorage;
    oTable.RequestDeviceConfigurationChange = &Host::RequestDeviceConfigurationChange;
    oTable.pHost = this;
}

Host::~Host() {
    StopChanges();
    dispatch_release(pQueue);
}

void Host::StopChanges() {
    dispatch_sync(pQueue, [this] { oPerformer = nullptr; });
}

bool Host::WaitUntil(std::chrono::steady_clock::time_point oDeadline, std::function<bool()> const& bReady) {
    while (!bReady()) { // without the lock: it asks the driver, which may be calling the host
        if (std::chrono::steady_clock::now() >= oDeadline)
            return false;
        LScopedLock oLock(mtx);
        uint64_t const nSeen = nHappened;
        // What happened between the question and the lock is caught by the next question, a moment later.
        auto const oSoon = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
        oHappened.WaitUntil(mtx, std::min(oDeadline, oSoon), [this, nSeen]() NO_THREAD_SAFETY_ANALYSIS {
            return nHappened != nSeen; // called with the mutex held
        });
    }
    return true;
}

uint64_t Host::NotificationCount(AudioObjectID nObject, AudioObjectPropertySelector nSelector) {
    LScopedLock oLock(mtx);
    auto const it = mapNotifications.find({nObject, nSelector});
    return it == mapNotifications.end() ? 0 : it->second;
}

void Host::SomethingHappened() {
    LScopedLock oLock(mtx);
    ++nHappened;
    oHappened.NotifyAll();
}

OSStatus Host::PropertiesChanged(AudioServerPlugInHostRef pHost, AudioObjectID nObject, UInt32 nCount,
                                 AudioObjectPropertyAddress const* pAddresses) {
    Host& oHost = From(pHost);
    {
        LScopedLock oLock(oHost.mtx);
        for (UInt32 n = 0; n < nCount; ++n)
            ++oHost.mapNotifications[{nObject, pAddresses[n].mSelector}];
    }
    oHost.SomethingHappened();
    return kAudioHardwareNoError;
}

OSStatus Host::CopyFromStorage(AudioServerPlugInHostRef pHost, CFStringRef pKey, CFPropertyListRef* ppValue) {
    *ppValue = From(pHost).oStorage.Copy(pKey);
    return kAudioHardwareNoError;
}

OSStatus Host::WriteToStorage(AudioServerPlugInHostRef pHost, CFStringRef pKey, CFPropertyListRef pValue) {
    return From(pHost).oStorage.Write(pKey, pValue) ? OSStatus{kAudioHardwareNoError} : kAudioHardwareUnspecifiedError;
}

OSStatus Host::DeleteFromStorage(AudioServerPlugInHostRef pHost, CFStringRef pKey) {
    return From(pHost).oStorage.Delete(pKey) ? OSStatus{kAudioHardwareNoError} : kAudioHardwareUnspecifiedError;
}

OSStatus Host::RequestDeviceConfigurationChange(AudioServerPlugInHostRef pHost, AudioObjectID nDevice, UInt64 nAction,
                                                void* pInfo) {
    Host* const pThis = &From(pHost);
    dispatch_async(pThis->pQueue, [pThis, nDevice, nAction, pInfo] {
        if (pThis->oPerformer)
            pThis->oPerformer(nDevice, nAction, pInfo);
        pThis->SomethingHappened();
    });
    return kAudioHardwareNoError;
}
