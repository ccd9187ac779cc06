// What a test wants to see inside the loaded bundle.
#include "xpc/client_manager.h"
#include "xpc/helperlink/helper_keys.h"

extern "C" [[gnu::visibility("default")]] LXPCDictionaryKey const* BundleKeys(bool bReceive);
extern "C" [[gnu::visibility("default")]] int BundleCreateClient(LXPCClientEventNotify* pSink);
extern "C" [[gnu::visibility("default")]] bool BundleConnect(int nClient, char const* szName);

LXPCDictionaryKey const* BundleKeys(bool bReceive) {
    return bReceive ? arVADHelperRxKeys : arVADHelperTxKeys;
}
int BundleCreateClient(LXPCClientEventNotify* pSink) {
    return LXPCClientManager::Create(pSink);
}
bool BundleConnect(int nClient, char const* szName) {
    return LXPCClientManager::Connect(nClient, szName, 0, true);
}
