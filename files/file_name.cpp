#include "files/file_name.h"

#include "files/separator.h"

#include <cstdio>
#include <iterator>

namespace {

char const* const kFileMessages[] = {
    "",
    "File name is blank. Please provide a file name.",
    "File name may not be more than 260 characters long",
    "File name may not end with a space or period",
    "File name may not start with a period",
    "File name may not contain control characters",
    "File name may not contain characters : / \\",
    "File name is reserved for use by the operating system",
};

// For one part of a folder's path; null where no message of its own is due.
char const* const kFolderMessages[] = {
    "",
    "Folder name must not be empty",
    nullptr,
    "Folder name must not end with a space or period",
    "Folder name must not start with a period",
    "Folder name must not contain control characters",
    "Folder component must not contain character :",
    "'%s' is reserved for use by the operating system",
};

bool IsControl(char c) noexcept {
    return static_cast<unsigned char>(c) < 32;
}
bool IsForbidden(char c) noexcept {
    return c == ':' || LIsPathSeparator(c);
}

// Formats the message, in which `szPart` may be named, and gives the answer that goes with it.
bool Refuse(char* szMessage, char const* szFormat, char const* szPart = "") noexcept {
    if (szMessage)
        std::snprintf(szMessage, kLNameSize, szFormat, szPart);
    return false;
}

// Validates the part of a folder's path that begins at `szPart`; puts its length into `nLength`.
bool IsFolderPartValid(char const* szPart, std::size_t& nLength, char* szMessage) noexcept {
    char szName[kLNameSize];
    LFixedWriter oName(szName);
    for (nLength = 0; szPart[nLength] && !LIsPathSeparator(szPart[nLength]); ++nLength)
        oName.Add(szPart[nLength]);
    int const nFault = LFileOrFolderNameValidate(szName);
    if (nFault == kLNameValid)
        return true;
    bool const bKnown = static_cast<std::size_t>(nFault) < std::size(kFolderMessages) && kFolderMessages[nFault];
    return Refuse(szMessage, bKnown ? kFolderMessages[nFault] : "Invalid folder", szName);
}

} // namespace

int LFileOrFolderNameValidate(char const* szName) noexcept {
    if (!*szName)
        return kLNameEmpty;
    if (std::strlen(szName) >= kLNameSize)
        return kLNameTooLong;
    if (*szName == '.')
        return kLNameStartsWithDot;
    for (; *szName; ++szName)
        if (IsControl(*szName))
            return kLNameHasControl;
        else if (IsForbidden(*szName))
            return kLNameHasSeparator;
    return kLNameValid;
}

bool LFileNameIsReserved(char const*) noexcept {
    return false;
}

bool LFileIsLetterOrNumber(char c) noexcept {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool LFile::IsFileValid(char const* szName, char* szMessage) noexcept {
    if (szMessage)
        *szMessage = '\0';
    int const nFault = LFileOrFolderNameValidate(szName);
    if (nFault == kLNameValid)
        return true;
    bool const bKnown = static_cast<std::size_t>(nFault) < std::size(kFileMessages);
    return Refuse(szMessage, "%s", bKnown ? kFileMessages[nFault] : "Invalid file name");
}

bool LFile::IsFolderValid(char const* szFolder, char* szMessage) noexcept {
    if (szMessage)
        *szMessage = '\0';
    if (!*szFolder)
        return Refuse(szMessage, "Folder must not be empty");
    if (std::strlen(szFolder) >= kLNameSize)
        return Refuse(szMessage, "Folder must be less than 260 character long");
    if (*szFolder != '/')
        return Refuse(szMessage, "Folder must begin with /");
    for (char const* szPart = szFolder + 1; *szPart;) {
        std::size_t nLength = 0;
        if (!IsFolderPartValid(szPart, nLength, szMessage))
            return false;
        szPart += nLength;
        szPart += *szPart != '\0';
    }
    return true;
}

bool LFile::PreprocessName(char const* szIn, char* szOut) noexcept {
    std::size_t nLength = 0;
    for (; *szIn && nLength < kLNameSize - 1; ++szIn)
        if (!IsControl(*szIn) && !IsForbidden(*szIn) && (*szIn != '.' || nLength != 0))
            szOut[nLength++] = *szIn;
    szOut[nLength] = '\0';
    return nLength != 0;
}

std::size_t LFile::EscapeFilePath(char const* szIn, char* szOut) noexcept {
    char szEscaped[kLNameSize];
    std::size_t nLength = 0;
    for (; *szIn; ++szIn) {
        bool const bEscape = *szIn == '`' || *szIn == '"';
        if (nLength + bEscape + 1 >= kLNameSize)
            break;
        if (bEscape)
            szEscaped[nLength++] = '\\';
        szEscaped[nLength++] = *szIn;
    }
    std::memcpy(szOut, szEscaped, nLength);
    szOut[nLength] = '\0';
    return nLength;
}
