// Test door: a workspace that starts nothing and writes down what it was asked.
#pragma once

#include <string>
#include <vector>

// From construction to destruction, for the whole process; one at a time. Every URL opens; every URL's application is
// "file:///Applications/Recorder.app".
class PlatformWorkspaceRecorder {
public:
    PlatformWorkspaceRecorder();
    ~PlatformWorkspaceRecorder();
    PlatformWorkspaceRecorder(PlatformWorkspaceRecorder const&) = delete;
    PlatformWorkspaceRecorder& operator=(PlatformWorkspaceRecorder const&) = delete;

    // "openURL: <url>" and "URLForApplicationToOpenURL: <url>", in the order of the calls. Any thread.
    std::vector<std::string> Calls() const;
};
