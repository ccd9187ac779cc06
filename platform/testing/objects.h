// Test door: how many CoreFoundation objects are alive, so that a test can prove that nothing leaked.
#pragma once

// The objects made and not yet freed, in the whole process; constants (CFSTR texts, Booleans, constant UUIDs) are not
// among them. Any thread; exact when no other thread makes or releases objects meanwhile.
long PlatformCountLiveObjects();
