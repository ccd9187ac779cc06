// What moves notifications to the main thread.
#pragma once

#include "base/mutex.h"

#include <Foundation/NSObject.h>
#include <dispatch/dispatch.h>

#include <atomic>

// Brings objects to its receiver, on the main thread, in the order of the calls: through the main queue, then through
// the main run loop. Counted. Open from init until drainMessages, which is for good: its owner releases it next. Any
// thread.
class LNotifyMessageDispatcher : public NSObject {
public:
    static LNotifyMessageDispatcher* alloc() { return new LNotifyMessageDispatcher; }
    LNotifyMessageDispatcher* init();

    // Calls the receiver's method with the object (may be null; retained meanwhile). Whether there is a receiver is
    // asked on the main thread. Dropped once the dispatcher drains.
    void dispatchData(NSObject* pData, NSSelector pToSelector);

    // Drops what comes from now on, until everything that came before has been through the main queue.
    void drainMessages();

    // Not retained: whoever gives itself sets null before it goes. What is on its way then reaches nobody.
    void setReceiver(NSObject* pNewReceiver);
    NSObject* receiver() const;

protected:
    void dealloc() override;

private:
    void Deliver(NSObject* pData, NSSelector pToSelector);
    NSObject* RetainReceiver() const;

    dispatch_group_t dispatchGroup = nullptr;
    std::atomic<bool> bDrainingMessages{false};
    mutable LMutex mtxReceiver;
    NSObject* _receiver GUARDED_BY(mtxReceiver) = nullptr;
};
