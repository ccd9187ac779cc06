#include "runtime/notify/thread_notify_interface.h"

#include "runtime/threads/process_interface_void.h"
#include "tests/harness/main_loop.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <pthread.h>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

// Writes down what it is told, and on which thread.
class Target : public LProcessInterfaceVoid {
public:
    void SetError(char const* szText) override { Add(std::string("error ") + szText); }
    void SetStatus(char const* szText, int nLine) override { Add("status " + std::to_string(nLine) + ' ' + szText); }
    void SetProgress(double fFraction) override { Add("progress " + std::to_string(fFraction)); }
    void SetProgressIndeterminateOn() override { Add("on"); }
    void SetProgressIndeterminateOff() override { Add("off"); }

    Texts lTold;

private:
    void Add(std::string szWhat) {
        EXPECT_NE(pthread_main_np(), 0);
        lTold.push_back(std::move(szWhat));
    }
};

class Worker : public LThreadNotifyInterface {
public:
    Worker(LProcessInterface& oTarget, std::function<void(LProcessInterface&)> oBodyToRun)
        : LThreadNotifyInterface(oTarget), oBody(std::move(oBodyToRun)) {}
    ~Worker() override { StopThreadNow(); }
    void ThreadProc() override { oBody(*this); }

private:
    std::function<void(LProcessInterface&)> oBody;
};

} // namespace

TEST(ThreadNotifyInterface, ReportsArriveOnTheMainThreadInOrder) {
    std::string const szLong(300, 'x');
    Target oTarget;
    Worker oWorker(oTarget, [&](LProcessInterface& o) {
        o.SetError("a");
        o.SetErrorF("%s", szLong.c_str());
        o.SetStatus("A", 0);
        o.SetStatusF(0, "%c", 'B');
        o.SetStatus(szLong.c_str(), 1);
        o.SetStatus("no such line", 2);
        o.SetStatus("nor this", -1);
        o.SetProgressIndeterminateOn();
        for (double f : {0.0, 0.505, 1.0, -0.5, std::nan(""), 1e300})
            o.SetProgress(f);
        o.SetProgressIndeterminateOff();
        o.SetError("");
    });
    oWorker.Start(31);
    oWorker.StopThreadNow();
    RunMainLoopDry(); // late: of each status line the latest text is there
    Texts const lExpected = {"error a",
                             "error " + szLong,
                             "status 0 B",
                             "status 0 B",
                             "status 1 " + szLong.substr(0, 259),
                             "on",
                             "progress 0.000000",
                             "progress 0.500000",
                             "progress 1.000000",
                             "progress 0.000000",
                             "progress 0.000000",
                             "progress 21474836.470000",
                             "off",
                             "error "};
    EXPECT_EQ(oTarget.lTold, lExpected);
    oWorker.EvQueuedNotifyData(0, nullptr, 7); // an error without a text
    oWorker.EvQueuedNotifyData(6, "text", 5);  // a code that nobody posts
    EXPECT_EQ(oTarget.lTold, lExpected);
}

TEST(ThreadNotifyInterface, GoesWhileItsBodyReports) {
    for (int n = 0; n < 100; ++n) {
        Target oTarget;
        Worker oWorker(oTarget, [](LProcessInterface& o) {
            while (!o.IsToStop()) {
                o.SetStatus("busy", 0);
                o.SetErrorF("%d", 1);
            }
        });
        oWorker.Start(31);
        RunMainLoopUntil([&] { return oTarget.lTold.size() > 3; });
    }
    RunMainLoopDry();
}
