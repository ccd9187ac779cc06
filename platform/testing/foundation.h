// Test door: how many Foundation objects are alive, so that a test can prove that nothing leaked.
#pragma once

// Any thread; exact when no other thread makes or releases objects meanwhile.
long PlatformCountLiveNSObjects();
