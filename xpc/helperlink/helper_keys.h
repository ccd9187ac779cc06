// The vocabulary that the plug-in, the helper service and the recorder application share.
#pragma once

#include "xpc/data.h"

inline constexpr char kVADHelperService[] = "com.tarnwicksoftware.Lumora.VadHelper"; // the helper's mach service
inline constexpr char kVADAppConnection[] = "EndPointConnection";                    // the application's, instance 1
inline constexpr unsigned long kVADHelperInstance = 0;
inline constexpr unsigned long kVADAppInstance = 1;

inline constexpr char kVADKeyRequestEndPoint[] = "REQUEST_ENDPOINT";
inline constexpr char kVADKeySendEndPoint[] = "SEND_ENDPOINT";
inline constexpr char kVADKeyAudioData[] = "AUDIO_DATA";
inline constexpr char kVADKeyVolumeChanged[] = "VOLUME_CHANGED";

// What the plug-in declares for sending, and for receiving; each ends with an empty name. Empty until they are filled,
// constant from then on.
extern LXPCDictionaryKey arVADHelperTxKeys[9];
extern LXPCDictionaryKey arVADHelperRxKeys[9];

// Fills both tables. At load, before any other thread reads them.
void LVADFillHelperKeys() noexcept;
