// Test door: what the process holds of thread ports.
#pragma once

// References to thread ports that were given out and not given back, of living threads and ended ones.
int PlatformThreadPortReferences();
