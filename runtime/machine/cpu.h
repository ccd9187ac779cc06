// What the machine's processor is called. Any thread.
#pragma once

// The brand string, cut to 259 bytes between two characters, into a buffer of 260; "" when it can't be had.
void LMachineGetCPUDescription(char* szOut) noexcept;
