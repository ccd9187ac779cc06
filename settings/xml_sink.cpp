#include "settings/xml_sink.h"

#include "runtime/machine/memory.h"

#include <algorithm>

namespace {

// More than this at once is asked of the machine first: a tree of some megabytes that is very deep makes gigabytes of
// tabs, and an allocation beyond what there is may succeed and the process be killed when it fills it.
constexpr std::size_t kTakenUnasked = 64 << 20;

bool IsMemoryFor(std::size_t nMore) noexcept {
    return nMore <= kTakenUnasked || nMore < LMemoryGetAvailableVirtualMemorySize();
}

} // namespace

LXMLSink::LXMLSink(LStringLongTemplate<char>& szTarget) noexcept
    : szOut(szTarget), nBefore(szTarget.GetLength()), pAt(&cNowhere), pEnd(&cNowhere) {
    if (szOut.GetCapacity() == 0 && !szOut.Reserve(kLeastRoom)) {
        bFailed = true;
        return;
    }
    pAt = szOut.GetBuffer() + nBefore;
    pEnd = szOut.GetBuffer() + szOut.GetCapacity() - 1;
}

LXMLSink::~LXMLSink() {
    if (!bFailed)
        szOut.SetLength(static_cast<std::size_t>(pAt - szOut.GetBuffer()));
}

bool LXMLSink::MakeRoom(std::size_t nBytes) noexcept {
    if (bFailed)
        return false;
    auto const nLength = static_cast<std::size_t>(pAt - szOut.GetBuffer());
    szOut.SetLength(nLength);
    bool const bFits = nLength <= kMostBytes && nBytes <= kMostBytes - nLength;
    std::size_t const nRoom = std::max(nLength + nBytes + 1, std::min(szOut.GetCapacity() * 2, kMostBytes + 1));
    if (!bFits || !IsMemoryFor(nRoom - szOut.GetCapacity()) || !szOut.Reserve(nRoom)) {
        Fail();
        return false;
    }
    pAt = szOut.GetBuffer() + nLength;
    pEnd = szOut.GetBuffer() + szOut.GetCapacity() - 1;
    return true;
}

void LXMLSink::Fail() noexcept {
    if (bFailed)
        return;
    szOut.SetLength(nBefore);
    pAt = pEnd = &cNowhere;
    bFailed = true;
}

void LXMLSink::PutTabs(std::size_t nTabs) noexcept {
    if (nTabs > static_cast<std::size_t>(pEnd - pAt) && !MakeRoom(nTabs))
        return;
    std::memset(pAt, '\t', nTabs);
    pAt += nTabs;
}

void LXMLSink::PutEscapedChar(char c) noexcept {
    switch (c) {
    case '<': return Put("&lt;");
    case '>': return Put("&gt;");
    case '"': return Put("&quot;");
    case '&': return Put("&amp;");
    default: return;
    }
}

void LXMLSink::PutEscapedLines(char const* szText) noexcept {
    for (;;) {
        char const* const pStop = LXMLFind(kLXMLEscapedOrBreak, szText);
        Put({szText, pStop});
        if (*pStop == '\0')
            return;
        szText = pStop + 1;
        if (!LXMLIsIn(kLXMLLineBreak, *pStop)) {
            PutEscapedChar(*pStop);
            continue;
        }
        Put('\n');
        if (LXMLIsPair(*pStop, *szText))
            ++szText;
    }
}
