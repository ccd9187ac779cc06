// Memory that a thread frees and soon needs again.
#pragma once

#include <cstddef>

namespace platform {

// Of what each thread keeps the last piece that it freed, for its next one of the same size. An IO cycle makes and
// frees one of each on one thread; a block of audio is larger than the allocator's own per-thread cache takes (1 KiB).
enum class Spare { Block, Dictionary };

// Null when there is no memory. Any thread, and the piece may be freed on another.
void* AllocateSpare(Spare eOf, size_t nRoom) noexcept;
// `nRoom` is what it was allocated with.
void FreeSpare(Spare eOf, void* pMemory, size_t nRoom) noexcept;

} // namespace platform
