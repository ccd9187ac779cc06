#include "base/file_descriptor.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>

TEST(FileDescriptor, ClosesWhatItReplacesAndWhatItHeldLast) {
    int const nFirst = open("/dev/null", O_RDONLY | O_CLOEXEC);
    int const nSecond = open("/dev/null", O_RDONLY | O_CLOEXEC);
    {
        LFileDescriptor oFile(nFirst), oOther(nSecond);
        errno = EIO;
        oFile = std::move(oOther);
        EXPECT_EQ(errno, EIO);
        EXPECT_EQ(fcntl(nFirst, F_GETFD), -1);
        EXPECT_EQ(oFile.Get(), nSecond);
        EXPECT_FALSE(oOther.IsOpen());
        LFileDescriptor const& oSame = oFile;
        oFile = std::move(const_cast<LFileDescriptor&>(oSame)); // onto itself: nothing is lost
        EXPECT_EQ(oFile.Get(), nSecond);
    }
    EXPECT_EQ(fcntl(nSecond, F_GETFD), -1);
}

TEST(FileDescriptor, GivesItsDescriptorAway) {
    LFileDescriptor oFile(open("/dev/null", O_RDONLY | O_CLOEXEC));
    int const nGiven = oFile.Release();
    EXPECT_FALSE(oFile.IsOpen());
    oFile.Reset();
    EXPECT_NE(fcntl(nGiven, F_GETFD), -1);
    close(nGiven);
}
