// Test door: brings the stand-in's own machinery to rest, so that a test can count descriptors and threads.
#pragma once

// Waits until no dispatch queue has work to run at once, retires the pool's idle threads and waits for the threads of
// cancelled connections to end. Work scheduled for later (timers) and live connections are left alone. At most twenty
// seconds; not from a queue or a handler.
void PlatformQuiesce();
