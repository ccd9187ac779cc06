// The C calls on connections.
#include "platform/xpc/connection.h"

using namespace platform;

xpc_connection_t xpc_connection_create(char const* name, dispatch_queue_t targetq) {
    auto const eKind = name ? Connection::Kind::Named : Connection::Kind::AnonymousListener;
    return HandleOf(Connection::Make(eKind, name, targetq).Detach());
}

xpc_connection_t xpc_connection_create_mach_service(char const* name, dispatch_queue_t targetq, uint64_t flags) {
    bool const bListens = (flags & XPC_CONNECTION_MACH_SERVICE_LISTENER) != 0;
    auto const eKind = bListens ? Connection::Kind::ServiceListener : Connection::Kind::Named;
    return HandleOf(Connection::Make(eKind, name ? name : "", targetq).Detach());
}

xpc_connection_t xpc_connection_create_from_endpoint(xpc_endpoint_t endpoint) {
    auto* const pEndpoint = As<Endpoint>(endpoint, XPC_TYPE_ENDPOINT);
    return pEndpoint ? HandleOf(Connection::MakeToEndpoint(*pEndpoint).Detach()) : nullptr;
}

xpc_endpoint_t xpc_endpoint_create(xpc_connection_t connection) {
    return reinterpret_cast<xpc_endpoint_t>(ConnectionOf(connection)->MakeEndpoint().Detach());
}

void xpc_connection_set_event_handler(xpc_connection_t connection, xpc_handler_t handler) {
    ConnectionOf(connection)->SetHandler(std::move(handler));
}

void xpc_connection_set_target_queue(xpc_connection_t connection, dispatch_queue_t targetq) {
    ConnectionOf(connection)->SetTargetQueue(targetq);
}

void xpc_connection_suspend(xpc_connection_t connection) {
    ConnectionOf(connection)->Suspend();
}
void xpc_connection_resume(xpc_connection_t connection) {
    ConnectionOf(connection)->Resume();
}
void xpc_connection_activate(xpc_connection_t connection) {
    ConnectionOf(connection)->Resume();
}
void xpc_connection_cancel(xpc_connection_t connection) {
    ConnectionOf(connection)->Cancel();
}

static void Send(xpc_connection_t pConnection, xpc_object_t pMessage, ReplyTarget* pReply) {
    auto* const pDictionary = AsDictionary(pMessage);
    if (pDictionary && pDictionary->bIsReply && pDictionary->pTicket)
        pDictionary->pTicket->Use(pDictionary); // goes to whoever asked, whichever connection is named
    else if (pDictionary || pReply)
        ConnectionOf(pConnection)->Send(pDictionary, pReply);
}

void xpc_connection_send_message(xpc_connection_t connection, xpc_object_t message) {
    Send(connection, message, nullptr);
}

void xpc_connection_send_barrier(xpc_connection_t connection, dispatch_block_t barrier) {
    if (barrier)
        ConnectionOf(connection)->SendBarrier(std::move(barrier));
}

void xpc_connection_send_message_with_reply(xpc_connection_t connection, xpc_object_t message, dispatch_queue_t replyq,
                                            xpc_handler_t handler) {
    ReplyTarget oReply(std::move(handler), replyq, false);
    Send(connection, message, &oReply);
}

xpc_object_t xpc_connection_send_message_with_reply_sync(xpc_connection_t connection, xpc_object_t message) {
    dispatch_semaphore_t const pDone = dispatch_semaphore_create(0);
    xpc_object_t pAnswer = nullptr;
    ReplyTarget oReply(
        [&pAnswer, pDone](xpc_object_t pReceived) {
            pAnswer = xpc_retain(pReceived);
            dispatch_semaphore_signal(pDone);
        },
        nullptr, true);
    Send(connection, message, &oReply);
    dispatch_semaphore_wait(pDone, DISPATCH_TIME_FOREVER);
    dispatch_release(pDone);
    return pAnswer;
}

char const* xpc_connection_get_name(xpc_connection_t connection) {
    return ConnectionOf(connection)->Name();
}

pid_t xpc_connection_get_pid(xpc_connection_t connection) {
    return ConnectionOf(connection)->Credentials().nProcess;
}

uid_t xpc_connection_get_euid(xpc_connection_t connection) {
    return ConnectionOf(connection)->Credentials().nUser;
}

void xpc_connection_set_context(xpc_connection_t connection, void* context) {
    ConnectionOf(connection)->pContext = context;
}

void* xpc_connection_get_context(xpc_connection_t connection) {
    return ConnectionOf(connection)->pContext;
}

void xpc_connection_set_finalizer_f(xpc_connection_t connection, xpc_finalizer_t finalizer) {
    ConnectionOf(connection)->pFinalizer = finalizer;
}

XpcTraffic XpcConnectionTraffic(xpc_connection_t connection) {
    return ConnectionOf(connection)->Traffic();
}
