#include "files/text_file.h"

#include "base/utf.h"
#include "files/locked_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/xattr.h>

#include <string_view>

namespace {

constexpr unsigned int kSaveLockTimeout = 500;
constexpr char kEncodingAttribute[] = "com.apple.TextEncoding";
constexpr char kEncodingUTF8[] = "utf-8;134217984";
constexpr char16_t kMark = 0xFEFF;

std::string_view TextOf(char const* szText) noexcept {
    return szText ? szText : "";
}
std::string_view TextOf(LStringLongTemplate<char> const& szText) noexcept {
    return szText.View();
}

LFileDescriptor OpenToWrite(char const* szPath) noexcept {
    return LOpenLocked(szPath, O_RDWR | O_CREAT, LOCK_EX, kSaveLockTimeout);
}

bool Replace(char const* szPath, std::string_view szText) noexcept {
    if (LFileDescriptor const oFile = OpenToWrite(szPath); oFile.IsOpen() && ftruncate(oFile.Get(), 0) == 0)
        LWriteWhole(oFile.Get(), szText.data(), szText.size());
    return LFile::SetFileAttributeTextEncodingUTF8(szPath);
}

bool Append(char const* szPath, std::string_view szText) noexcept {
    if (LFileDescriptor const oFile = OpenToWrite(szPath); oFile.IsOpen() && lseek(oFile.Get(), 0, SEEK_END) >= 0)
        LWriteWhole(oFile.Get(), szText.data(), szText.size());
    return LFile::SetFileAttributeTextEncodingUTF8(szPath);
}

} // namespace

bool LSaveText(char const* szPath, char const* szText) noexcept {
    return Replace(szPath, TextOf(szText));
}
bool LSaveText(char const* szPath, LStringLongTemplate<char> const& szText) noexcept {
    return Replace(szPath, TextOf(szText));
}
bool LSaveAppendText(char const* szPath, char const* szText) noexcept {
    return Append(szPath, TextOf(szText));
}
bool LSaveAppendText(char const* szPath, LStringLongTemplate<char> const& szText) noexcept {
    return Append(szPath, TextOf(szText));
}
bool LSaveTextAsUTF8(char const* szPath, char const* szText) noexcept {
    return LSaveText(szPath, szText);
}
bool LSaveTextAsUTF8(char const* szPath, LStringLongTemplate<char> const& szText) noexcept {
    return LSaveText(szPath, szText);
}
bool LSaveAppendTextAsUTF8(char const* szPath, char const* szText) noexcept {
    return LSaveAppendText(szPath, szText);
}
bool LSaveAppendTextAsUTF8(char const* szPath, LStringLongTemplate<char> const& szText) noexcept {
    return LSaveAppendText(szPath, szText);
}

void LSaveTextAsUnicodeBOM(char const* szPath, LStringLongTemplate<char> const& szText) noexcept {
    LStringLongTemplate<char16_t> szUnits; // converted before the old text is gone
    if (!LCopyUnicodeFromUTF8(szUnits, szText.View()))
        return;
    LFileDescriptor const oFile = OpenToWrite(szPath);
    if (oFile.IsOpen() && ftruncate(oFile.Get(), 0) == 0 && LWriteWhole(oFile.Get(), &kMark, sizeof kMark))
        LWriteWhole(oFile.Get(), szUnits.GetString(), szUnits.GetLength() * sizeof(char16_t));
}

bool LFile::SetFileAttributeTextEncodingUTF8(char const* szPath) noexcept {
    return setxattr(szPath, kEncodingAttribute, kEncodingUTF8, sizeof kEncodingUTF8 - 1, 0, 0) == 0;
}
