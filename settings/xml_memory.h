// LXMLMemory: the memory of the nodes and attributes of XML trees.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

// Cuts pieces off larger blocks, as a load or a copy goes on; a block is freed with the last of its pieces. So pieces
// are as cheap as those of an arena, and yet each is freed by itself, whichever tree it has come to by then: a tree
// that is taken apart or moved needs to know nothing of where its nodes are from. In return a piece that outlives its
// neighbours keeps up to 64 KB. Nothing throws. One thread at a time takes pieces; any thread frees them.
class LXMLMemory {
public:
    constexpr LXMLMemory() noexcept = default;
    ~LXMLMemory() { CloseBlock(); }
    LXMLMemory(LXMLMemory const&) = delete;
    LXMLMemory& operator=(LXMLMemory const&) = delete;

    // Where a piece was cut off, which whoever takes one keeps beside it for Free. What malloc gave has none.
    using Mark = std::uint16_t;
    static constexpr Mark kFromMalloc = 0;

    // A piece of at least `nBytes`, aligned as a pointer is; null when there is no memory.
    void* Take(std::size_t nBytes, Mark& nMark) noexcept {
        std::size_t const nWhole = (nBytes + kUnit - 1) / kUnit * kUnit;
        if (nWhole > nRoom && !OpenBlock(nWhole))
            return nullptr;
        char* const pPiece = pFree;
        nMark = static_cast<Mark>(static_cast<std::size_t>(pPiece - reinterpret_cast<char*>(pOpen)) / kUnit);
        pFree += nWhole;
        nRoom -= nWhole;
        ++nTaken;
        return pPiece;
    }

    static void Free(void* pPiece, Mark nMark) noexcept {
        if (nMark == kFromMalloc)
            std::free(pPiece);
        else
            Release(reinterpret_cast<Block*>(static_cast<char*>(pPiece) - nMark * kUnit), 1);
    }

private:
    struct Block {
        std::atomic<std::size_t> nLive; // pieces in use; kOpen more while pieces are still cut off it
    };
    static constexpr std::size_t kUnit = sizeof(void*);
    static constexpr std::size_t kOpen = ~std::size_t{0} / 2;
    static constexpr std::size_t kLargestBlock = 64 * 1024; // but for a piece that is larger, at its front
    static_assert(sizeof(Block) == kUnit && kLargestBlock / kUnit < (1 << 16));

    bool OpenBlock(std::size_t nAtLeast) noexcept;
    void CloseBlock() noexcept;
    static void Release(Block* pBlock, std::size_t nPieces) noexcept;

    Block* pOpen = nullptr;
    char* pFree = nullptr;
    std::size_t nRoom = 0;   // bytes left in the open block
    std::size_t nTaken = 0;  // pieces cut off it
    std::size_t nBefore = 0; // bytes of all blocks
};
