#include "base/fixed_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

TEST(FixedText, IsCutAt259Characters) {
    for (size_t nLength : {0u, 258u, 259u, 260u, 300u}) {
        SCOPED_TRACE(nLength);
        std::string const szLong(nLength, 'n');
        char szCopied[kLNameSize], szWritten[kLNameSize];
        LCopyFixed(szCopied, szLong.c_str());
        LFixedWriter oWriter(szWritten);
        oWriter.Add(szLong.c_str()).Add(std::string_view().data(), 0);
        EXPECT_EQ(szCopied, szLong.substr(0, 259));
        EXPECT_STREQ(szWritten, szCopied);
        EXPECT_EQ(oWriter.WasCut(), nLength > 259);
    }
}

TEST(FixedText, IsWrittenPieceByPieceAndNeverPastItsEnd) {
    char szText[64];
    LFixedWriter(szText).Add('<').AddNumber(7, 4).AddNumber(12345, 4).AddNumber(UINT64_MAX).AddNumber(1, 99).Add(">");
    EXPECT_STREQ(szText, "<0007123451844674407370955161500000000000000000001>");
    char szTiny[4] = "???";
    LFixedWriter oWriter(szTiny, 3);
    oWriter.Add("ab").Add('c').AddNumber(5);
    EXPECT_STREQ(szTiny, "ab");
    EXPECT_EQ(oWriter.Length(), 2u);
}
