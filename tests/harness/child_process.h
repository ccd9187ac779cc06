// A second process for tests of what lies between processes.
#pragma once

#include <functional>
#include <sys/types.h>

// Forks the test's own process; to be made while it has one thread only. The child runs the body and ends with what it
// returns, without any destructor. Killed and collected at the latest by the destructor.
class ChildProcess {
public:
    // What the child has of its parent.
    class Door {
    public:
        void SayReady() const;         // ends one WaitUntilReady
        void WaitForParent() const;    // until one LetGo, or the parent's end
        [[noreturn]] int Rest() const; // until it is killed; has a type so that a body may return it

    private:
        friend ChildProcess;
        int hToParent = -1, hFromParent = -1;
    };
    using Body = std::function<int(Door const&)>;

    explicit ChildProcess(Body const& oBody);
    ~ChildProcess();
    ChildProcess(ChildProcess const&) = delete;
    ChildProcess& operator=(ChildProcess const&) = delete;

    // True once the child has said that it is ready; false when it ended instead.
    bool WaitUntilReady() const;
    void LetGo() const;

    void Kill();      // with SIGKILL, and waits for its end
    int Wait();       // waits for its end; the exit status, or -1 when a signal ended it
    int WaitStatus(); // waits for its end; all of it, as waitpid has it

private:
    pid_t nProcess = -1;
    int hFromChild = -1, hToChild = -1;
};
