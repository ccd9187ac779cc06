#include "runtime/notify/thread_queued_notify.h"

#include <pthread.h>
#include <utility>

LThreadQueuedNotify::LThreadQueuedNotify() : pImpl(LThreadQueuedNotifyImpl::alloc()->init(this)) {}

LThreadQueuedNotify::~LThreadQueuedNotify() {
    ThreadQueuedNotifyDestroy();
}

void LThreadQueuedNotify::ThreadQueuedNotifyDestroy() {
    LThreadQueuedNotifyImpl* pGone;
    {
        LScopedLock oLock(mtxImpl);
        pGone = std::exchange(pImpl, nullptr);
    }
    if (!pGone)
        return;
    pGone->destroyNotify();
    pGone->setInterface(nullptr);
    pGone->release();
}

LThreadQueuedNotifyImpl* LThreadQueuedNotify::RetainImpl() {
    LScopedLock oLock(mtxImpl);
    if (pImpl)
        pImpl->retain();
    return pImpl;
}

void LThreadQueuedNotify::PostQueueNotify() {
    LThreadQueuedNotifyImpl* const pReceiver = RetainImpl();
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
