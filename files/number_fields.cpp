#include "files/number_fields.h"

#include <climits>

namespace {

constexpr bool IsBlank(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

char const* SkipBlanks(char const* szText) noexcept {
    while (IsBlank(*szText))
        ++szText;
    return szText;
}

// Null when no number is there.
char const* ReadNumber(char const* szText, int& nNumber) noexcept {
    szText = SkipBlanks(szText);
    bool const bNegative = *szText == '-';
    szText += *szText == '-' || *szText == '+';
    if (!IsDigit(*szText))
        return nullptr;
    long nRead = 0;
    for (; IsDigit(*szText); ++szText)
        if (nRead <= INT_MAX)
            nRead = nRead * 10 + (*szText - '0');
    nRead = bNegative ? -nRead : nRead;
    nNumber = static_cast<int>(nRead > INT_MAX ? INT_MAX : nRead < INT_MIN ? INT_MIN : nRead);
    return szText;
}

} // namespace

void LReadNumberFields(char const* szText, char const* szSeparators, std::initializer_list<int*> lFields) noexcept {
    for (int* const pField : lFields) {
        szText = ReadNumber(szText, *pField);
        if (!szText || !*szSeparators)
            return;
        if (*szSeparators == ' ')
            szText = SkipBlanks(szText);
        else if (*szText++ != *szSeparators)
            return;
        ++szSeparators;
    }
}

char* LWriteNumber(char* pOut, int nNumber, int nDigits) noexcept {
    unsigned int nLeft = static_cast<unsigned int>(nNumber);
    if (nNumber < 0) {
        *pOut++ = '-';
        nLeft = 0U - nLeft;
    }
    int nWidth = 1;
    for (unsigned int n = nLeft; n >= 10; n /= 10)
        ++nWidth;
    if (nWidth < nDigits)
        nWidth = nDigits;
    for (char* p = pOut + nWidth; p != pOut; nLeft /= 10)
        *--p = static_cast<char>('0' + nLeft % 10);
    return pOut + nWidth;
}

int LAppendDigit(int nNumber, char cDigit) noexcept {
    long const nAppended = nNumber * 10L + (cDigit - '0');
    return nAppended > INT_MAX ? INT_MAX : static_cast<int>(nAppended);
}
