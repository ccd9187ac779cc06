// Another process that holds a lock on a file until it is killed.
#pragma once

#include "tests/harness/child_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <string>

// `nLock` as for flock. Held when the constructor returns.
struct LockHolder : ChildProcess {
    LockHolder(std::string const& szPath, int nLock)
        : ChildProcess([&](Door const& oDoor) {
              if (flock(open(szPath.c_str(), O_RDWR), nLock) != 0)
                  return 1;
              oDoor.SayReady();
              return oDoor.Rest();
          }) {
        EXPECT_TRUE(WaitUntilReady());
    }
};
