#include "base/file_descriptor.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>

TEST(FileDescriptor, ClosesWhatItReplacesAndWhatItHeldLastUnlessGivenAway) {
    int const nFirst = open("/dev/null", O_RDONLY | O_CLOEXEC);
    int const nSecond = open("/dev/null", O_RDONLY | O_CLOEXEC);
    {
        LFileDescriptor oFile(nFirst), oOther(nSecond);
        errno = EIO;
        oFile = std::move(oOther);
        EXPECT_EQ(errno, EIO);
        EXPECT_EQ(fcntl(nFirst, F_GETFD), -1);
        LFileDescriptor const& oSame = oFile;
        oFile = std::move(const_cast<LFileDescriptor&>(oSame)); // onto itself: nothing is lost
        LFileDescriptor const oGiven(oFile.Release());
        oFile.Reset();
        EXPECT_NE(fcntl(oGiven.Get(), F_GETFD), -1);
    }
    EXPECT_EQ(fcntl(nSecond, F_GETFD), -1);
}
