// Names compared with patterns.
#pragma once

// Whether the pattern matches the whole name, letter case of ASCII ignored: "*" stands for any run of characters, none
// included, "?" for one character of UTF-8, anything else for itself. Of both, 259 bytes count. The time is at worst
// proportional to the product of the lengths. Any thread.
bool LMatchesWildcard(char const* szPattern, char const* szName) noexcept;
