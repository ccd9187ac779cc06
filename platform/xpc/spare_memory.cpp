#include "platform/xpc/spare_memory.h"

#include "platform/posix/thread_end.h"

#include <cstdlib>
#include <utility>

namespace platform {
namespace {

struct Piece {
    void* pMemory = nullptr;
    size_t nRoom = 0;
};

struct Spares {
    Piece aPieces[2]; // by Spare
    bool bEndArranged = false;
};
constinit thread_local Spares oSpares;

bool ArrangeEnd() noexcept {
    static ThreadEnd const oEnd([](void*) {
        for (Piece const& oPiece : oSpares.aPieces)
            std::free(oPiece.pMemory);
        oSpares = {};
    });
    return oSpares.bEndArranged = oEnd.Arrange(&oSpares);
}

} // namespace

void* AllocateSpare(Spare eOf, size_t nRoom) noexcept {
    Piece& oPiece = oSpares.aPieces[static_cast<size_t>(eOf)];
    if (oPiece.pMemory && oPiece.nRoom == nRoom)
        return std::exchange(oPiece.pMemory, nullptr);
    return std::malloc(nRoom);
}

void FreeSpare(Spare eOf, void* pMemory, size_t nRoom) noexcept {
    Piece& oPiece = oSpares.aPieces[static_cast<size_t>(eOf)];
    if (oPiece.pMemory || !(oSpares.bEndArranged || ArrangeEnd()))
        return std::free(pMemory);
    oPiece = {pMemory, nRoom};
}

} // namespace platform
