// Whole text files loaded and saved. Text in memory is UTF-8.
//
// Several processes may share a file: a load holds a shared lock on it and a save an exclusive one (flock's, which bind
// those who ask for them), from before the size is read or anything is truncated until the file is closed. A load waits
// for its lock up to 5 s, a save up to 0.5 s. Within a process nothing is kept; any thread. Nothing throws.
#pragma once

#include "base/string_long.h"

// Load the bytes of a file as they are. False, with an empty text, when the file can't be opened, locked or read, when
// it is no regular file, when it is larger than 3,000,000,000 bytes (found before any memory is taken), or when there
// is no memory. A file that somebody shortens meanwhile, without the lock, gives what was there to read.
bool LLoadText(char const* szPath, LStringLongTemplate<char>& szText) noexcept;
bool LLoadTextAsUTF8(char const* szPath, LStringLongTemplate<char>& szText) noexcept; // the same

// The same without a lock and without the limit of size.
bool LLoadSharedText(char const* szPath, LStringLongTemplate<char>& szText) noexcept;
bool LLoadSharedTextAsUTF8(char const* szPath, LStringLongTemplate<char>& szText) noexcept; // the same

// Load a file of UTF-16 as UTF-8, up to its first zero unit. A last odd byte is left out. The first takes the units in
// this machine's (little-endian) order, the second obeys and skips a byte-order mark. False as LLoadText.
bool LLoadTextAsUTF16(char const* szPath, LStringLongTemplate<char>& szText) noexcept;
bool LLoadTextUnicode(char const* szPath, LStringLongTemplate<char>& szText) noexcept;

// Finds out by the byte-order mark, which is not part of the text: UTF-16 of either order, converted, up to its first
// zero unit, where a last odd byte counts as followed by a zero; or UTF-8, as is a file without a mark. False as
// LLoadText.
bool LLoadTextAutoChar(char const* szPath, LStringLongTemplate<char>& szText) noexcept;

// Replace the file's text, or append to it, making the file (mode 0666 less the umask) if need be. No byte-order mark
// is written. When the file can't be opened or locked nothing is written. In every case the file is then marked as
// UTF-8; the result is whether that worked, and says nothing of the text: whoever must know loads it.
bool LSaveText(char const* szPath, char const* szText) noexcept;
bool LSaveText(char const* szPath, LStringLongTemplate<char> const& szText) noexcept;
bool LSaveAppendText(char const* szPath, char const* szText) noexcept;
bool LSaveAppendText(char const* szPath, LStringLongTemplate<char> const& szText) noexcept;
bool LSaveTextAsUTF8(char const* szPath, char const* szText) noexcept; // these four as the four above
bool LSaveTextAsUTF8(char const* szPath, LStringLongTemplate<char> const& szText) noexcept;
bool LSaveAppendTextAsUTF8(char const* szPath, char const* szText) noexcept;
bool LSaveAppendTextAsUTF8(char const* szPath, LStringLongTemplate<char> const& szText) noexcept;

// Replaces the file's text by UTF-16 in this machine's (little-endian) order behind a byte-order mark. The file is not
// marked. Nothing is written when it can't be opened or locked or when there is no memory.
void LSaveTextAsUnicodeBOM(char const* szPath, LStringLongTemplate<char> const& szText) noexcept;

// Empties `szOut` and fills it with the UTF-8 of a text of UTF-16 that a zero unit ends. Returns its length in bytes.
std::size_t LCopyFromUnicode(LStringLongTemplate<char>& szOut, char16_t const* szIn) noexcept;

namespace LFile {

// Sets the extended attribute by which a file says that its text is UTF-8. False where that can't be done, for one on
// a file system without such attributes.
bool SetFileAttributeTextEncodingUTF8(char const* szPath) noexcept;

} // namespace LFile
