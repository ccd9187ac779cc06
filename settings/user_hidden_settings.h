// Settings of this user that are not meant to be found by looking around: LumoraVADPlugin.xml in a folder whose name
// begins with a dot, in the product's folder of application data. The folders are made where they are missing; where
// they can't be, nothing is written and everything reads as its default. All else as in settings/xml_settings.h.
#pragma once

void LUserHiddenSettingSetString(char const* szSection, char const* szItem, char const* szValue) noexcept;
void _LUserHiddenSettingGetString(char const* szSection, char const* szItem, char const* szDefault,
                                  char* szOut) noexcept;

// The file's path, in 260 bytes. False, with "", when its folder can't be had or the path does not fit.
bool LGetUserHiddenSettingsPath(char* szOut) noexcept;
