#include "tools/settings/settings_file.h"

#include "base/fixed_text.h"
#include "files/folder.h"
#include "files/text_file.h"
#include "runtime/threads/process_interface_void.h"
#include "settings/setting_cipher.h"
#include "settings/setting_items.h"
#include "settings/xml_document.h"
#include "tools/process/failure.h"

#include <sys/file.h>
#include <sys/stat.h>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

namespace {

constexpr std::size_t kLongestName = kLNameSize - 1 - 2; // as a password's, with its "__", it still reads back

bool IsNameByte(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
           (static_cast<unsigned char>(c) >= 0x80);
}

// A name that is none would be written, and make a file that does not read back.
void CheckName(std::string const& szWhat, std::string const& szName) {
    auto const IsLater = [](char c) { return IsNameByte(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; };
    if (szName.empty() || !IsNameByte(szName[0]) || !std::all_of(szName.begin(), szName.end(), IsLater))
        throw Failure(ExitCode::Usage, "'" + szName + "' can't be the name of " + szWhat +
                                           ": such a name begins with a letter or '_', and goes on with letters, "
                                           "digits, '_', '-', '.' and ':'.");
    if (szName.size() > kLongestName)
        throw Failure(ExitCode::Usage, "the name of " + szWhat + " is longer than " + std::to_string(kLongestName) +
                                           " bytes. Choose a shorter one.");
}

// As the end of a sentence; "" when nothing stands in the way.
std::string WhyNotOpened(std::string const& szPath, int nFlags, int nLock) {
    LFileDescriptor const oFile(open(szPath.c_str(), nFlags | O_NONBLOCK | O_CLOEXEC, 0666));
    struct stat oStatus;
    if (!oFile.IsOpen())
        return std::string("it can't be opened: ") + std::strerror(errno);
    if (fstat(oFile.Get(), &oStatus) != 0 || !S_ISREG(oStatus.st_mode))
        return "it is no file but something else of that name";
    return flock(oFile.Get(), nLock | LOCK_NB) == 0 ? "" : "another program has it open. Try again when that is done";
}

} // namespace

void SettingsFile::CheckSection(std::string const& szSection) const {
    CheckName("a section", szSection);
}

void SettingsFile::CheckItem(std::string const& szItem) const {
    CheckName("an item", szItem);
    CheckIsNoPasswordItem(szItem);
}

void SettingsFile::CheckValue(std::string const& szValue) const {
    if (szValue.find('\r') != std::string::npos)
        throw Failure(ExitCode::Usage,
                      "the value has a carriage return in it, which would be read back as a line feed. Take it out.");
}

std::string SettingsFile::Damage() const {
    LXMLDocument oDocument;
    return Read(oDocument);
}

std::string SettingsFile::WhyNotWritten() const {
    std::string const szWhy = WhyNotOpened(szPath, O_RDWR | O_CREAT, LOCK_EX);
    return !szWhy.empty()
               ? szWhy
               : "the disk may be full, or another program changed it at the same moment. Look at it, then try again";
}

std::vector<Setting> SettingsFile::List() const {
    LXMLDocument oDocument;
    Read(oDocument);
    std::vector<Setting> lSettings;
    for (auto const* pSection = oDocument.GetFirstChild(); pSection; pSection = pSection->GetNext())
        for (auto const* pItem = pSection->GetFirstChild(); pItem; pItem = pItem->GetNext()) {
            char const* const szName = pItem->GetName();
            if (!pSection->GetName() || !szName || oDocument.GetElement(pSection->GetName()) != pSection ||
                pSection->GetElement(szName) != pItem)
                continue; // of several with one name the first counts
            if (char const* const szValue = pItem->GetAttributes().Get("value"))
                lSettings.push_back(FromStored(pSection->GetName(), szName, szValue));
        }
    return lSettings;
}

bool SettingsFile::Has(std::string const& szSection, std::optional<std::string> const& szItem) const {
    LXMLDocument oDocument;
    Read(oDocument);
    LXMLElement const* const pSection = oDocument.GetElement(szSection.c_str());
    return pSection && (!szItem || pSection->GetElement(szItem->c_str()) ||
                        pSection->GetElement((kPasswordPrefix + *szItem).c_str()));
}

bool SettingsFile::Set(Setting const& oSetting) {
    KeepOthersOut();
    LXMLDocument oDocument;
    Read(oDocument);
    LStringLong szProtected;
    if (oSetting.bPassword)
        LSettingEncrypt(szProtected, oSetting.szValue.c_str());
    if (oSetting.bPassword && szProtected.IsEmpty() != oSetting.szValue.empty())
        return false; // no memory: the old password stays
    std::string const szItem = oSetting.bPassword ? kPasswordPrefix + oSetting.szItem : oSetting.szItem;
    if (LPutSetting(oDocument, oSetting.szSection.c_str(), szItem.c_str(),
                    oSetting.bPassword ? szProtected.GetString() : oSetting.szValue.c_str()))
        Write(oDocument);
    return true; // as far as this tells: who calls reads it back
}

bool SettingsFile::Delete(std::string const& szSection, std::optional<std::string> const& szItem) {
    KeepOthersOut();
    LXMLDocument oDocument;
    Read(oDocument);
    LXMLElement* const pSection = oDocument.GetElement(szSection.c_str());
    if (!pSection)
        return true;
    if (szItem) {
        pSection->DeleteElement(szItem->c_str());
        pSection->DeleteElement((kPasswordPrefix + *szItem).c_str());
    } else {
        oDocument.DeleteElement(szSection.c_str());
    }
    Write(oDocument);
    return true;
}

LFileDescriptor SettingsFile::Lock(int nLock) const {
    constexpr int kMostAttempts = 1000;
    constexpr std::chrono::milliseconds kBetweenAttempts(5);
    LFileDescriptor oLocked(open(szPath.substr(0, szPath.rfind('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int n = 0; flock(oLocked.Get(), nLock | LOCK_NB) != 0 && errno == EWOULDBLOCK; ++n) {
        if (n == kMostAttempts)
            throw Failure(nLock == LOCK_EX ? ExitCode::Output : ExitCode::Input,
                          "another lumora settings has " + szPath + " in use. Try again when that is done.");
        std::this_thread::sleep_for(kBetweenAttempts);
    }
    return oLocked;
}

void SettingsFile::KeepOthersOut() {
    if (!oFolder.IsOpen())
        oFolder = Lock(LOCK_EX);
}

std::string SettingsFile::Read(LXMLDocument& oDocument) const {
    LFileDescriptor const oShared = oFolder.IsOpen() ? LFileDescriptor() : Lock(LOCK_SH);
    LProcessInterfaceVoid oNeverStops;
    char szError[kLNameSize] = "";
    std::string szWhy;
    for (int n = 0; n < 2 && szWhy.empty(); ++n) { // a lock that was waited for in vain may be free just now
        if (oDocument.LoadFromFile(oNeverStops, szPath.c_str(), szError) == LXMLDocument::kLoaded)
            return szError;
        if (!LFile::FileExists(szPath.c_str()))
            return {};
        szWhy = WhyNotOpened(szPath, O_RDONLY, LOCK_SH);
    }
    throw Failure(ExitCode::Input, szPath + " can't be read: " + (szWhy.empty() ? szError : szWhy) + ".");
}

void SettingsFile::Write(LXMLDocument const& oDocument) const {
    LStringLong szBefore, szWhole, szAfter;
    for (auto const* pNode = oDocument.GetFirstChild(); pNode; pNode = pNode->GetNext())
        pNode->SaveToBuffer(szWhole, 0);
    LLoadText(szPath.c_str(), szBefore);
    oDocument.WriteToFile(szPath.c_str());
    bool const bRead = LLoadText(szPath.c_str(), szAfter);
    bool const bCut = bRead && szAfter.GetLength() < szWhole.GetLength() && szWhole.View().starts_with(szAfter.View());
    if (bCut && szAfter.View() != szBefore.View())
        LSaveText(szPath.c_str(), szBefore); // which had its place on the disk until now
}
