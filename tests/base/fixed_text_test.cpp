#include "base/fixed_text.h"

#include <gtest/gtest.h>

#include <string>

TEST(FixedText, IsCutAt259Characters) {
    for (size_t nLength : {0u, 258u, 259u, 260u, 300u}) {
        SCOPED_TRACE(nLength);
        std::string const szLong(nLength, 'n');
        char szCopied[kLNameSize], szWritten[kLNameSize];
        LCopyFixed(szCopied, szLong.c_str());
        LFixedWriter oWriter(szWritten);
        oWriter.Add(szLong.c_str());
        EXPECT_EQ(szCopied, szLong.substr(0, 259));
        EXPECT_STREQ(szWritten, szCopied);
        EXPECT_EQ(oWriter.WasCut(), nLength > 259);
    }
}

TEST(FixedText, IsWrittenPieceByPieceAndNeverPastItsEnd) {
    struct Case {
        uint64_t nNumber;
        unsigned nDigits;
        char const* szText;
    };
    for (Case const& oCase : {Case{0, 1, "<0>"},
                              {7, 4, "<0007>"},
                              {12345, 4, "<12345>"},
                              {UINT64_MAX, 1, "<18446744073709551615>"},
                              {1, 99, "<00000000000000000001>"}}) {
        char szText[32];
        LFixedWriter(szText).Add('<').AddNumber(oCase.nNumber, oCase.nDigits).Add(">");
        EXPECT_STREQ(szText, oCase.szText);
    }
    char szTiny[4] = "???";
    LFixedWriter oWriter(szTiny, 3);
    oWriter.Add("ab").Add('c').AddNumber(5);
    EXPECT_STREQ(szTiny, "ab");
    EXPECT_EQ(oWriter.Length(), 2u);
}
