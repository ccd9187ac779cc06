// Notifications with a code and data, posted on any thread and handled on the main one.
//
// The main thread must run its run loop; otherwise they pile up. They are handled one at a time, those of one posting
// thread in the order of posting; never within the post, not even on the main thread.
#pragma once

#include "runtime/notify/notify_receiver.h"

class LQueuedNotifyDataHandlerImpl;

// The receiving side. Who derives from it calls QueuedNotifyDataHandlerDestroy first thing in its own destructor: at
// the end of the one below it could no longer be called.
class LQueuedNotifyDataHandler {
public:
    LQueuedNotifyDataHandler();
    LQueuedNotifyDataHandler(LQueuedNotifyDataHandler const&) = delete;
    LQueuedNotifyDataHandler& operator=(LQueuedNotifyDataHandler const&) = delete;

    // The main thread. Of a notification with a buffer: the bytes, good during the call, and their number; of one
    // without: null and the number that came with the code. The handler may be destroyed here.
    virtual void EvQueuedNotifyData(unsigned int nCode, void const* pData, unsigned long nLength) = 0;

    // From here on the handler is not called any more, not even for what was posted before, and posts to it do nothing.
    // On another thread than the main one it waits for a call that is under way; so that call must not wait for it. Any
    // thread; twice is fine.
    void QueuedNotifyDataHandlerDestroy();

protected:
    ~LQueuedNotifyDataHandler() { QueuedNotifyDataHandlerDestroy(); } // not virtual

private:
    friend class LQueuedNotifyDataSender;
    LNotifyReceiverOwner<LQueuedNotifyDataHandlerImpl> oImpl;
};

// The sending side. Any thread; the handler lives as long as somebody posts (destroyed is fine, deleted is not).
class LQueuedNotifyDataSender {
public:
    explicit LQueuedNotifyDataSender(LQueuedNotifyDataHandler* pReceiving = nullptr) noexcept : pHandler(pReceiving) {}

    void NotifyData() { PostNotify(0, nullptr, 0); }
    void NotifyData(unsigned int nCode) { PostNotify(nCode, nullptr, 0); }
    void NotifyData(unsigned int nCode, long nValue) { PostNotify(nCode, nullptr, static_cast<unsigned long>(nValue)); }

    // Copies the bytes: the buffer is the caller's again on return.
    void NotifyData(unsigned int nCode, void const* pData, unsigned long nLength) { PostNotify(nCode, pData, nLength); }

    // The step under all four. Without a handler, to a destroyed one, or without memory nothing is posted.
    void PostNotify(unsigned int nCode, void const* pData, unsigned long nLength);

private:
    LQueuedNotifyDataHandler* pHandler; // not owned
};

// The main-thread end of a handler.
class LQueuedNotifyDataHandlerImpl : public LNotifyReceiver<LQueuedNotifyDataHandler> {
public:
    static LQueuedNotifyDataHandlerImpl* alloc() { return new LQueuedNotifyDataHandlerImpl; }
    LQueuedNotifyDataHandlerImpl* init(LQueuedNotifyDataHandler* pOwner);

    void postNotifyData(NSObject* pData); // an LNotifyDataObject; any thread
    void invokeEvNotify(NSObject* pData); // the same one; the main thread
};
