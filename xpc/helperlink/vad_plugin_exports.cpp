#include "xpc/helperlink/vad_plugin_exports.h"

#include "xpc/helperlink/vad_plugin_xpc_client.h"

void LVADPluginConnectToXPCService(void) {
    LVADPluginXPCClient::GetInstance()->Connect();
}
void LVADPluginConnectToApp(void) {
    LVADPluginXPCClient::GetInstance()->ConnectToApp();
}
bool LVADServerIsConnectionValid(void) {
    return LVADPluginXPCClient::GetInstance()->IsAppConnected();
}
void LVADSendAudioData(void* pData, int nByteCount) {
    LVADPluginXPCClient::GetInstance()->SendAudioData(pData, nByteCount);
}
void LVADSendVolumeChanged(double dVolume) {
    LVADPluginXPCClient::GetInstance()->SendVolumeChanged(dVolume);
}
