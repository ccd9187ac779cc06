// Real faults of the processor, for tests of what becomes of them. Sanitizers are kept from seeing them before the
// processor does.
#pragma once

#include <string>

// Each ends the process, or returns when whoever was asked let it go on.
void FaultUnmapped();     // SIGSEGV, no page there
void FaultNonCanonical(); // SIGSEGV, no address at all
void FaultReadOnly();     // SIGSEGV, a page that may not be written
void FaultBeyondFile();   // SIGBUS
void FaultInstruction();  // SIGILL
void FaultDivision();     // SIGFPE
void FaultStack();        // SIGSEGV, the stack's end

// A byte that is there.
void WriteByte(char* pTo);

// All that the kernel says of the four signals that these arrive as, without what the C library or a sanitizer makes of
// it; to be compared.
std::string Dispositions();
