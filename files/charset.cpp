#include "files/charset.h"

#include <iconv.h>

#include <cstddef>

namespace {

class Conversion {
public:
    Conversion(char const* szFrom, char const* szTo) noexcept : oConversion(iconv_open(szTo, szFrom)) {}
    ~Conversion() {
        if (IsOpen())
            iconv_close(oConversion);
    }
    Conversion(Conversion const&) = delete;
    Conversion& operator=(Conversion const&) = delete;

    bool IsOpen() const noexcept { return oConversion != reinterpret_cast<iconv_t>(-1); }

    // Converts what can be converted and returns the output's end.
    char* Convert(char* pIn, std::size_t nIn, char* pOut, std::size_t nRoom) noexcept {
        iconv(oConversion, &pIn, &nIn, &pOut, &nRoom);
        iconv(oConversion, nullptr, nullptr, &pOut, &nRoom); // a letter held back, and the way back to the first state
        return pOut;
    }

private:
    iconv_t oConversion;
};

} // namespace

void LConvertCharset(char const* szFrom, char const* szTo, char* szOut, char const* szIn,
                     unsigned long nSize) noexcept {
    if (nSize == 0)
        return;
    char* pEnd = szOut;
    if (Conversion oConversion(szFrom, szTo); oConversion.IsOpen())
        pEnd = oConversion.Convert(const_cast<char*>(szIn), std::strlen(szIn), szOut, nSize - 1); // iconv only reads it
    *pEnd = '\0';
}
