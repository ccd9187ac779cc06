// Bookmark data: what a file is known by, in bytes, and the file found again. docs/bookmark_data.md has the layout.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Any thread. What comes from outside is checked before it is believed.
class Bookmark {
public:
    // Nothing when the path leads to no file; errno says why.
    static std::optional<Bookmark> OfFile(std::string const& szPath);
    static std::optional<Bookmark> FromBytes(std::string_view szBytes);
    std::string Bytes() const;

    // Where the file is now, and whether that is elsewhere or another file than when the bookmark was made. Nothing
    // when it is gone.
    struct Place {
        std::string szPath;
        bool bStale;
    };
    std::optional<Place> Find() const;

private:
    bool IsAt(std::string const& szFile) const;
    std::optional<std::string> FindByHandle(bool& bGone) const; // bGone: the kernel knows that there is no such file
    std::optional<std::string> FindBelow(std::string const& szFolder, std::string const& szSeen, int& nLeft,
                                         bool bDeep) const;
    std::optional<std::string> FindByNode() const;

    std::uint64_t nNode = 0; // number in its file system
    std::int64_t nBirthSeconds = 0;
    std::uint32_t nBirthNanoseconds = 0;
    std::int32_t nHandleType = 0;
    std::string szHandle; // the kernel's, "" when it gives none
    std::string szPath;
};
