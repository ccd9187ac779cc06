#include <pwd.h>

#include "platform/testing/user_home.h"

#include <cerrno>
#include <cstring>
#include <mutex>

// The call of the kernel's library by its own symbol: the header redirects the plain name to this file.
extern "C" int KernelGetUser(uid_t, passwd*, char*, size_t, passwd**) __asm__("getpwuid_r");

namespace {

constinit std::mutex gMutex;

// What a test has said; guarded by gMutex. Never destroyed: threads ask while the process ends.
std::string& FakeHome() {
    static std::string& szHome = *new std::string;
    return szHome;
}

} // namespace

void PlatformSetUserHome(std::string const& szHome) {
    std::lock_guard const lock(gMutex);
    FakeHome() = szHome;
}

int getpwuid_r(uid_t user, passwd* entry, char* buffer, size_t size, passwd** found) {
    {
        std::lock_guard const lock(gMutex);
        if (std::string const& szHome = FakeHome(); !szHome.empty()) {
            *found = nullptr;
            if (szHome.size() >= size)
                return ERANGE;
            char* const szEmpty = buffer + szHome.size();
            std::memcpy(buffer, szHome.c_str(), szHome.size() + 1);
            *entry = {szEmpty, szEmpty, user, 0, szEmpty, buffer, szEmpty};
            *found = entry;
            return 0;
        }
    }
    return KernelGetUser(user, entry, buffer, size, found);
}
