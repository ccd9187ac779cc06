// A thread's name in reports for the length of a block.
#pragma once

// Names the calling thread, where it has an entry in the debug table, by the first 4 bytes of a name; its destructor,
// on the same thread, gives the old name back.
class LBugReportBlockScope {
public:
    explicit LBugReportBlockScope(char const* szName) noexcept;
    ~LBugReportBlockScope();
    LBugReportBlockScope(LBugReportBlockScope const&) = delete;
    LBugReportBlockScope& operator=(LBugReportBlockScope const&) = delete;

private:
    char szSavedName[8] = "";
    int nIndex = -1; // of the thread's entry, -1 when it has none
};
