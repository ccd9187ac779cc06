// A sink that keeps what it was told, and lets a test wait for it.
#pragma once

#include "xpc/event_notify.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <iterator>
#include <mutex>
#include <string>
#include <vector>

struct SinkEvent {
    enum Kind { Error, Sent, Message, Reply, MessageList, ReplyList } nKind;
    long nConnection = 0;
    long nMessage = 0;
    LXPCErrorType nError = LXPCError_Other;
    std::vector<LXPCData> lItems = {}; // what they point to is gone after the call

    long Value() const { return lItems.at(0).nValue; }
    std::string Names() const {
        std::string szNames;
        for (LXPCData const& oItem : lItems)
            szNames += std::string(szNames.empty() ? "" : " ") + oItem.szName;
        return szNames;
    }
};

class RecordingSink : public LXPCClientEventNotify {
public:
    // Called inside each event call from now on, before the event counts as having come.
    void SetInside(std::function<void(SinkEvent const&)> oCalled) {
        std::lock_guard const oLock(mtx);
        oInside = std::move(oCalled);
    }

    bool WaitFor(SinkEvent::Kind nKind, size_t nCount) {
        return WaitUntil([&] { return CountHeld(nKind) >= nCount; });
    }
    // A message whose first item has this value.
    bool WaitForValue(long nValue) {
        return WaitUntil([&] {
            return std::any_of(lEvents.begin(), lEvents.end(), [&](SinkEvent const& oEvent) {
                return oEvent.nKind == SinkEvent::Message && oEvent.Value() == nValue;
            });
        });
    }
    size_t Count(SinkEvent::Kind nKind) {
        std::lock_guard const oLock(mtx);
        return CountHeld(nKind);
    }
    std::vector<SinkEvent> All(SinkEvent::Kind nKind) {
        std::lock_guard const oLock(mtx);
        std::vector<SinkEvent> lOfKind;
        std::copy_if(lEvents.begin(), lEvents.end(), std::back_inserter(lOfKind),
                     [=](SinkEvent const& oEvent) { return oEvent.nKind == nKind; });
        return lOfKind;
    }

    void EvConnectionError(long nConnection, LXPCErrorType nType) override {
        Add({SinkEvent::Error, nConnection, 0, nType});
    }
    void EvMessageSent(long nConnection) override { Add({SinkEvent::Sent, nConnection}); }
    void EvMessageReceived(long nConnection, long nMessage, LList<LXPCDataListable> const& lItems) override {
        Add({SinkEvent::MessageList, nConnection, nMessage, LXPCError_Other, {lItems.begin(), lItems.end()}});
    }
    void EvReplyReceived(long nConnection, LList<LXPCDataListable> const& lItems) override {
        Add({SinkEvent::ReplyList, nConnection, 0, LXPCError_Other, {lItems.begin(), lItems.end()}});
    }
    void EvMessageReceived(long nConnection, long nMessage, LXPCData const* arItems, unsigned long nCount) override {
        Add({SinkEvent::Message, nConnection, nMessage, LXPCError_Other, {arItems, arItems + nCount}});
    }
    void EvReplyReceived(long nConnection, LXPCData const* arItems, unsigned long nCount) override {
        Add({SinkEvent::Reply, nConnection, 0, LXPCError_Other, {arItems, arItems + nCount}});
    }

private:
    template <class Condition>
    bool WaitUntil(Condition const& oCondition) {
        std::unique_lock oLock(mtx);
        return oCame.wait_for(oLock, std::chrono::seconds(20), oCondition);
    }
    void Add(SinkEvent oEvent) {
        std::unique_lock oLock(mtx);
        auto const oCalled = oInside;
        oLock.unlock();
        oCalled(oEvent);
        oLock.lock();
        lEvents.push_back(std::move(oEvent));
        oCame.notify_all();
    }
    size_t CountHeld(SinkEvent::Kind nKind) const {
        return static_cast<size_t>(std::count_if(lEvents.begin(), lEvents.end(),
                                                 [=](SinkEvent const& oEvent) { return oEvent.nKind == nKind; }));
    }

    std::mutex mtx;
    std::condition_variable oCame;
    std::function<void(SinkEvent const&)> oInside = [](SinkEvent const&) {};
    std::vector<SinkEvent> lEvents;
};
