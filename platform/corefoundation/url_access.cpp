// Files behind URLs, read and written whole.
#include "platform/corefoundation/data_object.h"
#include "platform/corefoundation/url_object.h"

#include <CoreFoundation/CFURL.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class Descriptor {
public:
    explicit Descriptor(int nTheDescriptor) noexcept : nDescriptor(nTheDescriptor) {}
    ~Descriptor() {
        if (nDescriptor >= 0)
            close(nDescriptor);
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    int Get() const noexcept { return nDescriptor; }

private:
    int nDescriptor;
};

// What takes no end in the place of a file is not to take all memory.
constexpr size_t kLargestFile = 256 << 20;

// 0 or an errno number.
int ReadWhole(std::string const& szPath, std::vector<UInt8>& lBytes) {
    Descriptor const oFile(open(szPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)); // a pipe may have no other end
    struct stat status;
    if (oFile.Get() < 0 || fstat(oFile.Get(), &status) != 0)
        return errno;
    if (!S_ISREG(status.st_mode))
        return S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP;
    constexpr size_t kChunk = 64 * 1024;
    for (;;) {
        size_t const nBefore = lBytes.size();
        lBytes.resize(nBefore + kChunk);
        ssize_t const nRead = read(oFile.Get(), lBytes.data() + nBefore, kChunk);
        int const nError = errno;
        lBytes.resize(nBefore + static_cast<size_t>(std::max<ssize_t>(nRead, 0)));
        if (nRead == 0)
            return 0;
        if (lBytes.size() > kLargestFile)
            return EFBIG;
        if (nRead < 0 && nError != EINTR)
            return nError;
    }
}

int WriteAll(int nDescriptor, std::span<UInt8 const> bytes) {
    while (!bytes.empty()) {
        ssize_t const nWritten = write(nDescriptor, bytes.data(), bytes.size());
        if (nWritten < 0 && errno != EINTR)
            return errno;
        bytes = bytes.subspan(static_cast<size_t>(std::max<ssize_t>(nWritten, 0)));
    }
    return fsync(nDescriptor) == 0 || errno == EINVAL ? 0 : errno; // EINVAL: nothing there that could be flushed
}

// A new file beside `szPath`, its name in `szTemporary`; what a crash left under such a name is passed over.
int CreateBeside(std::string const& szPath, std::string& szTemporary) {
    static std::atomic<unsigned> nNext{0};
    int nDescriptor = -1;
    for (int nTry = 0; nTry < 100 && nDescriptor < 0 && (nTry == 0 || errno == EEXIST); ++nTry) {
        szTemporary = szPath + "." + std::to_string(getpid()) + "." + std::to_string(nNext++);
        nDescriptor = open(szTemporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    }
    return nDescriptor;
}

// Beside the file and then in its place, so that whoever reads it sees the old bytes or the new.
int ReplaceWhole(std::string const& szPath, std::span<UInt8 const> bytes) {
    struct stat status;
    bool const bThere = stat(szPath.c_str(), &status) == 0;
    if (bThere && !S_ISREG(status.st_mode)) // a device would be gone
        return S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP;
    std::string szTemporary;
    Descriptor const oFile(CreateBeside(szPath, szTemporary));
    if (oFile.Get() < 0)
        return errno;
    int nError = 0;
    if (bThere && fchmod(oFile.Get(), status.st_mode & 07777) != 0)
        nError = errno;
    if (nError == 0)
        nError = WriteAll(oFile.Get(), bytes);
    if (nError == 0 && rename(szTemporary.c_str(), szPath.c_str()) != 0)
        nError = errno;
    if (nError != 0)
        unlink(szTemporary.c_str());
    return nError;
}

Boolean Answer(int nError, SInt32* errorCode) {
    if (errorCode)
        *errorCode = nError;
    return nError == 0;
}

} // namespace

Boolean CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef, CFURLRef url, CFDataRef* data, CFDictionaryRef*,
                                                 CFArrayRef, SInt32* errorCode) {
    auto const path = cf::FilePath(url);
    std::vector<UInt8> lBytes;
    int const nError = path ? ReadWhole(*path, lBytes) : EINVAL;
    if (data)
        *data = nError == 0 ? new __CFData(std::move(lBytes), false) : nullptr;
    return Answer(nError, errorCode);
}

Boolean CFURLWriteDataAndPropertiesToResource(CFURLRef url, CFDataRef data, CFDictionaryRef, SInt32* errorCode) {
    auto const path = cf::FilePath(url);
    return Answer(path ? ReplaceWhole(*path, data->Bytes()) : EINVAL, errorCode);
}
