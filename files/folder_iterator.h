// One folder listed.
#pragma once

#include "base/fixed_text.h"

#include <dirent.h>

namespace LFile {

// Lists the entries of one folder whose names match a pattern, in the order in which the file system has them. Entries
// that come or go meanwhile may be listed or not. A folder given by a symbolic link is listed; an entry that is a link
// is never taken for a folder. One thread.
class FolderIterator {
public:
    FolderIterator() noexcept = default;
    FolderIterator(FolderIterator const&) = delete;
    FolderIterator& operator=(FolderIterator const&) = delete;
    virtual ~FolderIterator();

    // Closes what is open, opens the folder and moves to the first match. False when there is none or no such folder.
    bool Start(char const* szFolderToList, char const* szPatternToMatch) noexcept;

    // The same for a folder with all its entries or, when a regular file is at the path, for that file in its folder.
    bool Start(char const* szPath) noexcept;

    // The same for all entries of a folder that must not be a link itself, also with slashes behind it.
    bool StartNotFollowing(char const* szFolderToList) noexcept;
    // And for the folder that is the current entry of another iterator, whatever has become of the path to it. False
    // also when its path does not fit.
    bool StartBelow(FolderIterator const& oParent) noexcept;

    // Moves to the next match; false at the end, where the folder is closed.
    bool Next() noexcept;
    // Moves to the next entry whatever its name.
    bool _GetNextFile() noexcept;
    void Close() noexcept;

    // "." and "..", and the names that begin with "__MACOSX", which hold what archives put beside a file.
    bool IsDotFolderOrMetadata(char const* szName) const noexcept;
    // Whether the listing takes this name: it matches the pattern and is none of those.
    virtual bool _Matches(char const* szName) const noexcept;

    char const* GetName() const noexcept { return oEntry.d_name; } // of the current entry, "" when there is none
    char const* GetFolder() const noexcept { return szFolder; }    // as it was given, cut to 259 bytes
    bool IsDotFolder() const noexcept;                             // the current entry is "." or ".."
    bool IsFolder() const noexcept;                                // the current entry is a folder, and no link
    int GetDescriptor() const noexcept;                            // of the open folder, -1 when none is open

    // Joins the folder and the current name. False when the path does not fit; what is at the cut one is none of ours.
    bool GetPath(char* szOut) const noexcept;

private:
    bool StartAt(int hParent, char const* szOpen, int nFlags, char const* szFolderToKeep, char const* szPatternToKeep,
                 bool bExact) noexcept;
    bool IsFileAskedFor(char const* szName) const noexcept;

    DIR* pFolder = nullptr; // null when no folder is open or its end is reached
    dirent oEntry{};
    char szFolder[kLNameSize] = "";
    char szPattern[kLNameSize] = "";
    bool bExactName = false; // the pattern is the name of one file, to be taken literally
};

// Lists every entry, "." and ".." too.
class FolderIteratorAllFiles : public FolderIterator {
public:
    bool _Matches(char const* szName) const noexcept override;
};

} // namespace LFile
