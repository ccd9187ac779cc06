// The text forms of dates and data in property lists.
#include "platform/corefoundation/property_list.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace {

namespace chrono = std::chrono;

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr chrono::sys_seconds kReference = chrono::sys_days(chrono::year(2001) / 1 / 1);
constexpr chrono::sys_seconds kFirst = chrono::sys_days(chrono::year(1) / 1 / 1);
constexpr chrono::sys_seconds kEnd = chrono::sys_days(chrono::year(10000) / 1 / 1);

// The number that all of `text` is, or -1.
int Number(std::string_view text) noexcept {
    int n = 0;
    for (char const ch : text) {
        if (ch < '0' || ch > '9')
            return -1;
        n = n * 10 + (ch - '0');
    }
    return n;
}

bool Matches(std::string_view text, std::string_view pattern) noexcept {
    if (text.size() != pattern.size())
        return false;
    for (size_t n = 0; n < text.size(); ++n)
        if (pattern[n] == '0' ? text[n] < '0' || text[n] > '9' : text[n] != pattern[n])
            return false;
    return true;
}

} // namespace

std::optional<CFAbsoluteTime> cf::DateFromText(std::string_view text) noexcept {
    if (!Matches(text, "0000-00-00T00:00:00Z"))
        return std::nullopt;
    auto const Part = [&](size_t nAt, size_t nLength) { return Number(text.substr(nAt, nLength)); };
    chrono::year_month_day const oDay(chrono::year(Part(0, 4)), chrono::month(static_cast<unsigned>(Part(5, 2))),
                                      chrono::day(static_cast<unsigned>(Part(8, 2))));
    int const nHour = Part(11, 2), nMinute = Part(14, 2), nSecond = Part(17, 2);
    if (!oDay.ok() || Part(0, 4) < 1 || nHour > 23 || nMinute > 59 || nSecond > 59)
        return std::nullopt;
    chrono::sys_seconds const oAt = chrono::sys_days(oDay) + chrono::seconds((nHour * 60 + nMinute) * 60 + nSecond);
    return static_cast<CFAbsoluteTime>((oAt - kReference).count());
}

std::optional<std::string> cf::TextFromDate(CFAbsoluteTime at) noexcept {
    // Compared as a double first: a NaN or a far date has no count of seconds.
    if (!(at >= static_cast<double>((kFirst - kReference).count()) &&
          at < static_cast<double>((kEnd - kReference).count())))
        return std::nullopt;
    chrono::sys_seconds const oAt = kReference + chrono::seconds(static_cast<long long>(std::floor(at)));
    auto const oDays = chrono::floor<chrono::days>(oAt);
    chrono::year_month_day const oDay(oDays);
    chrono::hh_mm_ss const oTime(oAt - oDays);
    char szText[40];
    std::snprintf(szText, sizeof szText, "%04d-%02u-%02uT%02ld:%02ld:%02ldZ", static_cast<int>(oDay.year()),
                  static_cast<unsigned>(oDay.month()), static_cast<unsigned>(oDay.day()), oTime.hours().count(),
                  oTime.minutes().count(), oTime.seconds().count());
    return szText;
}

std::optional<std::vector<UInt8>> cf::FromBase64(std::string_view text) noexcept {
    std::vector<UInt8> lBytes;
    unsigned nBits = 0;
    size_t nDigits = 0, nPadding = 0;
    for (char const ch : text) {
        if (ch == ' ' || ch == '\t' || ch == '\n' || ch == '\r')
            continue;
        if (ch == '=') {
            ++nPadding;
            continue;
        }
        size_t const nDigit = kDigits.find(ch);
        if (nDigit == kDigits.npos || nPadding != 0)
            return std::nullopt;
        nBits = nBits << 6 | static_cast<unsigned>(nDigit);
        if (++nDigits % 4 != 1)
            lBytes.push_back(static_cast<UInt8>(nBits >> (6 - 2 * ((nDigits - 1) % 4))));
    }
    if ((nDigits + nPadding) % 4 != 0 || nPadding > 2)
        return std::nullopt;
    return lBytes;
}

std::string cf::ToBase64(std::span<UInt8 const> bytes) {
    std::string out;
    for (size_t n = 0; n < bytes.size(); n += 3) {
        size_t const nHere = std::min<size_t>(3, bytes.size() - n);
        unsigned nBits = 0;
        for (size_t k = 0; k < 3; ++k)
            nBits = nBits << 8 | (k < nHere ? bytes[n + k] : 0u);
        for (size_t k = 0; k < 4; ++k)
            out += k <= nHere ? kDigits[nBits >> (18 - 6 * k) & 63] : '=';
    }
    return out;
}
