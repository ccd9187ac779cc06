// Values that a settings file must not show as they are, such as passwords. The key is fixed and in every copy of the
// program: this keeps a value from eyes that pass by, not from somebody who looks for it. Any thread; nothing throws.
#pragma once

#include "base/string_long.h"

inline constexpr char kSettingCipherKey[] = "plainkeyphrase908";

// The text as a protected value: filled up with at least one zero byte to whole blocks of 8, enciphered, as base64 with
// a line break behind every 76 characters. Null is empty, and an empty text gives an empty value; so does a text for
// which there is no memory. `szPlain` may be the output's own text.
void LSettingEncrypt(LStringLongTemplate<char>& szOut, char const* szPlain) noexcept;

// A protected value back into its text, in place. Takes no memory and needs no more room than the value has. Line
// breaks in it, or none, make no difference. What is no protected value gives whatever it deciphers to, up to the first
// zero byte; a last block that is not whole is dropped. Null or empty: nothing happens.
void LSettingDecrypt(char* szText) noexcept;
void LSettingDecrypt(LStringLongTemplate<char>& szText) noexcept;
