#include "xpc/event_notify.h"

LXPCEventNotify::~LXPCEventNotify() = default;
void LXPCEventNotify::EvMessageReceived(long, long, LList<LXPCDataListable> const&) {}
void LXPCEventNotify::EvReplyReceived(long, LList<LXPCDataListable> const&) {}
