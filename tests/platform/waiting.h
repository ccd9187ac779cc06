// What the platform's tests wait with: a condition and a deadline, never a nap.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

// A list that handlers on other threads add to and a test waits on. Any thread.
template <class T>
class Log {
public:
    void Add(T oItem) {
        std::lock_guard oLock(mtx);
        lItems.push_back(std::move(oItem));
        cvAdded.notify_all();
    }

    // What is there once `nCount` items are, or after ten seconds.
    std::vector<T> WaitFor(size_t nCount) {
        std::unique_lock oLock(mtx);
        cvAdded.wait_for(oLock, std::chrono::seconds(10), [&] { return lItems.size() >= nCount; });
        return lItems;
    }

    // Once the item is among them, or after ten seconds.
    void WaitForWord(T const& oItem) {
        std::unique_lock oLock(mtx);
        cvAdded.wait_for(oLock, std::chrono::seconds(10),
                         [&] { return std::find(lItems.begin(), lItems.end(), oItem) != lItems.end(); });
    }

    std::vector<T> Now() { return WaitFor(0); }

private:
    std::mutex mtx; // guards what follows
    std::condition_variable cvAdded;
    std::vector<T> lItems;
};

using WordLog = Log<std::string>;
using Words = std::vector<std::string>;
