#include "tests/harness/temporary_folder.h"
#include "tests/platform/corefoundation.h"

#include <AppKit/NSWorkspace.h>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace {

namespace fs = std::filesystem;

// A desktop of the test's own: programs that write down their arguments, one associated application.
struct Desktop : testing::Test {
    Desktop() {
        szOldPath = std::getenv("PATH");
        for (auto const& [szName, szValue] : {std::pair{"PATH", oFolder / "bin:/usr/bin:/bin"},
                                              {"XDG_DATA_HOME", oFolder / "data"},
                                              {"XDG_DATA_DIRS", oFolder / "none"},
                                              {"XDG_CONFIG_HOME", oFolder / "config"},
                                              {"XDG_CONFIG_DIRS", oFolder / "none"}})
            setenv(szName, szValue.c_str(), 1);
        oFolder.Write("config/mimeapps.list",
                      "[Added Associations]\nx-scheme-handler/https=other.desktop\n"
                      "[Default Applications]\nx-scheme-handler/https=gone.desktop;browser.desktop\n");
        oFolder.Write("data/applications/mimeinfo.cache", "[MIME Cache]\ninode/directory=files.desktop;\n"
                                                          "text/x-log=../files.desktop;viewer.desktop;\n");
        oFolder.Write("data/mime/globs2", "# weights\n50:text/x-log:*.log\n");
        for (char const* szName : {"browser", "files", "viewer", "other"})
            oFolder.Write(std::string("data/applications/") + szName + ".desktop", "");
    }
    ~Desktop() override {
        setenv("PATH", szOldPath.c_str(), 1);
        for (char const* szName : {"XDG_DATA_HOME", "XDG_DATA_DIRS", "XDG_CONFIG_HOME", "XDG_CONFIG_DIRS"})
            unsetenv(szName);
    }

    void Install(std::string const& szProgram) const {
        std::string const szTold = oFolder / "told";
        oFolder.Write("bin/" + szProgram,
                      "#!/bin/sh\necho \"$0 $*\" > " + szTold + ".new && mv " + szTold + ".new " + szTold);
        fs::permissions(oFolder / ("bin/" + szProgram), fs::perms::owner_all);
    }
    // What the program that was started was told; it is nobody's child, so its file is all there is to wait for.
    std::string Told() const {
        auto const tEnd = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!fs::exists(oFolder / "told") && std::chrono::steady_clock::now() < tEnd)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        std::string const szTold = oFolder.Read("told");
        fs::remove(oFolder / "told");
        return szTold;
    }
    static NSStrong<NSURL> Url(std::string const& szText) {
        CFStringRef const text = CFStringCreateWithCString(nullptr, szText.c_str(), kCFStringEncodingUTF8);
        NSStrong<NSURL> const url(NSURL::URLWithString(text));
        CFRelease(text);
        return url;
    }
    std::string Application(std::string const& szUrl) const {
        NSStrong<NSURL> const found(NSWorkspace::sharedWorkspace()->URLForApplicationToOpenURL(Url(szUrl).get()));
        if (!found)
            return "";
        CFStringRef const path = found->path();
        char szPath[4096] = "";
        CFStringGetCString(path, szPath, sizeof szPath, kCFStringEncodingUTF8);
        CFRelease(path);
        return fs::path(szPath).filename();
    }

    TemporaryFolder const oFolder;
    std::string szOldPath;
};

// Without standard input and output for the length of a scope.
struct ClosedStandardFiles {
    ClosedStandardFiles() {
        close(0);
        close(1);
    }
    ~ClosedStandardFiles() {
        dup2(hInput, 0);
        dup2(hOutput, 1);
        close(hInput);
        close(hOutput);
    }
    int const hInput = dup(0), hOutput = dup(1);
};

TEST_F(Desktop, StartsWhatOpensAUrlAndLeavesNoChild) {
    auto* const pWorkspace = NSWorkspace::sharedWorkspace();
    setenv("PATH", (oFolder / "bin").c_str(), 1);
    EXPECT_FALSE(pWorkspace->openURL(Url("https://a.example.com/").get())); // no such program
    oFolder.Write("bin/xdg-open", "no program");
    fs::permissions(oFolder / "bin/xdg-open", fs::perms::owner_all);
    bool bOpened = true;
    {
        ClosedStandardFiles const oClosed;
        bOpened = pWorkspace->openURL(Url("https://a.example.com/").get());
    }
    EXPECT_FALSE(bOpened); // one that can't run
    setenv("PATH", (oFolder / "bin:/usr/bin:/bin").c_str(), 1);
    Install("xdg-open");
    Install("gio");
    struct {
        std::string szUrl, szTold;
    } const lRows[] = {
        {"https://a.example.com/?b=$(c);d", "bin/xdg-open https://a.example.com/?b=$(c);d"},
        {"file:///tmp/a%20b", "bin/xdg-open file:///tmp/a%20b"},
        {"file:///x%20y.desktop", "bin/gio launch /x y.desktop"},
    };
    for (auto const& oRow : lRows) {
        EXPECT_TRUE(pWorkspace->openURL(Url(oRow.szUrl).get()));
        EXPECT_EQ(Told(), oFolder / oRow.szTold + "\n");
    }
    auto const pOld = std::signal(SIGCHLD, SIG_IGN); // children are not there to be waited for
    EXPECT_TRUE(pWorkspace->openURL(Url("https://a.example.com/").get()));
    std::signal(SIGCHLD, pOld);
    Told();
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}

TEST_F(Desktop, KnowsTheApplicationForAUrl) {
    EXPECT_EQ(Application("https://a.example.com/"), "browser.desktop");
    EXPECT_EQ(Application("HTTPS://a.example.com/"), "browser.desktop");
    EXPECT_EQ(Application("ftp://a.example.com/"), "");
    EXPECT_EQ(Application("file:///tmp"), "files.desktop");
    EXPECT_EQ(Application("file:///tmp/some.log"), "viewer.desktop");
    EXPECT_EQ(Application("file:///tmp.log/none"), "");
    EXPECT_FALSE(Url("no scheme"));
}

} // namespace
