#include "settings/xml_loader.h"

#include "settings/xml_cursor.h"

#include <cstdarg>
#include <cstdio>

namespace {

// What a name can make of the longest message is longer still.
constexpr std::size_t kMessageSize = 780;

} // namespace

void XMLRecordErrorF(LXMLLoader& oLoader, char const* szFormat, ...) noexcept {
    if (*oLoader.szError != '\0')
        return;
    char szMessage[kMessageSize];
    std::va_list lArguments;
    va_start(lArguments, szFormat);
    std::vsnprintf(szMessage, sizeof szMessage, szFormat, lArguments);
    va_end(lArguments);
    char szPlace[48];
    std::snprintf(szPlace, sizeof szPlace, "Ln %d, Col %d: ", oLoader.nLine, oLoader.nColumn);
    LFixedWriter(oLoader.szError, kLNameSize).Add(szPlace).Add(szMessage);
}

char XMLLoadChar(LXMLLoader& oLoader) noexcept {
    return LXMLCursor(oLoader).Read();
}

void XMLLoadEntity(LXMLLoader& oLoader, char* szResult) noexcept {
    LXMLCursor(oLoader).ReadEntity(szResult);
}

char XMLLoadTag(LXMLLoader& oLoader, char* szName) noexcept {
    std::string_view szRead;
    char const cEnd = LXMLCursor(oLoader).ReadName(szName, szRead);
    if (szRead.data() != szName)
        szName[szRead.copy(szName, kLNameSize - 1)] = '\0';
    return cEnd;
}

char XMLLoadAttribute(LXMLLoader& oLoader, LStringLongTemplate<char>& szValue) noexcept {
    std::string_view szRead;
    char const cEnd = LXMLCursor(oLoader).ReadValue(szValue, szRead);
    if (szRead.data() != szValue.GetString()) {
        szValue.Reserve(kLNameSize);
        szValue.Empty();
        LXMLAppendRun(szValue, szRead);
    }
    return cEnd;
}
