// The link's C functions, exported from the bundle for others to drive it by; the plug-in does not call them. Each is
// the function of LVADPluginXPCClient that its name says, on the one instance. Any thread.
#pragma once

extern "C" {

[[gnu::visibility("default")]] void LVADPluginConnectToXPCService(void); // Connect
[[gnu::visibility("default")]] void LVADPluginConnectToApp(void);        // ConnectToApp
[[gnu::visibility("default")]] bool LVADServerIsConnectionValid(void);   // IsAppConnected
[[gnu::visibility("default")]] void LVADSendAudioData(void* pData, int nByteCount);
[[gnu::visibility("default")]] void LVADSendVolumeChanged(double dVolume);

} // extern "C"
