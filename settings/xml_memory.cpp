#include "settings/xml_memory.h"

#include <algorithm>
#include <new>

// Each block is half of all before it: one piece takes no more than it needs, and of many little is left over.
bool LXMLMemory::OpenBlock(std::size_t nAtLeast) noexcept {
    std::size_t const nSize = std::max(nAtLeast, std::min(nBefore / 2, kLargestBlock));
    void* const pPlace = std::malloc(sizeof(Block) + nSize);
    if (!pPlace)
        return false;
    CloseBlock();
    pOpen = ::new (pPlace) Block{kOpen};
    pFree = reinterpret_cast<char*>(pOpen + 1);
    nRoom = nSize;
    nTaken = 0;
    nBefore += nSize;
    return true;
}

void LXMLMemory::CloseBlock() noexcept {
    if (pOpen)
        Release(pOpen, kOpen - nTaken);
    pOpen = nullptr;
}

void LXMLMemory::Release(Block* pBlock, std::size_t nPieces) noexcept {
    if (pBlock->nLive.fetch_sub(nPieces, std::memory_order_acq_rel) == nPieces)
        std::free(pBlock);
}
