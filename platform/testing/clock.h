// Test door: the host clock in a test's hand. Any thread; whoever waits on the clock sees every change at once.
#pragma once

#include <cstdint>

// Holds the host clock at `nTicks`.
void TestClockHold(uint64_t nTicks);

// Moves the clock forward, held or running.
void TestClockAdvance(uint64_t nTicks);

// Sets ticks to nanoseconds as ticks * nNumerator / nDenominator (neither 0). The clock then reads the machine's time
// in such ticks.
void TestClockSetTimebase(uint32_t nNumerator, uint32_t nDenominator);

// Back to what a process starts with: running, in nanoseconds of the machine's monotonic clock.
void TestClockReset();
