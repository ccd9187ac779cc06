#include "settings/xml_document.h"

#include "base/file_descriptor.h"
#include "files/folder.h"
#include "files/locked_file.h"
#include "files/text_file.h"
#include "runtime/machine/memory.h"
#include "runtime/sync/process_interface.h"
#include "settings/xml_saver.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>

namespace {

// The text, its tree and what is in between, for the worst of texts.
constexpr std::uint64_t kMemoryPerByte = 20;

bool IsMemoryFor(char const* szPath) noexcept {
    struct stat oStat;
    std::uint64_t const nSize = stat(szPath, &oStat) == 0 ? static_cast<std::uint64_t>(oStat.st_size) : 0;
    std::uint64_t const nFree = LMemoryGetFreeHeapSize();
    return nFree > 0 && nSize <= (nFree - 1) / kMemoryPerByte; // below it, also where twenty times would not fit
}

int Fail(char* szError, char const* szReason, char const* szPath) noexcept {
    std::snprintf(szError, kLNameSize, "%s%s", szReason, szPath);
    return LXMLDocument::kFailed;
}

} // namespace

int LXMLDocument::LoadFromFile(LProcessInterface& oProgress, char const* szPath, char* szError) noexcept {
    if (!LFile::FileExists(szPath))
        return Fail(szError, "File does not exist: ", szPath);
    if (!IsMemoryFor(szPath))
        return Fail(szError, "Not enough memory available to load ", szPath);
    if (oProgress.IsToStop())
        return kStopped;
    LStringLong szText;
    if (!LLoadTextAutoChar(szPath, szText))
        return Fail(szError, "Cannot open xml file: ", szPath);
    if (oProgress.IsToStop())
        return kStopped;
    *szError = '\0';
    LXMLLoader oLoader{.szText = szText.GetString(), .szError = szError, .pProgress = &oProgress};
    if (!LoadData(oLoader))
        return kFailed;
    return oProgress.IsToStop() ? kStopped : kLoaded;
}

void LXMLDocument::WriteToFile(char const* szPath) const noexcept {
    LStringLong szText;
    {
        LXMLSaver oSaver(szText, LXMLSaver::kFormatted);
        for (LXMLElement const* pNode = GetFirstChild(); pNode; pNode = pNode->GetNext())
            oSaver.Save(*pNode, 0);
        if (oSaver.HasFailed())
            return;
    }
    // Only now: the open cuts what was there.
    LFileDescriptor const oFile(open(szPath, O_RDWR | O_CREAT | O_TRUNC | O_EXLOCK | O_NONBLOCK | O_CLOEXEC, 0666));
    if (oFile.IsOpen())
        LWriteWhole(oFile.Get(), szText.GetString(), szText.GetLength());
}
