// Serves the name it is given until it is killed: answers every message with "served", except for "hang".
#include <cstring>
#include <unistd.h>
#include <xpc/xpc.h>

namespace {

void Answer(xpc_object_t pMessage) {
    if (xpc_get_type(pMessage) != XPC_TYPE_DICTIONARY)
        return;
    char const* const szText = xpc_dictionary_get_string(pMessage, "text");
    if (szText && std::strcmp(szText, "hang") == 0) {
        xpc_retain(pMessage); // let go, it would tell the sender that no answer comes
        return;
    }
    xpc_object_t const pReply = xpc_dictionary_create_reply(pMessage);
    if (!pReply)
        return;
    xpc_dictionary_set_string(pReply, "text", "served");
    xpc_connection_send_message(xpc_dictionary_get_remote_connection(pMessage), pReply);
    xpc_release(pReply);
}

void Accept(xpc_object_t pEvent) {
    if (xpc_get_type(pEvent) != XPC_TYPE_CONNECTION)
        return;
    auto const pPeer = static_cast<xpc_connection_t>(pEvent);
    xpc_connection_set_event_handler(pPeer, Answer);
    xpc_connection_resume(pPeer);
}

} // namespace

int main(int nArguments, char** ppArguments) {
    if (nArguments != 2)
        return 2;
    xpc_connection_t const pListener =
        xpc_connection_create_mach_service(ppArguments[1], nullptr, XPC_CONNECTION_MACH_SERVICE_LISTENER);
    xpc_connection_set_event_handler(pListener, Accept);
    xpc_connection_resume(pListener);
    for (;;)
        pause();
}
