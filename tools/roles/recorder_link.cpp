#include "tools/roles/recorder_link.h"

#include "tools/process/failure.h"
#include "xpc/helperlink/helper_keys.h"

#include <cstring>

namespace {

constexpr char kPlugInConnection[] = "PlugIn"; // what the peers of the endpoint are called here
constexpr auto kAnswerPatience = std::chrono::seconds(2);

bool Is(LXPCData const& oItem, char const* szKey) {
    return std::strcmp(oItem.szName, szKey) == 0;
}

} // namespace

RecorderLink::RecorderLink(AudioIntake& oReceiving, std::function<void(EventLine const&)> oReport)
    : oIntake(oReceiving), oReporter(std::move(oReport)), oClient(this) {
    LVADFillHelperKeys();
    oClient.AddKeys(arVADHelperTxKeys, false);
    oClient.AddKeys(arVADHelperRxKeys, true);
    oEndPoint = LXPCObject(oClient.CreateEndPoint(kPlugInConnection, 0));
    if (!oEndPoint)
        throw Failure(ExitCode::Service, "cannot make an endpoint for the plug-in to connect to: this process may have "
                                         "run out of descriptors.");
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
    Send(LXPCData("NEW_ENDPOINT", LXPCDataType_Object, LXPCValue(oEndPoint.Get())));
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

void RecorderLink::EvConnectionError(long nConnection, LXPCErrorType nType) {
    oIntake.ConnectionEnded(nConnection);
    bool bLost = false;
    {
        LScopedLock oLock(mtx);
        // A plug-in's connection ends as invalid, and so does one to a helper that is not there; one to a helper that
        // has died is interrupted.
        if (nState == State::Registered && nType != LXPCError_ConnectionInterrupted)
            return;
        bLost = nState == State::Registered;
        nState = State::Unknown;
        oChanged.NotifyAll();
    }
    if (bLost)
        oReporter(EventLine("unregistered"));
}

void RecorderLink::EvMessageReceived(long nConnection, long, LXPCData const* arItems, unsigned long nCount) {
    for (LXPCData const* p = arItems; p != arItems + nCount; ++p) {
        if (Is(*p, kVADKeyAudioData))
            oIntake.Add(nConnection, LXPCPointer<void const*>(p->nValue), p->nSize);
        else if (Is(*p, kVADKeyVolumeChanged))
            oReporter(EventLine("volume").Add("value", p->dValue).Add("frame", oIntake.Now().nFrames));
    }
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
