#include "platform/testing/threads.h"

#include <gtest/gtest.h>

#include <mach/mach.h>

#include <pthread.h>
#include <thread>

namespace {

kern_return_t SetPolicy(mach_port_t nThread, thread_time_constraint_policy oPolicy) {
    return thread_policy_set(nThread, THREAD_TIME_CONSTRAINT_POLICY, reinterpret_cast<thread_policy_t>(&oPolicy),
                             THREAD_TIME_CONSTRAINT_POLICY_COUNT);
}

} // namespace

TEST(ThreadPort, OutlivesItsThreadWhileItIsHeld) {
    mach_port_t nPort = MACH_PORT_NULL;
    std::thread([&] {
        nPort = mach_thread_self();
        EXPECT_EQ(mach_thread_self(), nPort);
        EXPECT_EQ(pthread_mach_thread_np(pthread_self()), nPort);
        EXPECT_EQ(SetPolicy(nPort, {0, 1'000'000, 2'000'000, 1}), KERN_SUCCESS);
    }).join();
    EXPECT_EQ(PlatformThreadPortReferences(), 2);
    EXPECT_EQ(SetPolicy(nPort, {0, 1'000'000, 2'000'000, 1}), KERN_INVALID_ARGUMENT) << "a dead thread";
    EXPECT_EQ(mach_port_deallocate(mach_task_self(), nPort), KERN_SUCCESS);
    EXPECT_EQ(mach_port_deallocate(mach_task_self() + 1, nPort), KERN_INVALID_TASK);
    EXPECT_EQ(mach_port_deallocate(mach_task_self(), nPort), KERN_SUCCESS);
    EXPECT_EQ(mach_port_deallocate(mach_task_self(), nPort), KERN_INVALID_NAME);
    EXPECT_EQ(PlatformThreadPortReferences(), 0);
}

TEST(ThreadPort, PoliciesOutOfRangeAreRefused) {
    mach_port_t const nSelf = pthread_mach_thread_np(pthread_self());
    EXPECT_EQ(SetPolicy(nSelf, {0, 49'999, 2'000'000, 1}), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(SetPolicy(nSelf, {0, 50'000'001, 60'000'000, 1}), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(SetPolicy(nSelf, {0, 2'000'000, 1'999'999, 1}), KERN_INVALID_ARGUMENT);
}
