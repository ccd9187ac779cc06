#include "files/sandbox_bookmark_manager.h"

#include "files/sandbox_path.h"
#include "files/system_folders.h"
#include "platform/testing/objects.h"
#include "platform/testing/preferences.h"
#include "platform/testing/sandbox.h"
#include "tests/harness/child_process.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <functional>
#include <random>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;
using Manager = LSandboxBookmarkManager;

class URL {
public:
    explicit URL(std::string const& szPath) {
        LCFOwner<CFStringRef> const path(CFStringCreateWithCString(nullptr, szPath.c_str(), kCFStringEncodingUTF8));
        pURL = NSStrong<NSURL>(NSURL::fileURLWithPath(path.Get(), false));
    }
    operator NSURL*() const { return pURL.get(); }

private:
    NSStrong<NSURL> pURL;
};

// A URL of a kind that knows nothing of access.
class DumbURL : public NSURL {
public:
    DumbURL() : NSURL("/") {}
    bool respondsToSelector(char const*) const noexcept override { return false; }
};

// Any bytes as bookmark data: resolved, or refused with an error.
bool Resolves(std::string const& szBytes) {
    LCFOwner<CFDataRef> const data(CFDataCreate(nullptr, reinterpret_cast<std::uint8_t const*>(szBytes.data()),
                                                static_cast<CFIndex>(szBytes.size())));
    bool bStale = false;
    NSError oError;
    NSStrong<NSURL> const pURL(NSURL::URLByResolvingBookmarkData(data.Get(), NSURLBookmarkResolutionWithSecurityScope,
                                                                 nullptr, &bStale, &oError));
    EXPECT_NE(static_cast<bool>(pURL), oError.code != 0);
    return static_cast<bool>(pURL);
}

} // namespace

// A process with its container, and granted files outside of it.
class SandboxBookmarks : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(oFolder.Path("home/sub"));
        setenv("CFFIXED_USER_HOME", oFolder.Path("home").c_str(), 1);
        PlatformForgetPreferences();
        oFolder.Write("out/song.wav", "song");
        Manager::Create();
    }
    void TearDown() override {
        Manager::Destroy();
        PlatformRefuseAccess("");
        PlatformForgetPreferences();
        unsetenv("CFFIXED_USER_HOME");
        EXPECT_EQ(PlatformStartedAccesses(), 0);
    }

    bool Add(std::string const& szName, char const* szKey = nullptr) {
        return Manager::AddFilePath(oFolder.Path(szName).c_str(), URL(oFolder.Path(szName)), true, szKey, szKey);
    }
    bool IsStarted(std::string const& szName) { return Manager::IsAccessStarted(oFolder.Path(szName).c_str()); }

    // As in another process, which starts and ends with Create and Destroy.
    static void InAnotherProcess(std::function<void()> Do) {
        Manager::Destroy();
        PlatformForgetPreferences();
        ChildProcess oOther([&](auto const&) {
            Manager::Create();
            Do();
            Manager::Destroy();
            return static_cast<int>(testing::Test::HasFailure());
        });
        EXPECT_EQ(oOther.Wait(), 0);
        Manager::Create();
    }

    std::string Keys() {
        LCFOwner<CFTypeRef> const keys(
            NSUserDefaults::standardUserDefaults()->objectForKey(CFSTR("SECURITY_BOOKMARK_KEYS")));
        std::string szKeys;
        for (CFIndex n = 0; keys && n < CFArrayGetCount(static_cast<CFArrayRef>(keys.Get())); ++n) {
            char sz[64];
            CFStringGetCString(static_cast<CFStringRef>(CFArrayGetValueAtIndex(static_cast<CFArrayRef>(keys.Get()), n)),
                               sz, sizeof sz, kCFStringEncodingUTF8);
            szKeys += sz + std::string(" ");
        }
        return szKeys;
    }

    TemporaryFolder oFolder;
};

TEST_F(SandboxBookmarks, AddingStartsAccessOnceForEachPath) {
    EXPECT_TRUE(Add("out/song.wav"));
    EXPECT_TRUE(Add("out/song.wav"));
    EXPECT_EQ(PlatformStartedAccesses(), 1);
    EXPECT_TRUE(IsStarted("out/song.wav"));
    EXPECT_FALSE(IsStarted("out/other.wav"));
    EXPECT_TRUE(Add("out"));
    EXPECT_TRUE(Add("OUT")) << "in any letter case";
    EXPECT_EQ(PlatformStartedAccesses(), 2);
    EXPECT_TRUE(IsStarted("Out/other.wav")) << "in a granted folder";
    EXPECT_FALSE(Add("out/missing.wav"));
    EXPECT_FALSE(Manager::AddFilePath("", URL("/"), false, false, nullptr));
    EXPECT_FALSE(Manager::AddFilePath(("/" + std::string(260, 'x')).c_str(), URL("/"), false, false, nullptr));
    EXPECT_FALSE(Manager::AddFilePath("/", nullptr, false, false, nullptr));
    for (char const* szName : {"out", "out/song.wav"})
        Manager::Release(oFolder.Path(szName).c_str());
    EXPECT_EQ(PlatformStartedAccesses(), 0);
}

TEST_F(SandboxBookmarks, TheContainerNeedsNoGrantUnlessALinkLeavesIt) {
    oFolder.Write("home/sub/own", "");
    fs::create_symlink(oFolder.Path("out"), oFolder.Path("home/leaves"));
    fs::create_symlink("sub", oFolder.Path("home/stays"));
    struct {
        char const* szPath;
        bool bAllowed;
        char const* szOutside;
    } const kRows[] = {
        {"home/sub/own", true, nullptr},
        {"home/stays/own", true, nullptr},
        {"home/stays/new", true, nullptr},
        {"home/new/deep", true, nullptr},
        {"home/leaves/song.wav", false, "out/song.wav"},
        {"home/leaves/new/deep", false, "out/new/deep"},
        {"home/leaves", false, "out"},
        {"out/song.wav", false, "out/song.wav"},
        {"out/new", false, nullptr},
        {"HOME/sub/own", true, nullptr},
    };
    for (auto const& oRow : kRows) {
        std::string const szPath = oFolder.Path(oRow.szPath);
        EXPECT_EQ(Manager::IsAccessAllowedByEntitlement(szPath.c_str()), oRow.bAllowed) << oRow.szPath;
        char szOut[kLNameSize];
        LCopyFixed(szOut, szPath.c_str());
        EXPECT_EQ(LFile::MakeNonSandboxedFilePath(szOut, szOut), oRow.szOutside != nullptr) << oRow.szPath;
        EXPECT_EQ(szOut, oRow.szOutside ? oFolder.Path(oRow.szOutside) : "") << oRow.szPath;
    }
    std::string const szFar = oFolder.Path("out/" + std::string(150, 'f') + "/" + std::string(150, 'f'));
    fs::create_directories(szFar);
    fs::create_symlink(szFar, oFolder.Path("home/far"));
    EXPECT_FALSE(Manager::IsAccessAllowedByEntitlement(oFolder.Path("home/far").c_str())) << "leaves to no short path";
    EXPECT_TRUE(Add("home/sub/own", "key"));
    EXPECT_TRUE(Manager::pInstance->lFiles.IsEmpty());
    EXPECT_EQ(Keys(), "");
}

TEST_F(SandboxBookmarks, TheLastUserTakesTheItemAlong) {
    std::string const szPath = oFolder.Path("out/song.wav");
    Add("out/song.wav");
    Manager::Retain(szPath.c_str());
    Manager::Retain(szPath.c_str());
    Manager::Release(szPath.c_str());
    EXPECT_TRUE(IsStarted("out/song.wav"));
    Manager::Release(szPath.c_str()); // 1 is the last
    EXPECT_FALSE(IsStarted("out/song.wav"));
    Add("out/song.wav", "key"); // a key is a user
    EXPECT_EQ(Manager::pInstance->lFiles.pHead->nRefCount, 1u);
    Manager::Release(szPath.c_str());
    EXPECT_TRUE(Manager::pInstance->lFiles.IsEmpty());
}

TEST_F(SandboxBookmarks, AccessStopsAndStarts) {
    std::string const szPath = oFolder.Path("out/song.wav");
    EXPECT_FALSE(Manager::StartAccessingSecurityScopedResource(szPath.c_str()));
    Add("out/song.wav");
    EXPECT_FALSE(Manager::StartAccessingSecurityScopedResource(szPath.c_str())) << "started already";
    EXPECT_TRUE(Manager::StopAccessingSecurityScopedResource(szPath.c_str()));
    EXPECT_FALSE(IsStarted("out/song.wav"));
    EXPECT_FALSE(Manager::StopAccessingSecurityScopedResource(szPath.c_str()));
    PlatformRefuseAccess(szPath);
    EXPECT_FALSE(Manager::StartAccessingSecurityScopedResource(szPath.c_str()));
    PlatformRefuseAccess("");
    EXPECT_TRUE(Manager::StartAccessingSecurityScopedResource(szPath.c_str()));
    Manager::Release(szPath.c_str());
    PlatformRefuseAccess(szPath);
    EXPECT_FALSE(Add("out/song.wav"));
    NSStrong<NSURL> const pDumb(new DumbURL);
    EXPECT_FALSE(Manager::AddFilePath(szPath.c_str(), pDumb.get(), false, false, nullptr));
    EXPECT_EQ(pDumb->retainCount(), 1u);
}

TEST_F(SandboxBookmarks, OneThreadAsksWhileAnotherStartsAndStops) { // for the race detector
    std::string const szPath = oFolder.Path("out/song.wav");
    Add("out/song.wav");
    std::thread oOther([&] {
        for (int n = 0; n < 200; ++n)
            EXPECT_TRUE(Manager::StopAccessingSecurityScopedResource(szPath.c_str()) &&
                        Manager::StartAccessingSecurityScopedResource(szPath.c_str()));
    });
    for (int n = 0; n < 200; ++n)
        Manager::IsAccessStarted(szPath.c_str());
    oOther.join();
    EXPECT_TRUE(IsStarted("out/song.wav"));
}

TEST_F(SandboxBookmarks, GrantsSurviveTheProcess) {
    InAnotherProcess([&] {
        EXPECT_TRUE(Add("out/song.wav", "song"));
        EXPECT_TRUE(Add("out", "folder"));
        EXPECT_TRUE(Manager::AddFilePathToSettings(oFolder.Path("out/song.wav").c_str(), false, "song again"));
        EXPECT_FALSE(Manager::AddFilePathToSettings(oFolder.Path("out/other").c_str(), false, "other"));
        EXPECT_FALSE(Manager::AddFilePathToSettings(oFolder.Path("home/sub").c_str(), false, "own"));
        EXPECT_FALSE(Manager::AddFilePathToSettings(oFolder.Path("out").c_str(), false, "SECURITY_BOOKMARK_KEYS"));
    });
    EXPECT_EQ(Keys(), "song folder song again ");
    EXPECT_TRUE(IsStarted("out/song.wav"));
    EXPECT_TRUE(IsStarted("out/anything"));
    LSandboxBookmarkItem const& oSong = *Manager::pInstance->lFiles.pHead;
    EXPECT_TRUE(oSong.bSaved && oSong.bAccessStarted);
    EXPECT_EQ(oSong.nRefCount, 1u);
    InAnotherProcess([&] { EXPECT_TRUE(IsStarted("out/song.wav")); });
}

TEST_F(SandboxBookmarks, AMovedFileIsFoundAndSavedAnewAndAGoneOneForgotten) {
    oFolder.Write("out/gone.wav", "gone");
    oFolder.Write("out/saved anew.wav", "old");
    InAnotherProcess([&] {
        Add("out/song.wav", "song");
        Add("out/gone.wav", "gone");
        Add("out/saved anew.wav", "anew");
    });
    Manager::Destroy();
    fs::create_directories(oFolder.Path("out/deep/er"));
    fs::rename(oFolder.Path("out/song.wav"), oFolder.Path("out/deep/er/moved.wav"));
    fs::remove(oFolder.Path("out/gone.wav"));
    oFolder.Write("out/new", "new");
    fs::rename(oFolder.Path("out/new"), oFolder.Path("out/saved anew.wav"));
    Manager::Create();
    EXPECT_EQ(Keys(), "song anew ");
    EXPECT_TRUE(IsStarted("out/deep/er/moved.wav"));
    EXPECT_TRUE(IsStarted("out/saved anew.wav"));
    EXPECT_FALSE(IsStarted("out/gone.wav"));
    fs::rename(oFolder.Path("out/deep"), oFolder.Path("shallow")); // found only if its new place was saved
    InAnotherProcess([&] { EXPECT_TRUE(IsStarted("shallow/er/moved.wav")); });
    LCFOwner<CFTypeRef> const gone(NSUserDefaults::standardUserDefaults()->objectForKey(CFSTR("gone")));
    EXPECT_FALSE(gone);
}

// Without root's way of opening a file by its number, the file is looked for.
TEST_F(SandboxBookmarks, AnOrdinaryUserFindsAMovedFileToo) {
    if (getuid() != 0)
        GTEST_SKIP() << "changes its user";
    Manager::Destroy();
    oFolder.GiveToNobody();
    InAnotherProcess([&] {
        EXPECT_EQ(setgid(65534) + setuid(65534), 0);
        Add("out/song.wav", "song");
        fs::create_directory(oFolder.Path("out/below"));
        fs::rename(oFolder.Path("out/song.wav"), oFolder.Path("out/below/moved.wav"));
        Manager::Destroy();
        Manager::Create();
        EXPECT_TRUE(IsStarted("out/below/moved.wav"));
    });
}

TEST_F(SandboxBookmarks, DamagedBookmarksAreForgotten) {
    InAnotherProcess([&] { Add("out/song.wav", "song"); });
    Manager::Destroy();
    NSUserDefaults* const pDefaults = NSUserDefaults::standardUserDefaults();
    LCFOwner<CFTypeRef> const whole(pDefaults->objectForKey(CFSTR("song")));
    auto const data = static_cast<CFDataRef>(whole.Get());
    std::mt19937 oRandom(7);
    std::string const szWhole(reinterpret_cast<char const*>(CFDataGetBytePtr(data)),
                              static_cast<std::size_t>(CFDataGetLength(data)));
    EXPECT_TRUE(Resolves(szWhole));
    EXPECT_FALSE(Resolves(szWhole + "x"));
    for (std::size_t n = 0; n < szWhole.size(); ++n) { // cut anywhere, and each byte changed
        std::string szChanged = szWhole;
        szChanged[n] = static_cast<char>(szChanged[n] ^ (1 + oRandom() % 255));
        EXPECT_FALSE(Resolves(szWhole.substr(0, n)) || Resolves(szChanged)) << n;
    }
    pDefaults->setObject(CFSTR("no data"), CFSTR("song"));
    pDefaults->synchronize();
    Manager::Create();
    EXPECT_EQ(Keys(), "");
}

TEST_F(SandboxBookmarks, ItemsCountTheirKeysAndCopyWhole) {
    LSandboxBookmarkItem oItem, oCopy;
    for (int n = 0; n < 600; ++n)
        EXPECT_TRUE(oItem.AddKey(std::to_string(n).c_str()));
    EXPECT_FALSE(oItem.AddKey("7"));
    EXPECT_TRUE(oItem.RemoveKey("0"));
    EXPECT_FALSE(oItem.RemoveKey("0"));
    EXPECT_STREQ(oItem.arKeys.GetAt(0), "1");
    oItem.bCallerFlag = true;
    oCopy.AddKey("old");
    oCopy.CopyFrom(oItem);
    EXPECT_TRUE(oCopy.arKeys.GetCount() == 599 && oCopy.nRefCount == 599 && !oCopy.arKeys.Contains("old"));
    EXPECT_TRUE(oCopy.bCopied && oCopy.bCallerFlag && !oItem.bCopied);
}

TEST_F(SandboxBookmarks, WithoutAnInstanceNothingIsGranted) {
    Manager::Destroy();
    std::string const szPath = oFolder.Path("out");
    EXPECT_FALSE(Add("out", "key") || IsStarted("out"));
    EXPECT_FALSE(Manager::AddFilePathToSettings(szPath.c_str(), false, "key"));
    EXPECT_FALSE(Manager::StartAccessingSecurityScopedResource(szPath.c_str()) ||
                 Manager::StopAccessingSecurityScopedResource(szPath.c_str()));
    Manager::Retain(szPath.c_str());
    Manager::Release(szPath.c_str());
}

TEST_F(SandboxBookmarks, NothingOfTheOSsIsLeftBehind) {
    Manager::Destroy();
    PlatformForgetPreferences();
    auto const Round = [&] {
        Manager::Create();
        Add("out/song.wav", "song");
        Add("out", "folder");
        Manager::Destroy();
        PlatformForgetPreferences();
    };
    Round();
    auto const nBefore = PlatformCountLiveObjects();
    Round();
    EXPECT_EQ(PlatformCountLiveObjects(), nBefore);
}

TEST_F(SandboxBookmarks, TheSystemsOwnFoldersAreMade) {
    char szFolder[kLNameSize];
    EXPECT_TRUE(LFile::GetTempFolder(szFolder));
    EXPECT_EQ(szFolder, oFolder.Path("home/Library/Caches"));
    EXPECT_TRUE(LFile::GetUserDataFolderApp(szFolder));
    EXPECT_EQ(szFolder, oFolder.Path("home/Library/Application Support/LumoraVADPlugin"));
    EXPECT_TRUE(LFile::GetUserDataFolderAppSubFolder(szFolder, "Shared"));
    EXPECT_TRUE(fs::is_directory(oFolder.Path("home/Library/Application Support/LumoraVADPlugin/Shared")));
    EXPECT_TRUE(LFile::GetUserFolderNonSandboxed(szFolder));
    EXPECT_EQ(strncmp(szFolder, oFolder.Path("home").c_str(), oFolder.Path("home").size()) == 0, false);
    setenv("CFFIXED_USER_HOME", ("/" + std::string(250, 'h')).c_str(), 1);
    EXPECT_FALSE(LFile::GetUserDataFolderApp(szFolder));
    EXPECT_STREQ(szFolder, "");
}
