// The process's container and the way out of it; the user's real home, outside of any container. Any thread.
#pragma once

namespace LFile {

// Whether the path begins with the process's home folder (NSHomeDirectory), letter case ignored.
bool IsPathInSandbox(char const* szPath) noexcept;

// Where a path of the container really leads when a symbolic link on its way leaves the container. True with that place
// in `szOut`, 260 bytes, or with "" when the place does not fit; false with "" when it stays inside.
bool MakeNonSandboxedFilePath(char* szOut, char const* szPath) noexcept;

// The user's home by the password database, 260 bytes. False with "" when it has none.
bool GetUserFolderNonSandboxed(char* szOut) noexcept;

} // namespace LFile
