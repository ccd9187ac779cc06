#include <Foundation/NSThread.h>

#include "platform/foundation/symbol.h"
#include "platform/foundation/text.h"

#include <execinfo.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

CFStringRef LineOf(int nFrame, void* pAddress) {
    Symbol const oSymbol = SymbolOf(reinterpret_cast<std::uintptr_t>(pAddress));
    char szPlace[64];
    std::snprintf(szPlace, sizeof szPlace, " 0x%016lx ", reinterpret_cast<unsigned long>(pAddress));
    std::string szImage = oSymbol.szImage;
    szImage.resize(std::max<std::size_t>(szImage.size(), 35), ' ');
    std::string szNumber = std::to_string(nFrame);
    szNumber.resize(std::max<std::size_t>(szNumber.size() + 1, 4), ' ');
    return StringOf(szNumber + szImage + szPlace + oSymbol.szName + " + " + std::to_string(oSymbol.nOffset));
}

} // namespace

[[gnu::noinline]] CFArrayRef NSThread::callStackSymbols() {
    std::array<void*, 513> lFrames;
    int const nFrames = backtrace(lFrames.data(), lFrames.size());
    CFMutableArrayRef const lines = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
    // Above the caller there are this function's frame and, under a sanitizer, its own.
    auto const pEnd = lFrames.begin() + nFrames;
    auto const pCaller = std::find(lFrames.begin(), pEnd, __builtin_return_address(0));
    int nFrame = 0;
    for (auto p = pCaller == pEnd ? lFrames.begin() + std::min(nFrames, 1) : pCaller; p != pEnd; ++p)
        if (CFStringRef const line = LineOf(nFrame++, *p)) {
            CFArrayAppendValue(lines, line);
            CFRelease(line);
        }
    return lines;
}
