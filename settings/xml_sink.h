// LXMLSink: where XML text is written to.
#pragma once

#include "base/string_long.h"
#include "settings/xml_text.h"

#include <cstddef>
#include <cstring>
#include <string_view>

// Appends to a caller's string, which must not be touched until the sink is gone. When memory runs out, or the text
// gets longer than a file of text may be to be loaded, what this sink wrote is taken back and nothing more is written.
class LXMLSink {
public:
    // As long as what LLoadText loads.
    static constexpr std::size_t kMostBytes = 3'000'000'000;

    explicit LXMLSink(LStringLongTemplate<char>& szTarget) noexcept;
    ~LXMLSink();
    LXMLSink(LXMLSink const&) = delete;
    LXMLSink& operator=(LXMLSink const&) = delete;

    bool HasFailed() const noexcept { return bFailed; }
    void Fail() noexcept; // for want of memory elsewhere

    void Put(char c) noexcept {
        if (pAt != pEnd || MakeRoom(1))
            *pAt++ = c;
    }
    void Put(std::string_view szMore) noexcept {
        if (szMore.size() > static_cast<std::size_t>(pEnd - pAt) && !MakeRoom(szMore.size()))
            return;
        std::memcpy(pAt, szMore.data(), szMore.size());
        pAt += szMore.size();
    }
    void PutTabs(std::size_t nTabs) noexcept;

    // With '<', '>', '"' and '&' as entities.
    void PutEscaped(char const* szText) noexcept {
        for (;;) {
            char const* const pStop = LXMLFind(kLXMLEscaped, szText);
            Put({szText, pStop});
            if (*pStop == '\0')
                return;
            PutEscapedChar(*pStop);
            szText = pStop + 1;
        }
    }
    // The same, and each of CR, LF, CR LF and LF CR as one LF.
    void PutEscapedLines(char const* szText) noexcept;

private:
    static constexpr std::size_t kLeastRoom = 260;

    bool MakeRoom(std::size_t nBytes) noexcept;
    void PutEscapedChar(char c) noexcept;

    LStringLongTemplate<char>& szOut;
    std::size_t const nBefore; // the length that the string came with
    char* pAt;
    char* pEnd;           // leaves the NUL its place
    char cNowhere = '\0'; // where both point once the sink has failed
    bool bFailed = false;
};
