// What the machine's display devices are called. Any thread.
#pragma once

#include "base/string_list.h"

// Empties the list and adds one string a display device, cut to 259 bytes between two characters, in the order in which
// the registry has them. A device whose properties can't be had, or whose model is no text in UTF-8, is left out.
void LMachineGetGPUDescriptions(LStringListTemplate<char>& lOut) noexcept;
