// Counts what the platform still holds of this library's code.
#pragma once

// A handler that has been given to the platform may be called, and is destroyed, later and elsewhere: behind a
// cancelled connection a last error and late notices still come. Before the code goes away (the bundle is unloaded) all
// handlers must be gone. Each captures a counted hold; the last copy's end ends the hold. Any thread.
class LXPCCodeHold {
public:
    LXPCCodeHold() noexcept;
    ~LXPCCodeHold();
    LXPCCodeHold(LXPCCodeHold const&) = delete;
    LXPCCodeHold& operator=(LXPCCodeHold const&) = delete;

    // Waits until there is no hold, at most `nTimeout_ms` milliseconds: true when there is none. Not from a handler.
    static bool WaitForNone(unsigned nTimeout_ms) noexcept;
};
