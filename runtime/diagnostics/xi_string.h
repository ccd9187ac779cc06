// The text by which one kind of failure is told from another.
#pragma once

// "<prefix>-MacIntel1015-<reason>-<thread>" into a buffer of 260 bytes, cut to fit: the platform with the system's
// major version and two digits of its minor one, and the calling thread's name, last dialog and, on the main thread,
// what it is working on. A null prefix or reason is empty. Takes loDebugThreads. Any thread.
void LDebugGenerateXIString(char* szOut, char const* szPrefix, char const* szReason) noexcept;
