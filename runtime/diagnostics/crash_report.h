// The system's reports of crashes.
#pragma once

// Finds this program's newest report among those that the system keeps of the product, in the folder
// "Library/Logs/DiagnosticReports" of the user's real home. True with its path in a buffer of 260 bytes. False, with
// the buffer as it was, when there is none, and also when the newest report of the product is another program's.
//
// A report whose name ends in ".ips" counts as this program's and has its date in its name. Any other is read: up to a
// second is waited for its lock, then at most what names the process, its path, identifier and version and the date is
// looked at, 259 bytes a line. Of more than 1000 reports the first 1000 that the folder lists count. Any thread.
bool LMacGetLatestCrashReport(char* szOutPath) noexcept;
