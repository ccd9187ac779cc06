// A preference file: read whole, replaced whole.
#pragma once

#include "platform/corefoundation/object.h"
#include "platform/filesystem/descriptor.h"

#include <CoreFoundation/CFString.h>

#include <sys/stat.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace cf {

struct Preference {
    Held<CFStringRef> key;
    Held<CFPropertyListRef> value; // null in a list of changes: removed
};

// More is neither read nor written: whatever lies in a file's place, it takes no more memory than that allows.
inline constexpr size_t kLargestPreferenceFile = 16 << 20;

// By the units of the key, which the entry holds.
using Preferences = std::map<std::u16string_view, Preference>;

void Store(Preferences& lTo, CFStringRef key, CFPropertyListRef value);

// Whether a file could hold it: one value that it can't hold would keep all others from being written.
bool CanBeKept(CFStringRef key, CFPropertyListRef value) noexcept;

// Which file was read, and as it was when. No two files that Replace makes at one path look alike.
struct FileIdentity {
    FileIdentity() = default;
    explicit FileIdentity(struct stat const& oStatus) noexcept
        : nDevice(oStatus.st_dev), nFile(oStatus.st_ino), nSize(oStatus.st_size), tChanged(oStatus.st_mtim) {}
    bool operator==(FileIdentity const& oOther) const noexcept {
        return nDevice == oOther.nDevice && nFile == oOther.nFile && nSize == oOther.nSize &&
               tChanged.tv_sec == oOther.tChanged.tv_sec && tChanged.tv_nsec == oOther.tChanged.tv_nsec;
    }

    dev_t nDevice = 0;
    ino_t nFile = 0; // 0 where there is no file
    off_t nSize = 0;
    timespec tChanged{};
};

// One thread at a time.
class PreferenceFile {
public:
    enum class State {
        kUnread,
        kAbsent,
        kRead,
        kDamaged, // read, and no property list with a dictionary at its top
        kFailed,  // there, and can't be read, or too large, or no file
    };

    // Files for every user are readable for every user.
    PreferenceFile(std::string szFile, bool bForEverybody) : szPath(std::move(szFile)), bShared(bForEverybody) {}

    // The values when the file is another than last time; nullopt when it is the same. Those of a file that can't be
    // understood or can't be read are none.
    std::optional<Preferences> ReadIfChanged() noexcept;
    State Now() const noexcept { return eState; }
    std::string const& Path() const noexcept { return szPath; }

    // Keeps other processes from writing in this folder, once it has made the folder.
    class WriteLock {
    public:
        explicit WriteLock(PreferenceFile const& oFile) noexcept;
        ~WriteLock();
        WriteLock(WriteLock const&) = delete;
        WriteLock& operator=(WriteLock const&) = delete;
        bool IsHeld() const noexcept { return bHeld; }
        int Folder() const noexcept { return oFolder.Get(); }

    private:
        Descriptor oFolder;
        bool bHeld = false;
    };

    // Under the lock, and after a ReadIfChanged that did not fail: puts a file of these values in the place of the old
    // one, on the disk by the time it returns. One that could not be understood is set aside first. False leaves the
    // old file as it was.
    bool Replace(Preferences const& lValues, WriteLock const& oLock) noexcept;

private:
    int OpenFolder() const noexcept;
    bool SetAside() const noexcept;
    bool WriteNew(std::string const& szNew, std::string_view szBytes, FileIdentity& oWritten) const noexcept;

    std::string const szPath;
    bool const bShared;
    State eState = State::kUnread;
    FileIdentity oIdentity;
};

} // namespace cf
