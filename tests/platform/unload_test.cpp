// Threads that go on while the host unloads a bundle: the bundle waits for them, and the host holds the loader's lock.
#include "tests/platform/waiting.h"

#include <Foundation/NSData.h>
#include <gtest/gtest.h>
#include <mach/mach.h>
#include <xpc/xpc.h>

#include <dlfcn.h>
#include <thread>

namespace {

// What a thread keeps something of until it ends.
struct Row {
    char const* szWhat;
    void (*pDo)();
};
Row const kRows[] = {
    {"a block of audio",
     [] {
         char const aBlock[4096] = {};
         xpc_release(xpc_data_create(aBlock, sizeof aBlock));
     }},
    {"the thread's port", [] { mach_port_deallocate(mach_task_self(), mach_thread_self()); }},
    {"an autoreleased object", [] { NSData::dataWithBytes("", 0); }},
};

WordLog* pDone;
std::vector<std::thread>* plThreads; // ended after the unload, whatever that waited for in vain

// On a new thread each, as each row is about a thread's first time.
void DoAllAndWait() {
    for (Row const& oRow : kRows)
        plThreads->emplace_back([&oRow] {
            oRow.pDo();
            pDone->Add(oRow.szWhat);
        });
    auto const lDone = pDone->WaitFor(std::size(kRows));
    for (Row const& oRow : kRows)
        EXPECT_EQ(1, std::ranges::count(lDone, oRow.szWhat)) << oRow.szWhat;
}

} // namespace

TEST(Unload, WhatAThreadDoesForTheFirstTimeNeedsNothingOfTheLoader) {
    WordLog oDone;
    std::vector<std::thread> lThreads;
    pDone = &oDone;
    plThreads = &lThreads;
    void* const pLoaded = dlopen(LUMORA_LOADABLE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(pLoaded) << dlerror();
    *static_cast<void (**)()>(dlsym(pLoaded, "LoadableAtUnload")) = DoAllAndWait;
    dlclose(pLoaded);
    EXPECT_EQ(std::size(kRows), lThreads.size()) << "unloaded";
    for (std::thread& oThread : lThreads)
        oThread.join();
}
