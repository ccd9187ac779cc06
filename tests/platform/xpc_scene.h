// The cast of an XPC test: connections that note what happens to them, a listener with its peers, a folder of names.
#pragma once

#include "platform/testing/quiesce.h"
#include "tests/harness/temporary_folder.h"
#include "tests/platform/waiting.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <xpc/xpc.h>

#include <functional>
#include <memory>
#include <string>

// An event in a word: a message as the text under "text" (or its number under "number"), an error as its name.
inline std::string WordFor(xpc_object_t pEvent) {
    if (pEvent == XPC_ERROR_CONNECTION_INVALID)
        return "invalid";
    if (pEvent == XPC_ERROR_CONNECTION_INTERRUPTED)
        return "interrupted";
    if (xpc_get_type(pEvent) == XPC_TYPE_CONNECTION)
        return "peer";
    char const* const szText = xpc_dictionary_get_string(pEvent, "text");
    return szText ? szText : std::to_string(xpc_dictionary_get_int64(pEvent, "number"));
}

// A message, released with its scope.
class Message {
public:
    Message() : pDictionary(xpc_dictionary_create(nullptr, nullptr, 0)) {}
    explicit Message(char const* szText) : pDictionary(xpc_dictionary_create(nullptr, nullptr, 0)) {
        xpc_dictionary_set_string(pDictionary, "text", szText);
    }
    explicit Message(int64_t nNumber) : Message() { xpc_dictionary_set_int64(pDictionary, "number", nNumber); }
    explicit Message(xpc_object_t pOwned) : pDictionary(pOwned) {}
    ~Message() {
        if (pDictionary)
            xpc_release(pDictionary);
    }
    Message(Message const&) = delete;
    Message& operator=(Message const&) = delete;
    operator xpc_object_t() const { return pDictionary; }

private:
    xpc_object_t const pDictionary;
};

// A connection that writes down its events, and is cancelled and released with its scope.
class Party {
public:
    using Handler = std::function<void(xpc_object_t)>;

    explicit Party(xpc_connection_t pOwned, Handler oAlso = {}) : pConnection(pOwned) { Listen(std::move(oAlso)); }
    ~Party() {
        xpc_connection_cancel(pConnection);
        xpc_release(pConnection);
    }
    Party(Party const&) = delete;
    Party& operator=(Party const&) = delete;

    void Listen(Handler oAlso) {
        xpc_connection_set_event_handler(pConnection, [pNotes = pNotes, oAlso = std::move(oAlso)](xpc_object_t pEvent) {
            if (oAlso)
                oAlso(pEvent);
            pNotes->Add(WordFor(pEvent));
        });
    }
    Party& Resume() {
        xpc_connection_resume(pConnection);
        return *this;
    }
    void Send(xpc_object_t pMessage) { xpc_connection_send_message(pConnection, pMessage); }
    void Ask(xpc_object_t pMessage) {
        xpc_connection_send_message_with_reply(
            pConnection, pMessage, nullptr, [pNotes = pNotes](xpc_object_t p) { pNotes->Add("reply " + WordFor(p)); });
    }
    void Barrier(std::string szWord) {
        xpc_connection_send_barrier(pConnection, [pNotes = pNotes, szWord] { pNotes->Add(szWord); });
    }
    WordLog& Notes() { return *pNotes; }
    operator xpc_connection_t() const { return pConnection; }

private:
    xpc_connection_t const pConnection;
    std::shared_ptr<WordLog> const pNotes = std::make_shared<WordLog>();
};

// A listener, without a name unless it is given one, whose peers all run one handler and note what they get. A peer
// that gets the message "stop" reads no more, until the scope ends; with it all peers end, and their handlers have run.
class Listener {
public:
    using PeerHandler = std::function<void(xpc_connection_t pPeer, xpc_object_t pEvent)>;

    explicit Listener(PeerHandler oHandler = {}, xpc_connection_t pOwned = xpc_connection_create(nullptr, nullptr))
        : oParty(pOwned, [this, oHandler](xpc_object_t pEvent) { Welcome(pEvent, oHandler); }) {
        oParty.Resume();
    }
    ~Listener() {
        xpc_connection_cancel(oParty);
        oParty.Notes().WaitForWord("invalid"); // no more peers come
        for (xpc_connection_t const pPeer : oStopped.Now())
            xpc_connection_resume(pPeer);
        for (xpc_connection_t const pPeer : oPeers.Now()) {
            xpc_connection_cancel(pPeer);
            xpc_release(pPeer);
        }
        PlatformQuiesce();
    }

    // A connection to it, not resumed yet.
    xpc_connection_t NewCaller() {
        xpc_endpoint_t const pEndpoint = xpc_endpoint_create(oParty);
        xpc_connection_t const pCaller = xpc_connection_create_from_endpoint(pEndpoint);
        xpc_release(pEndpoint);
        return pCaller;
    }
    Party& AsParty() { return oParty; }
    WordLog& PeerNotes() { return oPeerNotes; }
    // The first peer that was stopped.
    xpc_connection_t StoppedPeer() { return oStopped.WaitFor(1).at(0); }

private:
    void Welcome(xpc_object_t pEvent, PeerHandler const& oHandler) {
        if (xpc_get_type(pEvent) != XPC_TYPE_CONNECTION)
            return;
        auto const pPeer = static_cast<xpc_connection_t>(xpc_retain(pEvent));
        oPeers.Add(pPeer);
        xpc_connection_set_event_handler(pPeer, [this, pPeer, oHandler](xpc_object_t pOfPeer) {
            std::string const szWord = WordFor(pOfPeer);
            if (szWord == "stop") {
                xpc_connection_suspend(pPeer);
                oStopped.Add(pPeer);
            }
            if (oHandler)
                oHandler(pPeer, pOfPeer);
            oPeerNotes.Add(szWord);
        });
        xpc_connection_resume(pPeer);
    }

    WordLog oPeerNotes;
    Log<xpc_connection_t> oPeers, oStopped;
    Party oParty;
};

// Sends an answer with this text to a message that wants one.
inline void AnswerWith(xpc_object_t pEvent, char const* szText) {
    if (xpc_get_type(pEvent) != XPC_TYPE_DICTIONARY)
        return;
    if (xpc_object_t const pReply = xpc_dictionary_create_reply(pEvent)) {
        Message const oReply(pReply);
        xpc_dictionary_set_string(oReply, "text", szText);
        xpc_connection_send_message(xpc_dictionary_get_remote_connection(pEvent), oReply);
    }
}

// A runtime folder of the test's own, in which names are served.
class ServiceFolder {
public:
    ServiceFolder() { ::setenv("XDG_RUNTIME_DIR", szRuntime.c_str(), 1); }
    std::string const& Runtime() const { return szRuntime; }

    static xpc_connection_t NewServer(char const* szName) {
        return xpc_connection_create_mach_service(szName, nullptr, XPC_CONNECTION_MACH_SERVICE_LISTENER);
    }
    static xpc_connection_t NewClient(char const* szName) {
        return xpc_connection_create_mach_service(szName, nullptr, 0);
    }

private:
    TemporaryFolder const oHeld;
    std::string const szRuntime = oHeld.Path();
};
