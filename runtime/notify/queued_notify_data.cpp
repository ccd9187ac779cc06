#include "runtime/notify/queued_notify_data.h"

#include "runtime/notify/notify_data_object.h"

#include <Foundation/NSAutoreleasePool.h>

LQueuedNotifyDataHandler::LQueuedNotifyDataHandler() : oImpl(LQueuedNotifyDataHandlerImpl::alloc()->init(this)) {}

void LQueuedNotifyDataHandler::QueuedNotifyDataHandlerDestroy() {
    oImpl.Destroy();
}

void LQueuedNotifyDataSender::PostNotify(unsigned int nCode, void const* pData, unsigned long nLength) {
    LQueuedNotifyDataHandlerImpl* const pReceiver = pHandler ? pHandler->oImpl.Retain() : nullptr;
    if (!pReceiver)
        return;
    NSAutoreleasePool const oPool; // a worker has none of its own, and would keep all that it ever posted
    if (LNotifyDataObject* const pPosted = LNotifyDataObject::alloc()->init(nCode, pData, nLength)) {
        pPosted->autorelease();
        pReceiver->postNotifyData(pPosted);
    }
    pReceiver->release();
}

LQueuedNotifyDataHandlerImpl* LQueuedNotifyDataHandlerImpl::init(LQueuedNotifyDataHandler* pOwner) {
    InitReceiver(pOwner);
    return this;
}

void LQueuedNotifyDataHandlerImpl::postNotifyData(NSObject* pData) {
    Post(pData, static_cast<NSSelector>(&LQueuedNotifyDataHandlerImpl::invokeEvNotify));
}

void LQueuedNotifyDataHandlerImpl::invokeEvNotify(NSObject* pData) {
    auto const& oPosted = static_cast<LNotifyDataObject const&>(*pData);
    CallInterface([&oPosted](LQueuedNotifyDataHandler& oHandler) {
        oHandler.EvQueuedNotifyData(oPosted.code(), oPosted.bytes(), oPosted.length());
    });
}
