// The audio server's side of the driver interface: storage, notifications and configuration changes.
#pragma once

#include "base/mutex.h"
#include "tools/host/storage.h"
#include "tools/process/condition.h"

#include <CoreAudio/AudioServerPlugIn.h>
#include <dispatch/dispatch.h>

#include <chrono>
#include <functional>
#include <map>

// What a driver's Initialize is given. A driver may call its host as long as its code is loaded, from work that it has
// queued for later: a host that a real driver was initialised with is never destroyed. Any thread.
class Host {
public:
    // Carries a configuration change out: stops IO, has the driver perform it, starts IO again. Called on the host's
    // own serial queue, one change at a time and never on the thread that asked for it.
    using ChangePerformer = std::function<void(AudioObjectID nDevice, UInt64 nAction, void* pInfo)>;

    Host(std::string const& szStateFolder, ChangePerformer oPerform); // throws as Storage does
    ~Host();
    Host(Host const&) = delete;
    Host& operator=(Host const&) = delete;

    AudioServerPlugInHostRef Ref() const noexcept { return &oTable; }
    std::string const& StoragePath() const noexcept { return oStorage.Path(); }

    // Waits for a change that is being performed; changes requested from then on are not carried out.
    void StopChanges();

    // Waits until bReady() is true, looking again after every change performed and every notification. False at the
    // deadline.
    bool WaitUntil(std::chrono::steady_clock::time_point oDeadline, std::function<bool()> const& bReady);

    // How many notifications have named that property of that object.
    uint64_t NotificationCount(AudioObjectID nObject, AudioObjectPropertySelector nSelector) EXCLUDES(mtx);

private:
    struct Table : AudioServerPlugInHostInterface {
        Host* pHost = nullptr;
    };
    static Host& From(AudioServerPlugInHostRef p) { return *static_cast<Table const*>(p)->pHost; }

    static OSStatus PropertiesChanged(AudioServerPlugInHostRef, AudioObjectID, UInt32,
                                      AudioObjectPropertyAddress const*);
    static OSStatus CopyFromStorage(AudioServerPlugInHostRef, CFStringRef, CFPropertyListRef*);
    static OSStatus WriteToStorage(AudioServerPlugInHostRef, CFStringRef, CFPropertyListRef);
    static OSStatus DeleteFromStorage(AudioServerPlugInHostRef, CFStringRef);
    static OSStatus RequestDeviceConfigurationChange(AudioServerPlugInHostRef, AudioObjectID, UInt64, void*);

    void SomethingHappened() EXCLUDES(mtx);

    Table oTable;
    Storage oStorage;
    ChangePerformer oPerformer; // empty once changes have stopped; the queue's
    dispatch_queue_t pQueue;
    LMutex mtx;
    Condition oHappened;
    uint64_t nHappened GUARDED_BY(mtx) = 0;
    std::map<std::pair<AudioObjectID, AudioObjectPropertySelector>, uint64_t> mapNotifications GUARDED_BY(mtx);
};
