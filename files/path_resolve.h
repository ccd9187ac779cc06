// Paths made absolute, relative and unique. Buffers, cuts and aliasing as in files/path.h. Any thread.
#pragma once

#include "files/path.h"

namespace LFile {

// A path that begins with a separator, or with a drive ("C:"), is absolute: out = path + ext. Any other is joined to
// the base folder; its leading "./" and "../" are resolved, a "../" taking the base's last part: the last folder of a
// base that ends with a separator, the file name of a base that does not. The base's first folder is never taken.
void MakeAbsoluteFilePath(char* szOut, char const* szBaseFolder, char const* szPath, char const* szExt) noexcept;

// What is left of the path behind the base folder, without a separator in front; "" for the folder itself. False, and
// "", when the path does not lie in the base folder (letter case counts; the two separators are equal).
bool GetRelativePathFromAbsolutePath(char* szOut, char const* szBaseFolder, char const* szPath) noexcept;

// The first of name, name_0, name_1, ... that nothing has yet in the folder, joined with the extension. A symbolic link
// counts, wherever it leads. Returns szOut. A path that is cut to fit will do as long as nothing is there; when
// something is, and no name with a counter fits, the result is "", which nothing can be created at. Another process may
// take the name between this call and the next: create with O_EXCL.
char* MakeUniqueOrderedFilePath(char* szOut, char const* szFolder, char const* szName, char const* szExt) noexcept;

// The mount point of the file system that holds the path. When that can't be had: "name:\" for a path that begins with
// ASCII letters and digits, "/" for one that begins with a slash, else "".
void GetHumanReadableDriveFromPath(char* szOut, char const* szPath) noexcept;

} // namespace LFile
