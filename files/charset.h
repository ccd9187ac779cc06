// Text between UTF-8 and character sets known by name.
#pragma once

#include <cstring>

// Converts a C string from one named set to another into `szOut`, which has room for `nSize` bytes and always ends with
// a NUL; `szIn` must not overlap it. Ends early, keeping what it has, at a character that the target lacks, at bytes
// that are not valid in the source, and where the room ends; never in the middle of a character. A set that the
// platform does not know gives "". Any thread.
void LConvertCharset(char const* szFrom, char const* szTo, char* szOut, char const* szIn, unsigned long nSize) noexcept;

// The one function behind each name of the tables below. What it does is LConvertCharset.
struct LCharsetToUTF8 {
    char const* szName;
    void operator()(char* szOut, char const* szIn, unsigned long nSize) const noexcept {
        LConvertCharset(szName, "UTF-8", szOut, szIn, nSize);
    }
};
struct LCharsetFromUTF8 {
    char const* szName;
    void operator()(char* szOut, char const* szIn, unsigned long nSize) const noexcept {
        LConvertCharset("UTF-8", szName, szOut, szIn, nSize);
    }
};
// Those that can also be called without a size: the output then has room for as many bytes as the input has, and what
// grows past that is cut.
struct LCharsetToUTF8Sized : LCharsetToUTF8 {
    using LCharsetToUTF8::operator();
    void operator()(char* szOut, char const* szIn) const noexcept { (*this)(szOut, szIn, std::strlen(szIn) + 1); }
};
struct LCharsetFromUTF8Sized : LCharsetFromUTF8 {
    using LCharsetFromUTF8::operator();
    void operator()(char* szOut, char const* szIn) const noexcept { (*this)(szOut, szIn, std::strlen(szIn) + 1); }
};

inline constexpr LCharsetToUTF8Sized LCopyFromISO88591{{"ISO-8859-1"}};
inline constexpr LCharsetToUTF8 LCopyFromISO88592{"ISO-8859-2"};
inline constexpr LCharsetToUTF8 LCopyFromISO88595{"ISO-8859-5"};
inline constexpr LCharsetToUTF8 LCopyFromWIN1251{"WINDOWS-1251"};
inline constexpr LCharsetToUTF8 LCopyFromWIN1252{"WINDOWS-1252"};
inline constexpr LCharsetToUTF8 LCopyFromWIN1256{"WINDOWS-1256"};
inline constexpr LCharsetToUTF8 LCopyFromSHIFTJIS932{"SHIFT-JIS"};
inline constexpr LCharsetToUTF8 LCopyFromISO2022JP{"ISO-2022-JP"};
inline constexpr LCharsetToUTF8 LCopyFromEUCKR{"EUC-KR"};
inline constexpr LCharsetToUTF8 LCopyFromGB18030{"GB18030"};
inline constexpr LCharsetToUTF8 LCopyFromGBK{"GBK"};
inline constexpr LCharsetToUTF8 LCopyFromBIG5{"BIG5"};
inline constexpr LCharsetToUTF8 LCopyFromKOI8R{"KOI8-R"};
inline constexpr LCharsetToUTF8 LCopyFromMacRoman{"macintosh"};
inline constexpr LCharsetToUTF8 LCharsetsCopyFromACP{"WINDOWS-1252"}; // the ANSI code page

inline constexpr LCharsetFromUTF8Sized LCopyToISO88591{{"ISO-8859-1"}};
inline constexpr LCharsetFromUTF8 LCopyToISO88592{"ISO-8859-2"};
inline constexpr LCharsetFromUTF8 LCopyToISO88595{"ISO-8859-5"};
inline constexpr LCharsetFromUTF8 LCopyToWIN1251{"WINDOWS-1251"};
inline constexpr LCharsetFromUTF8 LCopyToWIN1252{"WINDOWS-1252"};
inline constexpr LCharsetFromUTF8 LCopyToWIN1256{"WINDOWS-1256"};
inline constexpr LCharsetFromUTF8 LCopyToSHIFTJIS932{"SHIFT-JIS"};
inline constexpr LCharsetFromUTF8 LCopyToISO2022JP{"ISO-2022-JP"};
inline constexpr LCharsetFromUTF8 LCopyToEUCKR{"EUC-KR"};
inline constexpr LCharsetFromUTF8 LCopyToGB18030{"GB18030"};
inline constexpr LCharsetFromUTF8 LCopyToGBK{"GBK"};
inline constexpr LCharsetFromUTF8 LCopyToBIG5{"BIG5"};
inline constexpr LCharsetFromUTF8 LCopyToKOI8R{"KOI8-R"};
inline constexpr LCharsetFromUTF8 LCopyToMacRoman{"macintosh"};
inline constexpr LCharsetFromUTF8 LCharsetsCopyToACP{"WINDOWS-1252"};
