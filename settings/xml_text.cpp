#include "settings/xml_text.h"

#include "settings/xml_sink.h"

#include <algorithm>
#include <cstring>

void XMLEscapeText(LStringLongTemplate<char>& szTarget, char const* szText) noexcept {
    LXMLSink oSink(szTarget);
    oSink.PutEscaped(szText);
}

std::string_view LXMLTrimmed(std::string_view szText) noexcept {
    auto const IsText = [](char c) { return static_cast<unsigned char>(c) >= ' '; };
    auto const pBegin = std::find_if(szText.begin(), szText.end(), IsText);
    auto const pEnd = std::find_if(szText.rbegin(), szText.rend(), IsText).base();
    return {pBegin, std::max(pBegin, pEnd)};
}

void XMLTrimControlChars(char* szText) noexcept {
    std::string_view const szTrimmed = LXMLTrimmed(szText);
    std::memmove(szText, szTrimmed.data(), szTrimmed.size());
    szText[szTrimmed.size()] = '\0';
}

bool LXMLAppendRun(LStringLongTemplate<char>& szTarget, std::string_view szRun) noexcept {
    while (!szRun.empty() && szTarget.AppendChar(szRun.front())) { // the one that grows it, where it has to
        szRun.remove_prefix(1);
        std::size_t const nLength = szTarget.GetLength();
        std::size_t const nFits = szRun.copy(szTarget.GetBuffer() + nLength, szTarget.GetCapacity() - nLength - 1);
        szTarget.SetLength(nLength + nFits);
        szRun.remove_prefix(nFits);
    }
    return szRun.empty() || szTarget.GetCapacity() > kLXMLMostToGrow;
}
