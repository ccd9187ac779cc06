#include "settings/xml_settings.h"

#include "settings/setting_items.h"
#include "settings/xml_document.h"

void LXMLSettingSetString(char const* szPath, char const* szSection, char const* szItem, char const* szValue) noexcept {
    LXMLDocument oDocument;
    if (LLoadSettings(oDocument, szPath) && LPutSetting(oDocument, szSection, szItem, szValue))
        oDocument.WriteToFile(szPath);
}

void LXMLSettingGetString(char const* szPath, char const* szSection, char const* szItem, char const* szDefault,
                          char* szOut) noexcept {
    LXMLDocument oDocument;
    LLoadSettings(oDocument, szPath);
    char const* const szValue = LFindSetting(oDocument, szSection, szItem);
    LCopySetting(szOut, szValue ? szValue : szDefault);
}
