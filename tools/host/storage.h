// What a plug-in asked its host to keep: a property list in a file of the host's.
#pragma once

#include "base/mutex.h"
#include "tools/host/cf_text.h"

#include <string>

// Any thread. The file is read at construction and written whole at each change: to a new file, which then takes the
// name, so that a reader or a crash sees the old contents or the new.
class Storage {
public:
    // `szFolder` is made if need be, with mode 0700. A file that is not a property list is moved aside, with a line on
    // standard error, and storage starts empty. Throws Failure(Service) when the folder can't be made or read.
    explicit Storage(std::string const& szFolder);

    // The value, one reference for the caller; null when there is none.
    CFPropertyListRef Copy(CFStringRef pKey) EXCLUDES(mtx);
    // False when the file can't be written (a line on standard error says why); memory then holds the change anyway.
    bool Write(CFStringRef pKey, CFPropertyListRef pValue) EXCLUDES(mtx);
    bool Delete(CFStringRef pKey) EXCLUDES(mtx);

    std::string const& Path() const noexcept { return szPath; }

private:
    void Load() REQUIRES(mtx);
    bool Save() REQUIRES(mtx);

    std::string szPath;
    LMutex mtx;
    LCFOwner<CFMutableDictionaryRef> pItems GUARDED_BY(mtx);
};

// Where a host keeps it when nobody says: $XDG_STATE_HOME/lumora, or ~/.local/state/lumora.
std::string DefaultStateFolder();
