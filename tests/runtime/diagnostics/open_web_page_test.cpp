#include "platform/testing/foundation.h"
#include "platform/testing/objects.h"
#include "platform/testing/workspace.h"
#include "runtime/diagnostics/open_web_page.h"
#include "tests/harness/main_loop.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

TEST(OpenWebPage, OpensTheUrlAndThenItsApplicationFromTheMainQueue) {
    struct {
        char const* szTarget;
        char const* szUrl; // null: nothing is opened
    } const lRows[] = {
        {"https://www.example.com/a?b=%20c", "https://www.example.com/a?b=%20c"},
        {"www.example.com", "http://www.example.com"},
        {"other+1://x", "other+1://x"},
        {"/tmp/a b", "file:///tmp/a%20b"},
        {"file:///tmp/a%b", "file:///tmp/a%25b"}, // the path as it is, not its escaped form
        {"/abcdef/file://x", "file:///file://x"}, // the first seven characters go, wherever the scheme stands
        {"with blank", nullptr},
        {"https://www.example.com/a/../b", "https://www.example.com/a/../b"},
        {"https://cut.example.com/?a=%2", "https://cut.example.com/?a=%2"},
        {"https://cut.example.com/?a=%", "https://cut.example.com/?a=%"},
        {"https://bad.example.com/?a=%g", nullptr},
        {"https://bad.example.com/?a=%2&b", nullptr},
        {"not \xff", nullptr},
        {nullptr, nullptr},
    };
    long const nObjects = PlatformCountLiveNSObjects();
    for (auto const& oRow : lRows) {
        SCOPED_TRACE(oRow.szTarget ? oRow.szTarget : "null");
        PlatformWorkspaceRecorder const oRecorder;
        std::thread([&] { LOpenWebPage(oRow.szTarget); }).join();
        std::vector<std::string> lExpected;
        if (oRow.szUrl)
            lExpected.push_back(std::string("openURL: ") + oRow.szUrl);
        EXPECT_EQ(oRecorder.Calls(), lExpected); // the rest is for the main queue, which nobody serves yet
        if (oRow.szUrl) {
            lExpected.push_back(std::string("URLForApplicationToOpenURL: ") + oRow.szUrl);
            lExpected.push_back("openURL: file:///Applications/Recorder.app");
        }
        EXPECT_TRUE(RunMainLoopUntil([&] { return oRecorder.Calls().size() >= lExpected.size(); }));
        EXPECT_EQ(oRecorder.Calls(), lExpected);
    }
    EXPECT_LE(PlatformCountLiveNSObjects(), nObjects + 1); // the shared workspace is made once
}

} // namespace
