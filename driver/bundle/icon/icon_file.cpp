#include "driver/bundle/icon/icon_file.h"

#include <png.h>

#include <fstream>

namespace {

std::string BigEndian(size_t nValue) {
    std::string lBytes;
    for (int nShift = 24; nShift >= 0; nShift -= 8)
        lBytes += static_cast<char>(nValue >> nShift);
    return lBytes;
}

std::string Compress(Picture const& oPicture) {
    png_image oImage{};
    oImage.version = PNG_IMAGE_VERSION;
    oImage.width = oImage.height = static_cast<png_uint_32>(oPicture.nSize);
    oImage.format = PNG_FORMAT_RGBA;
    png_alloc_size_t nBytes = 0;
    if (!png_image_write_to_memory(&oImage, nullptr, &nBytes, 0, oPicture.lPixels.data(), 0, nullptr))
        return {};
    std::string lBytes(nBytes, '\0');
    if (!png_image_write_to_memory(&oImage, lBytes.data(), &nBytes, 0, oPicture.lPixels.data(), 0, nullptr))
        return {};
    lBytes.resize(nBytes);
    return lBytes;
}

} // namespace

bool IconFile::Add(char const* szKind, Picture const& oPicture) {
    std::string const lBytes = Compress(oPicture);
    lEntries += szKind + BigEndian(8 + lBytes.size()) + lBytes;
    return !lBytes.empty();
}

bool IconFile::Write(char const* szPath) const {
    std::ofstream oFile(szPath, std::ios::binary | std::ios::trunc);
    oFile << "icns" << BigEndian(8 + lEntries.size()) << lEntries;
    oFile.close();
    return oFile.good();
}
