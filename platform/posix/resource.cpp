#include <sys/resource.h>

#include <algorithm>

// The calls of the kernel's library by their own symbols: the header redirects the plain names to this file.
extern "C" {
int KernelGetLimit(__rlimit_resource_t, rlimit*) noexcept __asm__("getrlimit");
int KernelSetLimit(__rlimit_resource_t, rlimit const*) noexcept __asm__("setrlimit");
}

namespace {

constexpr rlim_t kKernelInfinity = ~rlim_t(0);

rlim_t ToKernel(rlim_t nLimit) noexcept {
    return nLimit >= RLIM_INFINITY ? kKernelInfinity : nLimit;
}

} // namespace

int getrlimit(__rlimit_resource_t resource, rlimit* limit) noexcept {
    int const nResult = KernelGetLimit(resource, limit);
    if (nResult == 0)
        *limit = {std::min(limit->rlim_cur, RLIM_INFINITY), std::min(limit->rlim_max, RLIM_INFINITY)};
    return nResult;
}

int setrlimit(__rlimit_resource_t resource, rlimit const* limit) noexcept {
    rlimit const oKernels{ToKernel(limit->rlim_cur), ToKernel(limit->rlim_max)};
    return KernelSetLimit(resource, &oKernels);
}
