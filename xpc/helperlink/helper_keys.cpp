#include "xpc/helperlink/helper_keys.h"

#include <cstddef>

constinit LXPCDictionaryKey arVADHelperTxKeys[9];
constinit LXPCDictionaryKey arVADHelperRxKeys[9];

namespace {

struct Row {
    char const* szName;
    LXPCDataType nType;
};

constexpr Row kTxRows[] = {
    {"NEW_ENDPOINT", LXPCDataType_Object},       {"CLOSE_ENDPOINT", LXPCDataType_Bool},
    {kVADKeyRequestEndPoint, LXPCDataType_Bool}, {kVADKeyAudioData, LXPCDataType_Data},
    {"LOAD_DRIVER", LXPCDataType_String},        {"START_RECORDING", LXPCDataType_Bool},
    {"STOP_RECORDING", LXPCDataType_Bool},       {kVADKeyVolumeChanged, LXPCDataType_Double},
};

constexpr Row kRxRows[] = {
    {"NEW_ENDPOINT_REPLY", LXPCDataType_Bool},  {"CLOSE_ENDPOINT_REPLY", LXPCDataType_Bool},
    {kVADKeySendEndPoint, LXPCDataType_Object}, {kVADKeyAudioData, LXPCDataType_Data},
    {"LOAD_DRIVER_REPLY", LXPCDataType_Bool},   {"START_RECORDING", LXPCDataType_Bool},
    {"STOP_RECORDING", LXPCDataType_Bool},      {kVADKeyVolumeChanged, LXPCDataType_Double},
};

template <std::size_t nRows>
void Fill(LXPCDictionaryKey (&arKeys)[nRows + 1], Row const (&arRows)[nRows]) noexcept {
    for (std::size_t n = 0; n < nRows; ++n)
        arKeys[n] = LXPCDictionaryKey(arRows[n].szName, arRows[n].nType);
    arKeys[nRows] = LXPCDictionaryKey();
}

} // namespace

void LVADFillHelperKeys() noexcept {
    Fill(arVADHelperTxKeys, kTxRows);
    Fill(arVADHelperRxKeys, kRxRows);
}
