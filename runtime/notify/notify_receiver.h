// The main-thread end of a notification: what the two kinds have in common.
#pragma once

#include "base/mutex.h"
#include "runtime/notify/notify_message_dispatcher.h"

#include <Foundation/NSObject.h>

#include <utility>

// Counted, and owned by its interface. Outlives it while notifications for it are on their way, and then calls nothing.
// Any thread, except as said.
template <class Interface>
class LNotifyReceiver : public NSObject {
public:
    // Gives up its dispatcher: what was posted and has not arrived does not, and what is posted from now on is dropped.
    void destroyNotify() {
        LNotifyMessageDispatcher* const pGone = TakeDispatcher();
        if (!pGone)
            return;
        pGone->drainMessages();
        pGone->setReceiver(nullptr);
        pGone->release();
    }

    Interface* interface() {
        LScopedLock oLock(mtxInterface);
        return pInterface;
    }

    // Waits while the interface is being called on the main thread, so that after a setInterface(null) it is called no
    // more and may go. Does not wait within such a call.
    void setInterface(Interface* pNewInterface) {
        LScopedLock oLock(mtxInterface);
        pInterface = pNewInterface;
    }

protected:
    LNotifyReceiver() { mtxInterface.Create(); }
    ~LNotifyReceiver() override { mtxInterface.Destroy(); }

    void InitReceiver(Interface* pOwner) {
        setInterface(pOwner);
        LScopedLock oLock(mtxDispatcher);
        pDispatcher = LNotifyMessageDispatcher::alloc()->init();
        pDispatcher->setReceiver(this);
    }

    void dealloc() override {
        destroyNotify();
        NSObject::dealloc();
    }

    void Post(NSObject* pData, NSSelector pToSelector) {
        if (LNotifyMessageDispatcher* const pOpen = RetainDispatcher()) {
            pOpen->dispatchData(pData, pToSelector);
            pOpen->release();
        }
    }

    // Calls oCall(interface) unless there is none any more. The main thread.
    template <class Call>
    void CallInterface(Call const& oCall) {
        LScopedLock oLock(mtxInterface);
        if (pInterface)
            oCall(*pInterface);
    }

private:
    LNotifyMessageDispatcher* TakeDispatcher() {
        LScopedLock oLock(mtxDispatcher);
        return std::exchange(pDispatcher, nullptr);
    }
    LNotifyMessageDispatcher* RetainDispatcher() {
        LScopedLock oLock(mtxDispatcher);
        if (pDispatcher)
            pDispatcher->retain();
        return pDispatcher;
    }

    LRecursiveMutex mtxInterface; // held while the interface is called; recursive, since it may destroy itself there
    Interface* pInterface GUARDED_BY(mtxInterface) = nullptr;                  // not owned
    LMutex mtxDispatcher;                                                      // a leaf
    LNotifyMessageDispatcher* pDispatcher GUARDED_BY(mtxDispatcher) = nullptr; // retained
};

// The interface's hold on its receiver, from the interface's construction until its Destroy. Any thread.
template <class Receiver>
class LNotifyReceiverOwner {
public:
    explicit LNotifyReceiverOwner(Receiver* pCounted) noexcept : pReceiver(pCounted) {}
    LNotifyReceiverOwner(LNotifyReceiverOwner const&) = delete;
    LNotifyReceiverOwner& operator=(LNotifyReceiverOwner const&) = delete;

    // One more reference, the caller's; null once destroyed.
    Receiver* Retain() {
        LScopedLock oLock(mtxReceiver);
        if (pReceiver)
            pReceiver->retain();
        return pReceiver;
    }

    // Afterwards the interface is called no more (see setInterface). Twice is fine.
    void Destroy() {
        Receiver* const pGone = Take();
        if (!pGone)
            return;
        pGone->destroyNotify();
        pGone->setInterface(nullptr);
        pGone->release();
    }

private:
    Receiver* Take() {
        LScopedLock oLock(mtxReceiver);
        return std::exchange(pReceiver, nullptr);
    }

    LMutex mtxReceiver;                          // a leaf
    Receiver* pReceiver GUARDED_BY(mtxReceiver); // retained
};
