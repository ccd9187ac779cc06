// A bare call of the main thread from any thread.
#pragma once

#include "runtime/notify/notify_receiver.h"

class LThreadQueuedNotifyImpl;

// Each PostQueueNotify is one call of EvQueuedNotify on the main thread, which must run its run loop. Who derives from
// it calls ThreadQueuedNotifyDestroy first thing in its own destructor.
class LThreadQueuedNotify {
public:
    LThreadQueuedNotify();
    LThreadQueuedNotify(LThreadQueuedNotify const&) = delete;
    LThreadQueuedNotify& operator=(LThreadQueuedNotify const&) = delete;
    virtual ~LThreadQueuedNotify();

    // The main thread. The object may be destroyed here.
    virtual void EvQueuedNotify() = 0;

    // On the main thread: calls EvQueuedNotify before it returns. On any other: returns at once.
    void PostQueueNotify();

    // As LQueuedNotifyDataHandler::QueuedNotifyDataHandlerDestroy.
    void ThreadQueuedNotifyDestroy();

private:
    LNotifyReceiverOwner<LThreadQueuedNotifyImpl> oImpl;
};

// The main-thread end of one.
class LThreadQueuedNotifyImpl : public LNotifyReceiver<LThreadQueuedNotify> {
public:
    static LThreadQueuedNotifyImpl* alloc() { return new LThreadQueuedNotifyImpl; }
    LThreadQueuedNotifyImpl* init(LThreadQueuedNotify* pOwner);

    void postNotify();                              // any thread
    void invokeEvNotify(NSObject* pNone = nullptr); // the main thread
};
