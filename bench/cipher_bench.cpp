// What protecting a value costs, beside the library that everybody has for it.
#define OPENSSL_SUPPRESS_DEPRECATED // its Blowfish without a provider in front of it, which is the faster one
#include "bench/measure.h"
#include "settings/base64.h"
#include "settings/blow_fish.h"
#include "settings/setting_cipher.h"

#include <openssl/blowfish.h>
#include <openssl/evp.h>

#include <algorithm>
#include <functional>

namespace {

using Bytes = std::vector<unsigned char>;
using Work = std::function<void()>;

constexpr std::size_t kSize = 1'000'000;

Row Compare(std::string szWhat, Work const& Ours, Work const& Yardstick, double fAtMost, int nRounds) {
    return CompareBest(
        std::move(szWhat), [&] { return TimeMs(Ours); }, [&] { return TimeMs(Yardstick); }, fAtMost, nRounds);
}

// A megabyte without a pattern that a processor could learn.
Bytes Megabyte() {
    Bytes lBytes(kSize);
    uint32_t nState = 1;
    for (auto& n : lBytes) {
        nState = nState * 1664525 + 1013904223;
        n = static_cast<unsigned char>(nState >> 24);
    }
    return lBytes;
}

void AddBlowFish(std::vector<Row>& lRows, int nRounds) {
    LBlowFish const oCipher(kSettingCipherKey);
    BF_KEY oTheirs;
    BF_set_key(&oTheirs, sizeof kSettingCipherKey - 1, reinterpret_cast<unsigned char const*>(kSettingCipherKey));
    Bytes lBytes = Megabyte();
    auto const Theirs = [&](int nDirection) {
        for (std::size_t n = 0; n < kSize; n += BF_BLOCK)
            BF_ecb_encrypt(&lBytes[n], &lBytes[n], &oTheirs, nDirection);
    };
    lRows.push_back(Compare(
        "Blowfish encode, 1 MB; beside OpenSSL's `BF_ecb_encrypt`", [&] { oCipher.Encode(lBytes.data(), kSize); },
        [&] { Theirs(BF_ENCRYPT); }, 1.0, nRounds));
    lRows.push_back(Compare(
        "Blowfish decode, the same", [&] { oCipher.Decode(lBytes.data(), kSize); }, [&] { Theirs(BF_DECRYPT); }, 1.0,
        nRounds));
}

void AddBase64(std::vector<Row>& lRows, int nRounds) {
    Bytes const lBytes = Megabyte();
    Bytes lText(kSize * 2), lBack(kSize * 2);
    LStringLong szText, oBack;
    int const nText = EVP_EncodeBlock(lText.data(), lBytes.data(), static_cast<int>(kSize));
    lRows.push_back(Compare(
        "base64 encode, 1 MB in one line; beside OpenSSL's `EVP_EncodeBlock`",
        [&] { Base64Encode(lBytes.data(), kSize, szText, kBase64NoLineBreaks); },
        [&] { EVP_EncodeBlock(lText.data(), lBytes.data(), static_cast<int>(kSize)); }, 0.7, nRounds));
    lRows.push_back(Compare(
        "base64 decode of that; beside `EVP_DecodeBlock`",
        [&] { Base64Decode(szText.GetString(), szText.GetLength(), oBack); },
        [&] { EVP_DecodeBlock(lBack.data(), lText.data(), nText); }, 0.7, nRounds));
    if (!std::equal(lBytes.begin(), lBytes.end(), lBack.begin()) ||
        std::string_view(reinterpret_cast<char const*>(lBytes.data()), kSize) != oBack.View().substr(0, kSize))
        lRows.push_back({"what came back is not what went in", 1, 0, "", 0});
}

// What a setting's reading pays in front of its file; beside it the key schedule alone, which it does not.
Row OneSetting(int nRounds) {
    LStringLong szProtected;
    LSettingEncrypt(szProtected, "a password of a usual length");
    BF_KEY oTheirs;
    return Compare(
        "a password revealed, 1000 times; beside 1000 times `BF_set_key`",
        [&] {
            for (int n = 0; n < 1000; ++n) {
                char szText[260];
                std::copy_n(szProtected.GetString(), szProtected.GetLength() + 1, szText);
                LSettingDecrypt(szText);
            }
        },
        [&] {
            for (int n = 0; n < 1000; ++n)
                BF_set_key(&oTheirs, sizeof kSettingCipherKey - 1,
                           reinterpret_cast<unsigned char const*>(kSettingCipherKey));
        },
        1.0, nRounds);
}

} // namespace

int main(int nArguments, char** ppArguments) {
    bool const bQuick = IsQuickRun(nArguments, ppArguments);
    int const nRounds = bQuick ? 30 : 300;
    std::vector<Row> lRows;
    AddBlowFish(lRows, nRounds);
    AddBase64(lRows, nRounds);
    lRows.push_back(OneSetting(nRounds / 10));
    return PrintRows(lRows) ? 0 : 1;
}
