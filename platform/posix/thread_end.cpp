#include "platform/posix/thread_end.h"

namespace platform {

ThreadEnd::ThreadEnd(void (*pAtEnd)(void* pArgument)) noexcept {
    pthread_key_t nNew;
    if (pthread_key_create(&nNew, pAtEnd) == 0)
        nKey = nNew;
}

bool ThreadEnd::Arrange(void* pArgument) const noexcept {
    return nKey && pthread_setspecific(*nKey, pArgument) == 0;
}

} // namespace platform
