// A host that remembers what the driver tells it and keeps its storage in memory. Any thread.
#pragma once

#include <CoreAudio/AudioServerPlugIn.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

class FakeHost : AudioServerPlugInHostInterface {
public:
    // "2 bxon bdv#": the object and the selectors reported; "change 48000": a request of a configuration change.
    using Events = std::vector<std::string>;

    FakeHost();
    ~FakeHost(); // releases what is stored
    FakeHost(FakeHost const&) = delete;

    AudioServerPlugInHostRef Ref() const { return this; }

    // What the driver told since the last time, sorted, once everything that it queued to run at once has run.
    Events TakeEvents();
    // The same, once so many were told; after ten seconds what there is.
    Events WaitForEvents(size_t nCount);

    void Store(std::string const& szKey, CFTypeRef pValue); // takes over the reference; null removes
    CFTypeRef Stored(std::string const& szKey);             // null when nothing is; not retained
    int WriteCount();                                       // by the driver

private:
    static FakeHost& Of(AudioServerPlugInHostRef pHost);
    void Add(std::string szEvent);

    std::mutex mtx;
    std::condition_variable oAdded;
    Events lEvents;
    std::map<std::string, CFTypeRef> mapStorage;
    int nWrites = 0;
};

// The four characters of a code.
std::string CodeText(UInt32 nCode);
