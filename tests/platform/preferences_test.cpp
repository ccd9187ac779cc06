#include "platform/testing/preferences.h"

#include "tests/harness/child_process.h"
#include "tests/harness/temporary_folder.h"
#include "tests/platform/corefoundation.h"

#include <CoreFoundation/CFPreferences.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <thread>

namespace {

namespace fs = std::filesystem;

// Values as texts: a dictionary around the text now and then, so that not all are strings.
using Model = std::map<std::string, std::string>;

struct Coordinates {
    CFStringRef application, user, host;
};

std::optional<std::string> Get(Coordinates const& oAt, std::string const& szKey) {
    OwnedString const key = MakeString(szKey);
    Owned<CFPropertyListRef> const value = CFPreferencesCopyValue(key, oAt.application, oAt.user, oAt.host);
    if (!value)
        return std::nullopt;
    if (CFGetTypeID(value) != CFArrayGetTypeID())
        return Text(static_cast<CFStringRef>(CFPropertyListRef(value)));
    return "[" +
           Text(
               static_cast<CFStringRef>(CFArrayGetValueAtIndex(static_cast<CFArrayRef>(CFPropertyListRef(value)), 0))) +
           "]";
}

void Set(Coordinates const& oAt, std::string const& szKey, std::string const& szValue) {
    OwnedString const key = MakeString(szKey);
    bool const bInside = szValue.size() > 1 && szValue[0] == '[';
    OwnedString const text = MakeString(bInside ? szValue.substr(1, szValue.size() - 2) : szValue);
    void const* value = text;
    Owned<CFArrayRef> const array = CFArrayCreate(nullptr, &value, 1, &kCFTypeArrayCallBacks);
    CFPreferencesSetValue(key, bInside ? CFPropertyListRef(array) : CFPropertyListRef(text), oAt.application, oAt.user,
                          oAt.host);
}

void Remove(Coordinates const& oAt, std::string const& szKey) {
    OwnedString const key = MakeString(szKey);
    CFPreferencesSetValue(key, nullptr, oAt.application, oAt.user, oAt.host);
}

bool Synchronize(Coordinates const& oAt) {
    return CFPreferencesSynchronize(oAt.application, oAt.user, oAt.host);
}

// All that is there, by the key list, of keys that begin so.
Model Contents(Coordinates const& oAt, std::string const& szPrefix = "") {
    Model oAll;
    Owned<CFArrayRef> const keys = CFPreferencesCopyKeyList(oAt.application, oAt.user, oAt.host);
    for (CFIndex n = 0; keys && n < CFArrayGetCount(keys); ++n)
        if (auto const szKey = Text(static_cast<CFStringRef>(CFArrayGetValueAtIndex(keys, n)));
            szKey.starts_with(szPrefix))
            oAll[szKey] = Get(oAt, szKey).value_or("(gone)");
    return oAll;
}

std::string FileText(std::string const& szPath) {
    std::ifstream oFile(szPath);
    std::stringstream oText;
    oText << oFile.rdbuf();
    return oText.str();
}

// What one process does, by chance, to keys of its own. The model of what ends up on the disk; with the store beside
// it, nothing when that ever says something else.
std::optional<Model> ActByChance(unsigned nSeed, std::string const& szPrefix, Coordinates const* pStore) {
    std::mt19937 random(nSeed);
    Model oNow, oKept;
    for (int n = 0; n < 400; ++n) {
        std::string const szKey = szPrefix + std::to_string(random() % 12) + "<&é🎵";
        unsigned const nAction = random() % 16;
        if (nAction < 8) {
            std::string const szValue = nAction % 2 ? "[" + std::to_string(n) + "]" : "\r\n<" + std::to_string(n);
            oNow[szKey] = szValue;
            if (pStore)
                Set(*pStore, szKey, szValue);
        } else if (nAction < 11) {
            oNow.erase(szKey);
            if (pStore)
                Remove(*pStore, szKey);
        } else if (nAction < 15) {
            oKept = oNow;
            if (pStore && !Synchronize(*pStore))
                return std::nullopt;
        } else {
            oNow = oKept;
            if (pStore)
                PlatformForgetPreferences();
        }
        if (pStore && Contents(*pStore, szPrefix) != oNow)
            return std::nullopt;
    }
    if (pStore && !Synchronize(*pStore))
        return std::nullopt;
    return oNow;
}

} // namespace

class PreferenceStore : public testing::Test {
protected:
    void SetUp() override { setenv("CFFIXED_USER_HOME", oHome.Path().c_str(), 1); }
    void TearDown() override {
        PlatformForgetPreferences();
        PlatformKeepAnyUserPreferencesIn("");
        unsetenv("CFFIXED_USER_HOME");
        EXPECT_EQ(nBefore, PlatformCountLiveObjects()) << "objects leaked";
    }
    std::string File(std::string const& szName) const { return oHome / ("Library/Preferences/" + szName); }

    TemporaryFolder oHome;
    Coordinates const oHere{CFSTR("test.app"), kCFPreferencesCurrentUser, kCFPreferencesAnyHost};
    long const nBefore = PlatformCountLiveObjects();
};

TEST_F(PreferenceStore, KeepsWhatTwoProcessesChangeAtOnceAsEachLeftIt) {
    ChildProcess oOther(
        [&](ChildProcess::Door const&) { return ActByChance(1, "other ", &oHere) == std::nullopt ? 1 : 0; });
    auto const oOwn = ActByChance(2, "own ", &oHere);
    EXPECT_EQ(0, oOther.Wait());
    ASSERT_TRUE(oOwn);
    PlatformForgetPreferences();
    Model oAll = *oOwn;
    oAll.merge(*ActByChance(1, "other ", nullptr));
    EXPECT_EQ(oAll, Contents(oHere));
}

TEST_F(PreferenceStore, IsWholeWhereverAWriterIsKilled) {
    std::mt19937 random(7);
    for (int nRound = 0; nRound < 25; ++nRound) {
        ChildProcess oWriter([&](ChildProcess::Door const& oDoor) {
            for (int n = 0;; ++n) {
                for (char const* szKey : {"first", "middle", "zlast"})
                    Set(oHere, szKey, std::string(20000, static_cast<char>('a' + n % 26)));
                Synchronize(oHere);
                if (n == 0)
                    oDoor.SayReady();
            }
            return 0;
        });
        ASSERT_TRUE(oWriter.WaitUntilReady());
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        oWriter.Kill();
        PlatformForgetPreferences();
        Model const oAll = Contents(oHere);
        ASSERT_EQ(3u, oAll.size());
        EXPECT_TRUE(oAll.at("first") == oAll.at("middle") && oAll.at("middle") == oAll.at("zlast"));
        Set(oHere, "first", "after"); // nothing that the killed one held is in the way
        EXPECT_TRUE(Synchronize(oHere));
    }
    EXPECT_FALSE(fs::exists(File("test.app.plist.unreadable")));
}

TEST_F(PreferenceStore, KeepsTheOldFileAndTheChangesWhenTheDiskIsFull) {
    Set(oHere, "key", "old");
    ASSERT_TRUE(Synchronize(oHere));
    std::string const szOld = FileText(File("test.app.plist"));
    Set(oHere, "key", std::string(100000, 'n'));
    rlimit oLimit;
    getrlimit(RLIMIT_FSIZE, &oLimit);
    rlimit const oSmall{4096, oLimit.rlim_max};
    auto const oHandler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &oSmall);
    bool const bWritten = Synchronize(oHere);
    setrlimit(RLIMIT_FSIZE, &oLimit);
    std::signal(SIGXFSZ, oHandler);
    EXPECT_FALSE(bWritten);
    EXPECT_EQ(szOld, FileText(File("test.app.plist")));
    EXPECT_FALSE(fs::exists(File("test.app.plist.new")));
    EXPECT_EQ(100000u, Get(oHere, "key").value_or("").size());
    EXPECT_TRUE(Synchronize(oHere));
    PlatformForgetPreferences();
    EXPECT_EQ(100000u, Get(oHere, "key").value_or("").size());
}

TEST_F(PreferenceStore, SeesWhatOthersSynchroniseUnderItsOwnChanges) {
    fs::create_directories(File(""));
    std::ofstream(File("precious")) << "somebody's";
    fs::create_hard_link(File("precious"), File("test.app.plist.new"));
    Set(oHere, "both", "mine, first");
    Set(oHere, "mine", "1");
    ASSERT_TRUE(Synchronize(oHere));
    EXPECT_EQ("somebody's", FileText(File("precious")));
    Remove(oHere, "mine");
    for (int n = 0; n < 10; ++n) { // files of one size, as fast as they come
        ChildProcess oOther([&](ChildProcess::Door const&) {
            Set(oHere, "both", std::to_string(n));
            Set(oHere, "theirs", std::to_string(n));
            return Synchronize(oHere) ? 0 : 1;
        });
        ASSERT_EQ(0, oOther.Wait());
        EXPECT_EQ(Contents(oHere), (Model{{"both", std::to_string(n)}, {"theirs", std::to_string(n)}}));
    }
    Set(oHere, "both", "mine, last");
    EXPECT_TRUE(Synchronize(oHere));
    PlatformForgetPreferences();
    EXPECT_EQ(Contents(oHere), (Model{{"both", "mine, last"}, {"theirs", "9"}}));
}

TEST_F(PreferenceStore, SetsDamagedFilesAsideAndSparesThemAll) {
    fs::create_directories(File(""));
    for (std::string const szName : {"test.app.plist.unreadable", "test.app.plist.unreadable.2"}) {
        std::string const szDamage = szName + " <plist><array/></plist>";
        std::ofstream(File("test.app.plist")) << szDamage;
        EXPECT_TRUE(Synchronize(oHere));
        EXPECT_EQ(szDamage, FileText(File("test.app.plist"))); // nobody has changed anything
        EXPECT_EQ(Contents(oHere), Model());
        Set(oHere, "key", szName);
        EXPECT_TRUE(Synchronize(oHere));
        EXPECT_EQ(szDamage, FileText(File(szName)));
        EXPECT_EQ(Contents(oHere), (Model{{"key", szName}}));
    }
    fs::remove(File("test.app.plist"));
    EXPECT_EQ(Contents(oHere), Model()); // what somebody deletes is gone
    Set(oHere, "goes", "1");
    EXPECT_TRUE(Synchronize(oHere));
    fs::rename(File("test.app.plist"), File("away"));
    Set(oHere, "comes", "2"); // what can't be read keeps the changes waiting, removals among them
    Remove(oHere, "goes");
    fs::create_directory(File("test.app.plist"));
    EXPECT_FALSE(Synchronize(oHere));
    fs::remove(File("test.app.plist"));
    fs::create_symlink("/dev/zero", File("test.app.plist"));
    EXPECT_FALSE(Synchronize(oHere));
    fs::remove(File("test.app.plist"));
    std::ofstream(File("test.app.plist")).close();
    fs::resize_file(File("test.app.plist"), (16 << 20) + 1);
    EXPECT_FALSE(Synchronize(oHere));
    fs::remove(File("test.app.plist"));
    fs::rename(File("away"), File("test.app.plist"));
    EXPECT_TRUE(Synchronize(oHere));
    PlatformForgetPreferences();
    EXPECT_EQ(Contents(oHere), (Model{{"comes", "2"}}));
}

TEST_F(PreferenceStore, KeepsDomainsApartAndRefusesOthers) {
    PlatformKeepAnyUserPreferencesIn(oHome / "everybody");
    OwnedString const longest = MakeString(std::string(200, 'a')), tooLong = MakeString(std::string(201, 'a'));
    CFStringRef const user = kCFPreferencesCurrentUser, anyUser = kCFPreferencesAnyUser,
                      host = kCFPreferencesCurrentHost, anyHost = kCFPreferencesAnyHost;
    struct {
        Coordinates oAt;
        std::string szFile; // "" for refused; up to the host's name for files of this host
    } const lCases[] = {
        {{CFSTR("test.app"), user, anyHost}, "Library/Preferences/test.app.plist"},
        {{CFSTR("test.app"), user, host}, "Library/Preferences/ByHost/test.app."},
        {{CFSTR("test.app"), anyUser, anyHost}, "everybody/test.app.plist"},
        {{CFSTR("test.app"), anyUser, host}, "everybody/ByHost/test.app."},
        {{kCFPreferencesAnyApplication, user, anyHost}, "Library/Preferences/.GlobalPreferences.plist"},
        {{kCFPreferencesCurrentApplication, user, anyHost}, "Library/Preferences/tests_platform.plist"},
        {{longest, user, anyHost}, "Library/Preferences/" + std::string(200, 'a') + ".plist"},
        {{tooLong, user, anyHost}, ""},
        {{CFSTR(""), user, anyHost}, ""},
        {{CFSTR("../test"), user, anyHost}, ""},
        {{CFSTR("test.app"), CFSTR("somebody"), anyHost}, ""},
        {{CFSTR("test.app"), user, CFSTR("somewhere")}, ""},
    };
    mode_t const nMask = umask(077); // hides no file for every user
    for (auto const& oCase : lCases) {
        Set(oCase.oAt, "file", oCase.szFile);
        EXPECT_EQ(!oCase.szFile.empty(), Synchronize(oCase.oAt)) << oCase.szFile;
    }
    umask(nMask);
    EXPECT_EQ(0755, static_cast<int>(fs::status(oHome / "everybody/ByHost").permissions()));
    EXPECT_EQ(0644, static_cast<int>(fs::status(oHome / "everybody/test.app.plist").permissions()));
    EXPECT_EQ(0600, static_cast<int>(fs::status(File("test.app.plist")).permissions()));
    PlatformForgetPreferences();
    size_t nFiles = 0;
    for (auto const& oCase : lCases) {
        EXPECT_EQ(Contents(oCase.oAt), oCase.szFile.empty() ? Model() : (Model{{"file", oCase.szFile}}));
        for (auto const& oEntry : fs::recursive_directory_iterator(oHome.Path()))
            nFiles += !oCase.szFile.empty() && oEntry.is_regular_file() &&
                      oEntry.path().string().starts_with(oHome / oCase.szFile);
    }
    EXPECT_EQ(7u, nFiles);
}

TEST_F(PreferenceStore, LeavesOutWhatNoFileCanHold) {
    CFMutableArrayRef nested = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
    for (int n = 1; n < 512; ++n) { // as deep as a list may be, and then inside the file's dictionary
        CFMutableArrayRef const outer = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
        CFArrayAppendValue(outer, nested);
        CFRelease(nested);
        nested = outer;
    }
    CFPreferencesSetValue(CFSTR("deep"), nested, oHere.application, oHere.user, oHere.host);
    CFRelease(nested);
    Owned<CFUUIDRef> const uuid = CFUUIDCreate(nullptr);
    CFPreferencesSetValue(CFSTR("no list"), uuid, oHere.application, oHere.user, oHere.host);
    Set(oHere, "control", "before");
    Set(oHere, "control", "\x01");
    Set(oHere, "\x01 key", "value");
    OwnedString const text = CFStringCreateMutableCopy(nullptr, 0, CFSTR("copied"));
    CFPreferencesSetValue(CFSTR("mutable"), text, oHere.application, oHere.user, oHere.host);
    CFStringAppend(const_cast<CFMutableStringRef>(CFStringRef(text)), CFSTR(", not kept"));
    EXPECT_TRUE(Synchronize(oHere));
    PlatformForgetPreferences();
    EXPECT_EQ(Contents(oHere), (Model{{"control", "before"}, {"mutable", "copied"}}));
}
