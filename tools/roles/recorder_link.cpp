#include "tools/roles/recorder_link.h"

#include "xpc/helperlink/helper_keys.h"

#include <cstring>

namespace {

constexpr auto kAnswerPatience = std::chrono::seconds(2);

bool Is(LXPCData const& oItem, char const* szKey) {
    return std::strcmp(oItem.szName, szKey) == 0;
}

} // namespace

RecorderLink::RecorderLink(AudioIntake& oReceiving, std::function<void(EventLine const&)> oReport)
    : oReporter(oReport), oPlugIns(oReceiving, oReport), oClient(this) {
    LVADFillHelperKeys();
    oClient.AddKeys(arVADHelperTxKeys, false);
    oClient.AddKeys(arVADHelperRxKeys, true);
}

RecorderLink::~RecorderLink() {
    oClient.DisconnectAll();
}

void RecorderLink::Send(LXPCData const& oItem) {
    oClient.SendMessage(kVADHelperService, kVADHelperInstance, &oItem, 1, true);
}

void RecorderLink::KeepRegistered() {
    {
        LScopedLock oLock(mtx);
        auto const oNow = std::chrono::steady_clock::now();
        if (nState == State::Registered || nState == State::Withdrawing ||
            (nState == State::Asked && oNow - oAskedAt < kAnswerPatience))
            return;
        nState = State::Asked;
        oAskedAt = oNow;
    }
    // A connection to a service that was not there does not come back to life: each try has a new one.
    oClient.Disconnect(kVADHelperService, kVADHelperInstance);
    oClient.Connect(kVADHelperService, kVADHelperInstance, true);
    Send(LXPCData("NEW_ENDPOINT", LXPCDataType_Object, LXPCValue(oPlugIns.EndPoint())));
}

bool RecorderLink::IsRegistered() {
    LScopedLock oLock(mtx);
    return nState == State::Registered;
}

void RecorderLink::Unregister(std::chrono::milliseconds nPatience) {
    {
        LScopedLock oLock(mtx);
        bool const bKnown = nState == State::Registered;
        nState = State::Withdrawing;
        if (!bKnown)
            return;
    }
    Send(LXPCData("CLOSE_ENDPOINT", LXPCDataType_Bool, 1));
    LScopedLock oLock(mtx);
    oChanged.WaitUntil(mtx, std::chrono::steady_clock::now() + nPatience,
                       [this]() NO_THREAD_SAFETY_ANALYSIS { return nState != State::Withdrawing; });
}

void RecorderLink::SetState(State nNew) {
    LScopedLock oLock(mtx);
    nState = nNew;
    oChanged.NotifyAll();
}

// Of the helper: it was not there, it has died, or it speaks another language. It is looked for anew in every case.
void RecorderLink::EvConnectionError(long, LXPCErrorType) {
    bool bLost = false;
    {
        LScopedLock oLock(mtx);
        bLost = nState == State::Registered;
        nState = State::Unknown;
        oChanged.NotifyAll();
    }
    if (bLost)
        oReporter(EventLine("unregistered"));
}

void RecorderLink::EvReplyReceived(long, LXPCData const* arItems, unsigned long nCount) {
    for (LXPCData const* p = arItems; p != arItems + nCount; ++p) {
        if (Is(*p, "NEW_ENDPOINT_REPLY") && p->nValue == 1) {
            SetState(State::Registered);
            oReporter(EventLine("registered"));
        } else if (Is(*p, "CLOSE_ENDPOINT_REPLY")) {
            SetState(State::Unknown);
        }
    }
}
