#include "runtime/notify/thread_queued_notify.h"

#include <pthread.h>

LThreadQueuedNotify::LThreadQueuedNotify() : oImpl(LThreadQueuedNotifyImpl::alloc()->init(this)) {}

LThreadQueuedNotify::~LThreadQueuedNotify() {
    ThreadQueuedNotifyDestroy();
}

void LThreadQueuedNotify::ThreadQueuedNotifyDestroy() {
    oImpl.Destroy();
}

void LThreadQueuedNotify::PostQueueNotify() {
    LThreadQueuedNotifyImpl* const pReceiver = oImpl.Retain();
    if (!pReceiver)
        return;
    if (pthread_main_np())
        pReceiver->invokeEvNotify();
    else
        pReceiver->postNotify();
    pReceiver->release();
}

LThreadQueuedNotifyImpl* LThreadQueuedNotifyImpl::init(LThreadQueuedNotify* pOwner) {
    InitReceiver(pOwner);
    return this;
}

void LThreadQueuedNotifyImpl::postNotify() {
    Post(nullptr, static_cast<NSSelector>(&LThreadQueuedNotifyImpl::invokeEvNotify));
}

void LThreadQueuedNotifyImpl::invokeEvNotify(NSObject*) {
    CallInterface([](LThreadQueuedNotify& oNotify) { oNotify.EvQueuedNotify(); });
}
