// Folders measured, copied and deleted, built on FolderIterator.
//
// Nothing here follows a symbolic link that it finds in a folder: a link is deleted, measured and copied as a link, and
// a folder to be listed or deleted is entered through the folder above it, so that nobody can put a link in its place
// meanwhile. Copies are written by path: the target must not be another user's to change. Missing folders, entries that
// can't be read and deletions that fail are passed over. What lies so deep that its path does not fit in 259 bytes is
// left alone. Any thread; two calls on one tree are the caller's to avoid.
#pragma once

#include <cstdint>

namespace LFile {

// Removes the files of the folder that match the pattern and were made more than so many days ago, whenever they were
// changed since; links by their own age, folders never. Nothing for less than 1 day. More than 24855 days count as
// that.
void DeleteOldFiles(char const* szFolder, char const* szPattern, int nDays) noexcept;

// The bytes in the files of the folder and, recursive, of those below; 0 when there is no such folder. The folder
// itself may be given by a link. Given a file, it measures the files beside it.
std::int64_t GetFolderSizeBytes(char const* szFolder, bool bRecursive) noexcept;

// Copies a file or a link with its data, mode, owner as far as allowed, times, extended attributes and access lists. A
// target that exists is replaced in one step, by a copy that is whole: on failure the old file is there as it was, and
// the result is false. Without a target before, the result is always true, even when nothing could be copied.
bool CopyFile(char const* szSource, char const* szTarget) noexcept;

// Copies all that is in one folder into another, which is made if need be, as are the folders in it; files that are
// there already are replaced as CopyFile does it. Folders are made anew, mode 0777 less the umask, whatever their
// source's attributes. A target inside the source is not copied into itself.
void CopyFolderFiles(char const* szSourceFolder, char const* szTargetFolder) noexcept;

// Deletes the folder and all that is in it. True when the folder itself is gone in the end; a link to a folder is left
// alone (false).
bool DeleteFolderTree(char const* szFolder) noexcept;
// The same, and where a folder is busy tries again to remove it: after nTimeoutMs / 128 ms (rounded up), twice that and
// so on, while less than nTimeoutMs in all has passed in pauses for that folder.
bool DeleteFolderTree(char const* szFolder, unsigned int nTimeoutMs) noexcept;
// The same as the first, and files that are locked or immutable go too, if this user may unlock them.
bool DeleteFolderTreeAlways(char const* szFolder) noexcept;
// Deletes the folder's files and then the folder, which works when it holds no other folder.
bool DeleteFolderAndFiles(char const* szFolder) noexcept;

} // namespace LFile
