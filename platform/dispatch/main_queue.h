// The main queue's blocks, for whoever runs the process's first thread: dispatch_main, or a run loop.
#pragma once

#include <dispatch/dispatch.h>

#include <chrono>
#include <optional>

namespace platform {

// Puts a block behind the others. Any thread.
void MainQueueSubmit(dispatch_block_t oBlock);

// The process's first thread: runs what waits now, in order; false when nothing did. Blocks submitted meanwhile wait
// for the next call.
bool MainQueueDrain();

// The process's first thread: returns when a block waits (true), or when MainQueueWake was called since the last wait
// or the instant has come (false).
bool MainQueueWait(std::optional<std::chrono::steady_clock::time_point> oUntil);

// Ends the present or else the next MainQueueWait. Any thread.
void MainQueueWake();

} // namespace platform
