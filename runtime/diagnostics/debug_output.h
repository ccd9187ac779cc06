// Lines for whoever watches the program's standard error. Any thread.
#pragma once

// Writes a formatted text, cut to 511 bytes, and flushes it.
[[gnu::format(printf, 1, 2)]] void OutputDebugStringF(char const* szFormat, ...) noexcept;

// Faults that are worth a word while the library is worked on: here they are formatted, so that a wrong format shows,
// and discarded. The one without a number does nothing at all.
void LRDFAULT(char const* szText) noexcept;
void LRDFAULT(char const* szText, int nNumber) noexcept; // "text: number"
[[gnu::format(printf, 1, 2)]] void LRDFAULTF(char const* szFormat, ...) noexcept;
