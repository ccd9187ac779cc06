// Reads every #include of the tree and holds it to cmake/floors.txt.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

fs::path const kRoot = LUMORA_ROOT;

std::map<std::string, int> ReadFloors() {
    std::map<std::string, int> mapFloors;
    std::ifstream oFile(kRoot / "cmake/floors.txt");
    for (std::string szLine; std::getline(oFile, szLine);) {
        int nFloor = 0;
        std::string szFolder;
        if (szLine.empty() || szLine[0] == '#' || !(std::istringstream(szLine) >> nFloor >> szFolder))
            continue;
        mapFloors[szFolder] = nFloor;
    }
    return mapFloors;
}

// The deepest folder of the table that holds the path, or "" when none does.
std::string FolderOf(std::map<std::string, int> const& mapFloors, std::string szPath) {
    for (size_t n = szPath.rfind('/'); n != std::string::npos && n != 0; n = szPath.rfind('/', n - 1)) {
        szPath.resize(n);
        if (mapFloors.count(szPath))
            return szPath;
    }
    return "";
}

std::vector<fs::path> SourcesUnder(fs::path const& oFolder) {
    std::vector<fs::path> lSources;
    if (fs::exists(oFolder))
        for (auto const& oEntry : fs::recursive_directory_iterator(oFolder))
            if (oEntry.path().extension() == ".h" || oEntry.path().extension() == ".cpp")
                lSources.push_back(fs::relative(oEntry.path(), kRoot));
    return lSources;
}

std::string Slurp(fs::path const& oPath) {
    std::ifstream oFile(kRoot / oPath);
    return {std::istreambuf_iterator<char>(oFile), {}};
}

} // namespace

TEST(Floors, EveryIncludePointsDownOrStaysInItsFolder) {
    auto const mapFloors = ReadFloors();
    ASSERT_GE(mapFloors.size(), 10u);
    std::regex const oInclude("^[ \t]*#[ \t]*include[ \t]*\"([^\"]+)\"", std::regex::multiline);
    int nSeen = 0;
    for (auto const& [szTop, nFloorOfTop] : mapFloors)
        for (auto const& oSource : SourcesUnder(kRoot / szTop)) {
            std::string const szFrom = FolderOf(mapFloors, oSource.string());
            if (szFrom != szTop)
                continue; // counted under its own, deeper folder
            std::string const szText = Slurp(oSource);
            for (std::sregex_iterator it(szText.begin(), szText.end(), oInclude), end; it != end; ++it) {
                std::string const szTarget = (*it)[1];
                std::string const szTo = FolderOf(mapFloors, szTarget);
                ++nSeen;
                if (szTo.empty())
                    ADD_FAILURE() << oSource << " includes \"" << szTarget << "\", which is in no folder of the table";
                else if (szTo != szFrom && mapFloors.at(szTo) >= mapFloors.at(szFrom))
                    ADD_FAILURE() << oSource << " (floor " << mapFloors.at(szFrom) << ") includes \"" << szTarget
                                  << "\" (floor " << mapFloors.at(szTo) << ")";
                else if (szFrom == "tools" && szTarget.starts_with("platform/host/"))
                    continue; // what this machine's host of the bundle may ask of the machine
                else if (szTo == "platform" && szFrom != "platform")
                    ADD_FAILURE() << oSource << " reaches into the platform: \"" << szTarget << "\"";
            }
        }
    EXPECT_GT(nSeen, 0);
}

// Above the platform nothing asks where it is: no conditional compilation, no header that only one kernel has.
TEST(Floors, NothingAboveThePlatformAsksWhichSystemItIsOn) {
    std::regex const oConditional("^[ \t]*#[ \t]*(if|ifdef|ifndef|elif)\\b", std::regex::multiline);
    std::regex const oKernelHeader(
        "#[ \t]*include[ \t]*<(linux/|sys/(epoll|eventfd|timerfd|signalfd|inotify|prctl)\\.h)");
    for (auto const& [szFolder, nFloor] : ReadFloors()) {
        if (nFloor == 0)
            continue;
        for (auto const& oSource : SourcesUnder(kRoot / szFolder)) {
            std::string const szText = Slurp(oSource);
            if (oSource != "base/thread_annotations.h") {
                EXPECT_FALSE(std::regex_search(szText, oConditional)) << oSource << " compiles conditionally";
            }
            EXPECT_FALSE(std::regex_search(szText, oKernelHeader)) << oSource << " includes a kernel's own header";
        }
    }
}
