#include "runtime/notify/notify_message_dispatcher.h"

LNotifyMessageDispatcher* LNotifyMessageDispatcher::init() {
    dispatchGroup = dispatch_group_create();
    return this;
}

void LNotifyMessageDispatcher::dealloc() {
    if (dispatchGroup)
        dispatch_release(dispatchGroup);
    NSObject::dealloc();
}

void LNotifyMessageDispatcher::dispatchData(NSObject* pData, NSSelector pToSelector) {
    if (bDrainingMessages)
        return;
    retain();
    if (pData)
        pData->retain();
    dispatch_group_async(dispatchGroup, dispatch_get_main_queue(), [this, pData, pToSelector] {
        Deliver(pData, pToSelector);
        if (pData)
            pData->release();
        release();
    });
}

void LNotifyMessageDispatcher::Deliver(NSObject* pData, NSSelector pToSelector) {
    NSObject* const pReceiver = RetainReceiver();
    if (!pReceiver)
        return;
    pReceiver->performSelectorOnMainThread(pToSelector, pData, bDrainingMessages);
    pReceiver->release();
}

void LNotifyMessageDispatcher::drainMessages() {
    bDrainingMessages = true;
    if (!dispatchGroup)
        return;
    retain();
    dispatch_group_notify(dispatchGroup, dispatch_get_main_queue(), [this] {
        bDrainingMessages = false;
        release();
    });
}

void LNotifyMessageDispatcher::setReceiver(NSObject* pNewReceiver) {
    LScopedLock oLock(mtxReceiver);
    _receiver = pNewReceiver;
}

NSObject* LNotifyMessageDispatcher::receiver() const {
    LScopedLock oLock(mtxReceiver);
    return _receiver;
}

// Under the mutex: a receiver that is still set is still there, and may not be a moment later.
NSObject* LNotifyMessageDispatcher::RetainReceiver() const {
    LScopedLock oLock(mtxReceiver);
    return _receiver ? _receiver->retain() : nullptr;
}
