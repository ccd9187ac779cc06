// What is on the disk at a path, and folders made. Any thread.
#pragma once

namespace LFile {

// Whether anything can be reached at the path; a symbolic link counts as what it leads to.
bool FileExists(char const* szPath) noexcept;
// Whether a folder, or a link to one, is there.
bool FolderExists(char const* szPath) noexcept;
// Whether a regular file, or a link to one, is there.
bool RegularFileExists(char const* szPath) noexcept;

// Makes the folder, and first every folder above it that is missing, each with mode 0777 (less the process's umask).
// False when one can't be made, and also when the folder is there already: ask FolderExists first. With a separator at
// its end the path names what was made a moment ago as the folder above, and is refused for that: leave it off. A path
// of 260 bytes or more is refused before anything is made.
bool CreateFolderTree(char const* szFolder) noexcept;

} // namespace LFile
