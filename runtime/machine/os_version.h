// Which version of the operating system runs. Any thread.
#pragma once

// "10.15.7" is 10, 15, 7; parts that it does not have are 0. False, with three zeros, when it can't be had. Any of the
// outputs may be null.
bool LGetOSVersion(int* pMajor, int* pMinor, int* pBugFix) noexcept;
