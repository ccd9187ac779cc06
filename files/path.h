// Paths joined and taken apart.
//
// Every path is NUL-terminated UTF-8 in a caller's buffer of 260 bytes (kLNameSize). A result that does not fit is cut
// to 259 bytes and never written past them. Nothing allocates, nothing is looked up on the disk, and an output may be
// the same buffer as any input. Slash and backslash both separate; a new separator is always a slash. An extension
// carries its dot. Any thread.
#pragma once

#include "base/fixed_text.h"

namespace LFile {

// folder + "/" (unless the folder is empty or ends with a separator) + name + ext. Takes at most 258 bytes of the
// folder. Returns what the whole path takes, as snprintf does: the path is whole when the result is below kLNameSize;
// whoever is about to write or delete there must look, for a path that was cut may be somebody else's.
int _MakeFilePath(char* szOut, char const* szFolder, char const* szName, char const* szExt) noexcept;

// The same with a name formatted by printf's rules (cut to 259 bytes) and no extension.
[[gnu::format(printf, 3, 4)]] void MakeFilePathF(char* szOut, char const* szFolder, char const* szFormat, ...) noexcept;

// Joins parts that come from elsewhere. Each is cut first: the folder to what follows its last "." (and the separator
// right behind that), so that no "../" is left; the name to what follows its last separator; the extension to its last
// "." or to what follows its last separator. Result as _MakeFilePath.
int _MakeFilePathSecure(char* szOut, char const* szFolder, char const* szName, char const* szExt) noexcept;

// All but the last part, without the separator: "/a/b" and "/a/b/" for "/a/b/c"; "/" for "/c" and "" for "c".
// Returns the length of the result.
std::size_t _GetFolderFromPath(char* szOut, char const* szPath) noexcept;

// The first part: "/Volumes" for "/Volumes/Disk/x", "C:" for "C:\dir". Returns the length of the result.
std::size_t _GetBaseFolderFromPath(char* szOut, char const* szPath) noexcept;

// The last part with its extension: "c.txt" for "/a/c.txt", "" for "/a/".
void _GetFileFromPath(char* szOut, char const* szPath) noexcept;

// The last part without its extension; a leading dot is part of the name: "c" for "/a/c.txt", ".profile" for
// "/a/.profile". Returns where in the last part the dot was that went, 0 when nothing went.
std::size_t _GetFileNameFromPath(char* szOut, char const* szPath) noexcept;

// The extension with its dot: ".txt" for "/a/c.txt", "" for "/a.b/c". A leading dot counts: ".profile" for
// "/a/.profile".
void _GetFileExtensionFromPath(char* szOut, char const* szPath) noexcept;

// Replaces the extension or, where there is none, appends the new one. Behind a path of nearly 259 bytes the extension
// is cut, or left out: whoever is about to write there must look whether the result ends with it.
void _ApplyNewFileExtension(char* szOut, char const* szPath, char const* szNewExt) noexcept;

} // namespace LFile
