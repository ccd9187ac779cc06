#include "platform/mach/thread_ports.h"

#include "platform/mach/ports.h"
#include "platform/posix/thread_end.h"
#include "platform/testing/threads.h"

#include <mach/mach.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <optional>
#include <pthread.h>
#include <unistd.h>
#include <utility>

// Names the calls of the kernel's library by their own symbols: the header redirects the plain names to this file.
extern "C" {
int KernelSetSchedParam(pthread_t, int, sched_param const*) noexcept __asm__("pthread_setschedparam");
int KernelGetSchedParam(pthread_t, int*, sched_param*) noexcept __asm__("pthread_getschedparam");
}

namespace {

constexpr int kDefaultPriority = 31, kMaxPriority = 127;

// One time-sharing quantum is 10 ms; half of it is computation.
constexpr thread_time_constraint_policy kDefaultPolicy{0, 5'000'000, 10'000'000, 1};
constexpr uint32_t kMinComputation = 50'000, kMaxComputation = 50'000'000;

struct Thread {
    pthread_t handle{};
    bool alive = true;
    int references = 0;
    int priority = kDefaultPriority;
    std::optional<thread_time_constraint_policy> timeConstraint;
};

// Every thread that has a port, and every ended one whose port somebody still holds. Never destroyed: threads end after
// the program's last destructor too.
struct Registry {
    std::mutex mutex; // guards all below; a leaf
    std::map<mach_port_name_t, Thread> threads;

    static Registry& Get() {
        static Registry& registry = *new Registry;
        return registry;
    }

    void Enter(pthread_t handle) {
        mach_port_name_t const name = platform::OwnThreadName();
        std::lock_guard const lock(mutex);
        threads[name].handle = handle;
    }

    void Leave(mach_port_name_t name) {
        std::lock_guard const lock(mutex);
        auto const it = threads.find(name);
        it->second.alive = false;
        if (it->second.references == 0)
            threads.erase(it);
    }

    mach_port_name_t NameOf(pthread_t handle) {
        std::lock_guard const lock(mutex);
        auto const it = std::find_if(threads.begin(), threads.end(), [&](auto const& entry) {
            return entry.second.alive && pthread_equal(entry.second.handle, handle);
        });
        return it == threads.end() ? MACH_PORT_NULL : it->first;
    }

    // The record of a living thread, or null. The mutex is held by the caller.
    Thread* FindLiving(mach_port_name_t name) {
        auto const it = threads.find(name);
        return it == threads.end() || !it->second.alive ? nullptr : &it->second;
    }
};

// In the thread's fixed part, as a signal handler may be the first to ask.
[[gnu::tls_model("initial-exec")]] constinit thread_local mach_port_name_t ownName = MACH_PORT_NULL;

// The calling thread's entry lasts from its first question until it ends.
mach_port_name_t OwnName() {
    static platform::ThreadEnd const leaving([](void*) { Registry::Get().Leave(ownName); });
    constinit thread_local bool isEntered = false;
    if (!std::exchange(isEntered, true)) {
        Registry::Get().Enter(pthread_self());
        leaving.Arrange(&ownName);
    }
    return ownName;
}

mach_port_name_t NameOf(pthread_t handle) {
    return pthread_equal(handle, pthread_self()) ? OwnName() : Registry::Get().NameOf(handle);
}

bool IsAcceptable(thread_time_constraint_policy const& policy) {
    return policy.computation >= kMinComputation && policy.computation <= kMaxComputation &&
           policy.constraint >= policy.computation;
}

} // namespace

mach_port_t const mach_task_self_ = 0x203;

mach_port_name_t platform::OwnThreadName() noexcept {
    if (ownName == MACH_PORT_NULL)
        ownName = NewPortName();
    return ownName;
}

std::mutex& platform::ThreadPortsMutex() noexcept {
    return Registry::Get().mutex;
}

int PlatformThreadPortReferences() {
    auto& registry = Registry::Get();
    std::lock_guard const lock(registry.mutex);
    int sum = 0;
    for (auto const& [name, thread] : registry.threads)
        sum += thread.references;
    return sum;
}

extern "C" {

mach_port_t mach_thread_self(void) {
    mach_port_name_t const name = OwnName();
    auto& registry = Registry::Get();
    std::lock_guard const lock(registry.mutex);
    auto const it = registry.threads.find(name);
    if (it == registry.threads.end())
        return MACH_PORT_NULL; // asked by a destructor of the thread's own that runs after the entry's
    ++it->second.references;
    return name;
}

kern_return_t mach_port_deallocate(mach_port_t task, mach_port_name_t name) {
    if (task != mach_task_self())
        return KERN_INVALID_TASK;
    if (kern_return_t const result = platform::ReleaseSendRight(name); result != KERN_INVALID_NAME)
        return result;
    auto& registry = Registry::Get();
    std::lock_guard const lock(registry.mutex);
    auto const it = registry.threads.find(name);
    if (it == registry.threads.end() || it->second.references == 0)
        return KERN_INVALID_NAME;
    if (--it->second.references == 0 && !it->second.alive)
        registry.threads.erase(it);
    return KERN_SUCCESS;
}

kern_return_t thread_policy_set(thread_act_t thread, thread_policy_flavor_t flavor, thread_policy_t policy_info,
                                mach_msg_type_number_t count) {
    if (flavor != THREAD_TIME_CONSTRAINT_POLICY || count < THREAD_TIME_CONSTRAINT_POLICY_COUNT)
        return KERN_INVALID_ARGUMENT;
    auto const& policy = *reinterpret_cast<thread_time_constraint_policy_t>(policy_info);
    auto& registry = Registry::Get();
    std::lock_guard const lock(registry.mutex);
    Thread* const target = registry.FindLiving(thread);
    if (!target || !IsAcceptable(policy))
        return KERN_INVALID_ARGUMENT;
    target->timeConstraint = policy;
    return KERN_SUCCESS;
}

kern_return_t thread_policy_get(thread_inspect_t thread, thread_policy_flavor_t flavor, thread_policy_t policy_info,
                                mach_msg_type_number_t* count, boolean_t* get_default) {
    if (flavor != THREAD_TIME_CONSTRAINT_POLICY || *count < THREAD_TIME_CONSTRAINT_POLICY_COUNT)
        return KERN_INVALID_ARGUMENT;
    auto& registry = Registry::Get();
    std::lock_guard const lock(registry.mutex);
    Thread const* const target = registry.FindLiving(thread);
    if (!target)
        return KERN_INVALID_ARGUMENT;
    *get_default = *get_default || !target->timeConstraint;
    *reinterpret_cast<thread_time_constraint_policy_t>(policy_info) =
        *get_default ? kDefaultPolicy : *target->timeConstraint;
    *count = THREAD_TIME_CONSTRAINT_POLICY_COUNT;
    return KERN_SUCCESS;
}

int pthread_main_np(void) {
    return getpid() == gettid();
}

mach_port_t pthread_mach_thread_np(pthread_t thread) {
    return NameOf(thread);
}

int pthread_setschedparam(pthread_t thread, int policy, sched_param const* parameters) noexcept {
    if (policy != SCHED_OTHER)
        return KernelSetSchedParam(thread, policy, parameters);
    if (parameters->sched_priority < 0 || parameters->sched_priority > kMaxPriority)
        return EINVAL;
    mach_port_name_t const name = NameOf(thread);
    auto& registry = Registry::Get();
    std::lock_guard const lock(registry.mutex);
    Thread* const target = registry.FindLiving(name);
    if (!target)
        return ESRCH;
    // A thread that was given one of the kernel's real-time policies goes back to sharing time.
    sched_param const ordinary{};
    if (int const error = KernelSetSchedParam(thread, SCHED_OTHER, &ordinary); error != 0)
        return error;
    target->priority = parameters->sched_priority;
    target->timeConstraint.reset();
    return 0;
}

int pthread_getschedparam(pthread_t thread, int* policy, sched_param* parameters) noexcept {
    if (int const error = KernelGetSchedParam(thread, policy, parameters); error != 0 || *policy != SCHED_OTHER)
        return error;
    mach_port_name_t const name = NameOf(thread);
    auto& registry = Registry::Get();
    std::lock_guard const lock(registry.mutex);
    Thread const* const target = registry.FindLiving(name);
    if (!target)
        return ESRCH;
    parameters->sched_priority = target->priority;
    return 0;
}

} // extern "C"
