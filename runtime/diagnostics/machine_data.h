// What reports of a failure say about the machine. Any thread.
#pragma once

#include "base/fixed_text.h"

// The size of the buffers that encoded machine data and the addresses made with them are put into: 8193 bytes of text.
inline constexpr std::size_t kLMachineDataSize = 8194;

// Append "&memphys=16000&cpu=Some CPU (8 CPUs)&disp=GPU0:one modelGPU1:another": the installed memory in MiB, the
// processor and how many are configured, and the display devices, with nothing between them. What can't be had is 0 or
// empty. The second puts "memfrhp=%d&memfrlg=%d&" in front, with the two figures given: so two "&" follow each other.
void LDebugGetMachineDataForBugReport(LFixedLengthStringWriterTemplate<char>& oOut) noexcept;
void LDebugGetMachineDataForCrashReport(LFixedLengthStringWriterTemplate<char>& oOut, int nFreeHeapMiB,
                                        int nFreeMemoryMiB) noexcept;

// The same as a value in a URL's query, into a buffer of kLMachineDataSize bytes: every byte but ASCII's letters and
// digits and "!-._~" as "%" and two upper-case digits. What does not fit is cut, also in the middle of such an escape.
void LDebugGetMachineDataForBugReport(char* szOut) noexcept;
void LDebugGetMachineDataForCrashReport(char* szOut, int nFreeHeapMiB, int nFreeMemoryMiB) noexcept;
