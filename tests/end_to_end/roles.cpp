#include "tests/end_to_end/roles.h"

#include <gtest/gtest.h>
#include <sndfile.hh>

#include <cmath>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int kPatience_ms = 30000;

std::string Quoted(std::string const& szWord) {
    return "'" + szWord + "'";
}

} // namespace

RoleProcess::Options Roles::Options(Arguments const& lArguments) const {
    RoleProcess::Options oHow;
    oHow.lArguments = {LUMORA_PROGRAM};
    oHow.lArguments.insert(oHow.lArguments.end(), lArguments.begin(), lArguments.end());
    oHow.lEnvironment = {{"XDG_RUNTIME_DIR", ServiceFolder()}, {"XDG_STATE_HOME", oFolder / "state"}};
    return oHow;
}

std::unique_ptr<RoleProcess> Roles::Start(Arguments const& lArguments) const {
    return std::make_unique<RoleProcess>(Options(lArguments));
}

std::unique_ptr<RoleProcess> Roles::StartHelper() const {
    auto pHelper = Start({"helper", "--control", "3"});
    WaitFor(*pHelper, "ready");
    return pHelper;
}

std::unique_ptr<RoleProcess> Roles::StartRecorder(std::string const& szFile, Arguments const& lMore) const {
    Arguments lArguments = {"recorder", "--control", "3", "--progress", oFolder / szFile};
    lArguments.insert(lArguments.end(), lMore.begin(), lMore.end());
    auto pRecorder = Start(lArguments);
    WaitFor(*pRecorder, "registered");
    return pRecorder;
}

std::unique_ptr<RoleProcess> Roles::StartServer(Arguments const& lMore) const {
    Arguments lArguments = {"server", "--control", "3", "--progress"};
    lArguments.insert(lArguments.end(), lMore.begin(), lMore.end());
    auto pServer = Start(lArguments);
    WaitFor(*pServer, "started");
    return pServer;
}

Ended Roles::Run(Arguments const& lArguments, std::string const& szInput) const {
    return RunThrough(szInput.empty() ? "" : szInput + " |", lArguments);
}

Ended Roles::RunLimited(uint64_t nBytes, Arguments const& lArguments) const {
    return RunThrough("ulimit -f " + std::to_string(nBytes / 512) + ";", lArguments); // in blocks of 512 bytes
}

Ended Roles::RunThrough(std::string const& szShellBefore, Arguments const& lArguments) const {
    RoleProcess::Options oHow = Options(lArguments);
    if (!szShellBefore.empty()) {
        std::string szCommand = szShellBefore;
        for (std::string const& szWord : oHow.lArguments)
            szCommand += " " + Quoted(szWord);
        oHow.lArguments = {"/bin/sh", "-c", szCommand};
    }
    std::string const szErrorFile = oFolder / "errors";
    int const nErrors = open(szErrorFile.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600);
    oHow.nStandardError = nErrors;
    RoleProcess oProcess(oHow);
    close(nErrors);
    Ended oEnded;
    while (auto const szLine = oProcess.WaitLine(60000))
        oEnded.szOutput += *szLine + "\n";
    oEnded.nStatus = oProcess.WaitExit(kPatience_ms);
    oEnded.szErrors = oFolder.Read("errors");
    return oEnded;
}

std::string Roles::MakeInput(std::string const& szName, size_t nFrames, int nRate, size_t nFirst) const {
    std::string const szPath = oFolder / szName;
    std::vector<float> lFrames(nFrames * kChannels);
    for (size_t n = 0; n < nFrames; ++n) {
        lFrames[2 * n] = LeftAt(nFirst + n);
        lFrames[2 * n + 1] = RightAt(nFirst + n);
    }
    SndfileHandle(szPath, SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_FLOAT, static_cast<int>(kChannels), nRate)
        .writef(lFrames.data(), static_cast<sf_count_t>(nFrames));
    return szPath;
}

std::string WhatIsWrongWith(std::string const& szPath, size_t nFirst, size_t nFrames) {
    SndfileHandle oFile(szPath);
    if (!oFile || oFile.channels() != 2)
        return "no stereo file " + szPath;
    std::vector<float> lFrames(static_cast<size_t>(oFile.frames()) * kChannels);
    oFile.readf(lFrames.data(), oFile.frames());
    size_t const nThere = lFrames.size() / kChannels;
    if (nFrames == kAnyNumber ? nThere == 0 : nThere != nFrames)
        return std::to_string(nThere) + " frames";
    if (nFirst == kAnywhere)
        nFirst = static_cast<size_t>(std::lround(lFrames[0] * (1 << 23)));
    for (size_t n = 0; n < nThere; ++n)
        if (lFrames[2 * n] != LeftAt(nFirst + n) || lFrames[2 * n + 1] != RightAt(nFirst + n))
            return "frame " + std::to_string(n) + " is not frame " + std::to_string(nFirst + n) + " of the input";
    return "";
}

EventLine WaitFor(RoleProcess& oRole, std::string const& szEvent) {
    while (auto const szLine = oRole.WaitLine(kPatience_ms)) {
        EventLine const oEvent = EventLine::Parse(*szLine);
        if (oEvent.Name() == szEvent)
            return oEvent;
    }
    ADD_FAILURE() << "no '" << szEvent << "' came";
    return EventLine("");
}

void WaitForFrames(RoleProcess& oRole, uint64_t nFrames) {
    for (;;) {
        EventLine const oEvent = WaitFor(oRole, "progress");
        if (oEvent.Name().empty() || oEvent.Number("frames") >= nFrames)
            return;
    }
}
