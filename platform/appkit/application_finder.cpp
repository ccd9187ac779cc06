#include "platform/appkit/application_finder.h"

#include "platform/foundation/home.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

Texts Split(std::string const& szText, char cSeparator) {
    Texts lParts;
    std::istringstream oText(szText);
    for (std::string szPart; std::getline(oText, szPart, cSeparator);)
        if (!szPart.empty())
            lParts.push_back(szPart);
    return lParts;
}

// The user's own folder and then the system's, most important first.
Texts Folders(char const* szOwn, std::string const& szOwnDefault, char const* szAll, char const* szAllDefault) {
    auto const Variable = [](char const* szName, std::string const& szDefault) {
        char const* const szValue = std::getenv(szName);
        return szValue && *szValue ? szValue : szDefault;
    };
    Texts lFolders{Variable(szOwn, szOwnDefault)};
    for (auto const& szFolder : Split(Variable(szAll, szAllDefault), ':'))
        lFolders.push_back(szFolder);
    return lFolders;
}

Texts DataFolders() {
    return Folders("XDG_DATA_HOME", HomeFolder() + "/.local/share", "XDG_DATA_DIRS", "/usr/local/share:/usr/share");
}

// The lines of one such file read "50:application/pdf:*.pdf", the weightiest first.
std::string TypeByName(std::string const& szPath) {
    auto const nDot = szPath.rfind('.');
    if (nDot == szPath.npos || szPath.find('/', nDot) != szPath.npos)
        return "application/octet-stream";
    std::string const szEnding = ":*" + szPath.substr(nDot);
    for (auto const& szFolder : DataFolders()) {
        std::ifstream oFile(szFolder + "/mime/globs2");
        for (std::string szLine; std::getline(oFile, szLine);)
            if (szLine[0] != '#' && szLine.ends_with(szEnding)) {
                auto const nType = szLine.find(':') + 1;
                return szLine.substr(nType, szLine.size() - szEnding.size() - nType);
            }
    }
    return "application/octet-stream";
}

std::string LowerCase(std::string szText) {
    for (char& c : szText)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
    return szText;
}

std::string TypeOf(std::string const& szScheme, std::string const& szPath) {
    if (szScheme != "file")
        return "x-scheme-handler/" + LowerCase(szScheme);
    struct stat oStatus;
    bool const bFolder = stat(szPath.c_str(), &oStatus) == 0 && S_ISDIR(oStatus.st_mode);
    return bFolder ? "inode/directory" : TypeByName(szPath);
}

// The first installed one of "a.desktop;b.desktop;".
std::string Installed(std::string const& szNames, Texts const& lDataFolders) {
    for (auto const& szName : Split(szNames, ';'))
        for (auto const& szFolder : lDataFolders)
            if (std::string const szPath = szFolder + "/applications/" + szName;
                szName.find('/') == szName.npos && access(szPath.c_str(), R_OK) == 0)
                return szPath;
    return "";
}

std::string FindIn(std::string const& szFile, std::string const& szSection, std::string const& szType,
                   Texts const& lDataFolders) {
    std::ifstream oFile(szFile);
    bool bInSection = false;
    for (std::string szLine; std::getline(oFile, szLine);)
        if (szLine.starts_with('['))
            bInSection = szLine.starts_with("[" + szSection + "]");
        else if (bInSection && szLine.starts_with(szType + "="))
            return Installed(szLine.substr(szType.size() + 1), lDataFolders);
    return "";
}

} // namespace

std::string FindApplication(std::string const& szScheme, std::string const& szPath) {
    std::string const szType = TypeOf(szScheme, szPath);
    Texts const lData = DataFolders();
    Texts lLists;
    for (auto const& szFolder : Folders("XDG_CONFIG_HOME", HomeFolder() + "/.config", "XDG_CONFIG_DIRS", "/etc/xdg"))
        lLists.push_back(szFolder + "/mimeapps.list");
    for (auto const& szFolder : lData)
        lLists.push_back(szFolder + "/applications/mimeapps.list");
    for (char const* szSection : {"Default Applications", "Added Associations"})
        for (auto const& szFile : lLists)
            if (auto szFound = FindIn(szFile, szSection, szType, lData); !szFound.empty())
                return szFound;
    for (auto const& szFolder : lData)
        if (auto szFound = FindIn(szFolder + "/applications/mimeinfo.cache", "MIME Cache", szType, lData);
            !szFound.empty())
            return szFound;
    return "";
}
