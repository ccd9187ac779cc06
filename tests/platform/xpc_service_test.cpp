#include "platform/host/services.h"
#include "platform/testing/quiesce.h"
#include "tests/platform/xpc_scene.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

constexpr char kName[] = "com.tarnwicksoftware.Lumora.Test";

// A server in a process of its own, which serves until it is killed. "hang" is the question that it keeps.
class ServerProcess {
public:
    ServerProcess() {
        char szProgram[] = LUMORA_SERVER;
        std::string szName = kName;
        char* aArguments[] = {szProgram, szName.data(), nullptr};
        EXPECT_EQ(0, ::posix_spawn(&nProcess, szProgram, nullptr, nullptr, aArguments, environ));
    }
    ~ServerProcess() { Kill(); }
    void Kill() {
        if (nProcess <= 0)
            return;
        ::kill(nProcess, SIGKILL);
        ::waitpid(nProcess, nullptr, 0);
        nProcess = 0;
    }
    pid_t Id() const { return nProcess; }

private:
    pid_t nProcess = 0;
};

// Asks until somebody serves the name; the answer's text.
std::string AskUntilServed(Party& oClient) {
    auto const oDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < oDeadline) {
        Message const oAnswer(xpc_connection_send_message_with_reply_sync(oClient, Message("who?")));
        if (xpc_get_type(oAnswer) == XPC_TYPE_DICTIONARY)
            return WordFor(oAnswer);
    }
    return "nobody";
}

Listener::PeerHandler Answering(char const* szText) {
    return [szText](xpc_connection_t, xpc_object_t p) { AnswerWith(p, szText); };
}

bool Exists(std::string const& szPath) {
    return ::access(szPath.c_str(), F_OK) == 0;
}

} // namespace

TEST(XpcService, KilledServerInterruptsAndItsSuccessorIsFoundAgain) {
    ServiceFolder oFolder;
    Party oClient(ServiceFolder::NewClient(kName));
    oClient.Resume();
    {
        ServerProcess oServer;
        EXPECT_EQ("served", AskUntilServed(oClient));
        EXPECT_EQ(oServer.Id(), xpc_connection_get_pid(oClient));
        auto lNotes = oClient.Notes().Now();
        auto const nBefore = lNotes.size(); // whether the first lookup came too early is up to the machine
        oClient.Ask(Message("hang"));
        EXPECT_EQ("served", AskUntilServed(oClient)) << "the question before this one has arrived";
        oServer.Kill();
        lNotes = oClient.Notes().WaitFor(nBefore + 2);
        EXPECT_EQ((Words{"reply interrupted", "interrupted"}),
                  Words(lNotes.begin() + static_cast<long>(nBefore), lNotes.end()));
        EXPECT_TRUE(Exists(oFolder.Runtime() + "/mach-services/" + kName)) << "a killed server leaves its socket";
    }
    ServerProcess oSuccessor;
    EXPECT_EQ("served", AskUntilServed(oClient)) << "the stale socket is taken over, the client connects again";
    EXPECT_EQ(oSuccessor.Id(), xpc_connection_get_pid(oClient));
}

TEST(XpcService, UnservedNameIsInvalidOnceAndWorksWhenServed) {
    ServiceFolder oFolder;
    Party oClient(ServiceFolder::NewClient(kName));
    oClient.Resume();
    EXPECT_EQ(Words{"invalid"}, oClient.Notes().WaitFor(1));
    oClient.Ask(Message("anybody?"));
    oClient.Barrier("over");
    EXPECT_EQ((Words{"invalid", "reply invalid", "over"}), oClient.Notes().WaitFor(3));
    Listener oServer(Answering("here"), ServiceFolder::NewServer(kName));
    EXPECT_EQ("here", AskUntilServed(oClient));
    EXPECT_EQ(3u, oClient.Notes().Now().size());
}

TEST(XpcService, OneServesANameAndLeavesNothingBehind) {
    ServiceFolder oFolder;
    std::string const szSocket = MachServicesFolder() + "/" + kName;
    {
        Listener oFirst(Answering("first"), ServiceFolder::NewServer(kName));
        Listener oSecond(Answering("second"), ServiceFolder::NewServer(kName));
        EXPECT_EQ(Words{"invalid"}, oSecond.AsParty().Notes().WaitFor(1));
        Party oClient(ServiceFolder::NewClient(kName));
        EXPECT_EQ("first", AskUntilServed(oClient.Resume()));
        EXPECT_TRUE(Exists(szSocket));
    }
    PlatformQuiesce();
    EXPECT_FALSE(Exists(szSocket)) << "cancelling takes the name away";
}

TEST(XpcService, NamesThatCantBeFilesAreInvalid) {
    ServiceFolder oFolder;
    for (std::string const& szName :
         {std::string(), std::string("../escape"), std::string(".hidden"), std::string("a/b"), std::string(81, 'n')}) {
        Party oServer(ServiceFolder::NewServer(szName.c_str())), oClient(ServiceFolder::NewClient(szName.c_str()));
        EXPECT_EQ(Words{"invalid"}, oServer.Resume().Notes().WaitFor(1)) << szName;
        EXPECT_EQ(Words{"invalid"}, oClient.Resume().Notes().WaitFor(1)) << szName;
    }
    Listener oLongest({}, ServiceFolder::NewServer(std::string(80, 'n').c_str()));
    Party oClient(ServiceFolder::NewClient(std::string(80, 'n').c_str()));
    oClient.Resume().Send(Message("hello"));
    EXPECT_EQ(Words{"hello"}, oLongest.PeerNotes().WaitFor(1));
}

TEST(XpcService, AFolderThatOthersMayEnterIsRefusedWithTheReason) {
    ServiceFolder oFolder;
    std::string const szFolder = MachServicesFolder();
    EXPECT_EQ(oFolder.Runtime() + "/mach-services", szFolder);
    EXPECT_EQ("", MachServicesFolderProblem());
    struct stat oStatus;
    ASSERT_EQ(0, ::stat(szFolder.c_str(), &oStatus));
    EXPECT_EQ(0700u, oStatus.st_mode & 07777);

    struct {
        char const* szWhat;
        std::function<void()> oSpoil, oMend;
        char const* szReason;
        bool bOnlyRoot;
    } const lCases[] = {
        {"mode", [&] { ::chmod(szFolder.c_str(), 0750); }, [&] { ::chmod(szFolder.c_str(), 0700); },
         "open to other users (mode 0750)", false},
        {"owner", [&] { EXPECT_EQ(0, ::chown(szFolder.c_str(), 4711, 4711)); },
         [&] { EXPECT_EQ(0, ::chown(szFolder.c_str(), 0, 0)); }, "belongs to user 4711", true},
        {"a link",
         [&] {
             ::rmdir(szFolder.c_str());
             ::symlinkat("/tmp", AT_FDCWD, szFolder.c_str());
         },
         [&] { ::unlink(szFolder.c_str()); }, "is not a folder", false},
        {"a file", [&] { ::close(::open(szFolder.c_str(), O_CREAT | O_CLOEXEC, 0600)); },
         [&] { ::unlink(szFolder.c_str()); }, "is not a folder", false},
        {"nowhere", [&] { ::setenv("XDG_RUNTIME_DIR", "/nowhere/at/all", 1); },
         [&] { ::setenv("XDG_RUNTIME_DIR", oFolder.Runtime().c_str(), 1); }, "can't be made: No such file", false},
    };
    for (auto const& oCase : lCases) {
        if (oCase.bOnlyRoot && ::geteuid() != 0)
            continue;
        SCOPED_TRACE(oCase.szWhat);
        oCase.oSpoil();
        EXPECT_THAT(MachServicesFolderProblem(), testing::HasSubstr(oCase.szReason));
        Party oServer(ServiceFolder::NewServer(kName)), oClient(ServiceFolder::NewClient(kName));
        EXPECT_EQ(Words{"invalid"}, oServer.Resume().Notes().WaitFor(1));
        EXPECT_EQ(Words{"invalid"}, oClient.Resume().Notes().WaitFor(1));
        oCase.oMend();
    }
    EXPECT_EQ("", MachServicesFolderProblem());
}

TEST(XpcService, TheRuntimeFolderFallsBackToOneOfThisUsersOwn) {
    ServiceFolder oFolder; // puts the variable back where it was of use, for what follows
    ::setenv("XDG_RUNTIME_DIR", "relative", 1);
    std::string const szUser = std::to_string(::geteuid());
    bool const bHasRun = Exists("/run/user/" + szUser);
    EXPECT_EQ((bHasRun ? "/run/user/" : "/tmp/lumora-") + szUser + "/mach-services", MachServicesFolder());
}
