// Tells whether an earlier run ended without saying so, by a file that lasts as long as a run.
#pragma once

#include "base/file_descriptor.h"
#include "base/fixed_text.h"
#include "base/immortal.h"

#include <AppKit/NSView.h>

#include <optional>

// The run-lock file: in the user's caches folder, one for each user of the machine, open and locked by the process that
// made it. It holds 16 bytes in the machine's order: the seconds since 1970, 64 bits, and a stamp in milliseconds that
// wraps at 32 bits, in 64 bits. Making the object makes no file, only, if need be, the folder.
class LHangDetector {
public:
    LHangDetector() noexcept;
    // Deletes the file too, whichever process made it.
    ~LHangDetector() { Release(); }
    LHangDetector(LHangDetector const&) = delete;
    LHangDetector& operator=(LHangDetector const&) = delete;

    // See LDebugHangDetectorInit.
    void Init() noexcept;
    // Closes the file, if it is open, and deletes it.
    void Release() noexcept;

private:
    void ForgetEarlierRun() noexcept;

    char szPath[kLNameSize]; // "" when no folder can be named, or the path does not fit: then there is no file
    LFileDescriptor hFile;
};

// The process's, between load and unload; the functions below do nothing without. One thread at a time.
extern constinit LImmortal<std::optional<LHangDetector>> gLHangDetector;

// Begins a run: makes the run-lock file and keeps it open and locked. Where there is one already no new one is made: it
// is left alone when another process is alive that holds it, and deleted when none does. A second call in one process
// gives its own file up first, and so deletes it. Reports nothing. The view is not used.
void LDebugHangDetectorInit(NSView* pView) noexcept;

// Ends it: closes and deletes the file, and deletes the two markers of what was not released, in the user's Application
// Support folder.
void LDebugHangDetectorDestroy() noexcept;
