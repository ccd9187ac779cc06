// The maker's bug-report page.
#pragma once

#include <AppKit/NSView.h>

// Opens the page in the user's browser, with this installation's ID, the system's version and the machine's data in its
// address, which is cut to 8193 bytes, also in the middle of an escape. Neither argument is used. Any thread.
void LDebugHangDetectorBugReport(bool bUnused, NSView* pUnused) noexcept;
