#include "settings/setting_cipher.h"

#include "settings/blow_fish.h"

namespace {

// The key is known when this is compiled, so that no reading or writing of a setting pays for its schedule.
constexpr LBlowFish kSettingCipher(kSettingCipherKey);

} // namespace

void LSettingEncrypt(LStringLongTemplate<char>& szOut, char const* szPlain) noexcept {
    kSettingCipher.EncipherText(szOut, szPlain ? szPlain : "", 0);
}

void LSettingDecrypt(char* szText) noexcept {
    if (!szText)
        return;
    std::size_t const nLength = std::strlen(szText);
    szText[kSettingCipher.DecipherText(szText, nLength, {szText, nLength})] = '\0';
}

void LSettingDecrypt(LStringLongTemplate<char>& szText) noexcept {
    if (!szText.IsEmpty())
        szText.SetLength(kSettingCipher.DecipherText(szText.GetBuffer(), szText.GetLength(), szText.View()));
}
