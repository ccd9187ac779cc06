#include "files/system_folders.h"
#include "runtime/diagnostics/hang_detector.h"
#include "tests/harness/child_process.h"
#include "tests/harness/temporary_folder.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

// A home of one's own, with the run-lock file of one user in it.
class HangDetector : public testing::Test {
protected:
    HangDetector() {
        for (char const* const szVariable : {"XDG_CACHE_HOME", "XDG_DATA_HOME", "USER"})
            unsetenv(szVariable);
        setenv("HOME", oHome.Path().c_str(), 1);
        setenv("LOGNAME", "alice", 1);
        gLHangDetector->emplace();
    }
    ~HangDetector() override { gLHangDetector->reset(); }

    // Where the file of that name is, in whatever folder the platform has for caches; "" when it is nowhere.
    std::string Find(std::string const& szName) const {
        for (auto const& oEntry : fs::recursive_directory_iterator(oHome.Path()))
            if (oEntry.path().filename() == szName)
                return oEntry.path();
        return "";
    }
    bool IsThere() const { return Find(kFile) != ""; }

    // Held as a process that is alive holds it.
    bool IsHeld() const {
        LFileDescriptor const oFile(open(Find(kFile).c_str(), O_RDWR | O_EXLOCK | O_NONBLOCK));
        return !oFile.IsOpen();
    }

    static constexpr char kFile[] = "_LumoraVADPlugin_rl_alice";
    TemporaryFolder const oHome;
};

} // namespace

TEST_F(HangDetector, MakesOneFileARunAndDeletesTheOneOfARunThatIsGone) {
    EXPECT_FALSE(IsThere()); // the path only
    // Not std::time, whose clock is a few milliseconds late.
    auto const Seconds = [] {
        return static_cast<std::uint64_t>(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()));
    };
    auto const nBegin = Seconds();
    LDebugHangDetectorInit(nullptr);
    ASSERT_TRUE(IsThere());
    EXPECT_TRUE(IsHeld());
    std::uint64_t arRecord[3] = {};
    std::ifstream(Find(kFile), std::ios::binary).read(reinterpret_cast<char*>(arRecord), sizeof arRecord);
    EXPECT_EQ(fs::file_size(Find(kFile)), 16u);
    EXPECT_GE(arRecord[0], nBegin);
    EXPECT_LE(arRecord[0], Seconds());
    EXPECT_LT(static_cast<std::uint32_t>(arRecord[1] - arRecord[0] * 1000), 1000u);
    EXPECT_EQ(arRecord[1] >> 32, 0u);
    EXPECT_EQ(ChildProcess([this](auto const&) { // closed in a program that the process starts
                  return execlp("sh", "sh", "-c", ("! ls -l /proc/$$/fd | grep -q " + std::string(kFile)).c_str(),
                                nullptr);
              })
                  .Wait(),
              0);

    LDebugHangDetectorInit(nullptr); // again in this process
    EXPECT_FALSE(IsThere());
    LDebugHangDetectorInit(nullptr);
    EXPECT_TRUE(IsHeld());

    fs::path const oFolder = fs::path(Find(kFile)).parent_path();
    LDebugHangDetectorDestroy();
    EXPECT_FALSE(IsThere());
    std::ofstream(oFolder / kFile) << "stale, and short";
    LDebugHangDetectorInit(nullptr);
    EXPECT_FALSE(IsThere());
}

TEST_F(HangDetector, LeavesTheFileOfALivingProcessAloneUntilItEnds) {
    gLHangDetector->reset();
    ChildProcess oOther([](ChildProcess::Door const& oDoor) {
        gLHangDetector->emplace();
        LDebugHangDetectorInit(nullptr);
        oDoor.SayReady();
        return oDoor.Rest();
    });
    ASSERT_TRUE(oOther.WaitUntilReady());
    gLHangDetector->emplace();
    LDebugHangDetectorInit(nullptr);
    EXPECT_TRUE(IsHeld());
    oOther.Kill();
    LDebugHangDetectorInit(nullptr); // finds it, without a holder
    EXPECT_FALSE(IsThere());
    LDebugHangDetectorInit(nullptr);
    EXPECT_TRUE(IsHeld());
}

TEST_F(HangDetector, NamesTheFileAfterTheUserAndTakesMarkersAwayOnlyAtItsEnd) {
    for (auto const& [szLogName, szUser, szFile] :
         std::vector<std::array<char const*, 3>>{{"alice", "bob", "_LumoraVADPlugin_rl_alice"},
                                                 {"", "bob", "_LumoraVADPlugin_rl_bob"},
                                                 {nullptr, "bob", "_LumoraVADPlugin_rl_bob"},
                                                 {nullptr, "", "_LumoraVADPlugin_rl_"},
                                                 {nullptr, nullptr, "_LumoraVADPlugin_rl_"}}) {
        szLogName ? setenv("LOGNAME", szLogName, 1) : unsetenv("LOGNAME");
        szUser ? setenv("USER", szUser, 1) : unsetenv("USER");
        gLHangDetector->emplace();
        LDebugHangDetectorInit(nullptr);
        EXPECT_NE(Find(szFile), "") << szFile;
        gLHangDetector->reset();
        EXPECT_EQ(Find(szFile), "") << szFile;
    }
    setenv("LOGNAME", std::string(300, 'x').c_str(), 1);
    gLHangDetector->emplace();
    LDebugHangDetectorInit(nullptr); // the name does not fit: no file at all, and none deleted
    for (auto const& oEntry : fs::recursive_directory_iterator(oHome.Path()))
        EXPECT_FALSE(oEntry.is_regular_file()) << oEntry.path();

    char szFolder[kLNameSize];
    ASSERT_TRUE(LFile::FindUserDataFolder(szFolder));
    fs::create_directories(szFolder);
    for (bool const bDestroy : {false, true}) {
        for (char const* const szMarker : {"LumoraVADPlugin_IP_Unreleased.dmp", "LumoraVADPlugin_HM_Unreleased.dmp"})
            std::ofstream(fs::path(szFolder) / szMarker) << "marker";
        gLHangDetector->emplace();
        if (bDestroy)
            LDebugHangDetectorDestroy();
        gLHangDetector->reset();
        EXPECT_EQ(fs::is_empty(szFolder), bDestroy);
    }
    LDebugHangDetectorInit(nullptr); // after the end
    LDebugHangDetectorDestroy();
}

TEST_F(HangDetector, DoesWithoutAFileWhereNoneCanBeMade) {
    LDebugHangDetectorInit(nullptr);
    fs::path const oFile = Find(kFile);
    ASSERT_FALSE(oFile.empty());
    LDebugHangDetectorDestroy();
    fs::create_directory(oFile); // in its place something that can't be opened to be written, nor unlinked
    LDebugHangDetectorInit(nullptr);
    LDebugHangDetectorDestroy();
    EXPECT_TRUE(fs::is_directory(oFile));
    fs::remove_all(oHome.Path());
    std::ofstream(oHome.Path()) << "no folder";
    gLHangDetector->emplace();
    LDebugHangDetectorInit(nullptr);
    LDebugHangDetectorDestroy();
    EXPECT_TRUE(fs::is_regular_file(oHome.Path()));
    fs::remove(oHome.Path());
    fs::create_directories(oFile.parent_path()); // there is a home after all
    LDebugHangDetectorInit(nullptr);
    EXPECT_TRUE(IsHeld());
}
