// A fault in the audio server's process ends it as it ends any other.
#include "tests/end_to_end/roles.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

namespace fs = std::filesystem;

TEST(Faults, InTheServerGiveItsOrdinaryExitStatus) {
    Roles oRoles;
    auto const pHelper = oRoles.StartHelper(); // a process without the bundle
    pHelper->Signal(SIGBUS);
    int const nOrdinary = pHelper->WaitExit(30000);
    EXPECT_GT(nOrdinary, 0);

    std::string const szInput = oRoles.MakeInput("in.wav", 44100 * 60);
    for (bool const bSent : {true, false}) {
        fs::path const oBundle = oRoles / "Copy.driver";
        fs::copy(LUMORA_BUNDLE, oBundle, fs::copy_options::recursive);
        auto const pServer = oRoles.StartServer({"--bundle", oBundle, szInput});
        WaitFor(*pServer, "progress");
        // The code that the IO thread is about to run is no longer in the file that it is mapped from. Nor is that of
        // the exception handler, which faults itself while it answers.
        if (bSent)
            pServer->Signal(SIGBUS);
        else
            ASSERT_EQ(truncate((oBundle / "Contents/MacOS/LumoraVirtualAudioDevice").c_str(), 0), 0);
        EXPECT_EQ(pServer->WaitExit(30000), nOrdinary) << bSent;
        fs::remove_all(oBundle);
    }
}
