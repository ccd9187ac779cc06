#include "files/mime_type.h"

#include <strings.h>

namespace {

struct MimeType {
    char const* szExt;
    char const* szType;
};

constexpr MimeType kMimeTypes[] = {
    {".txt", "text/plain"}, {".pdf", "application/pdf"}, {".jpeg", "image/jpeg"},   {".jpg", "image/jpg"},
    {".bmp", "image/bmp"},  {".gif", "image/gif"},       {".png", "image/png"},     {".mid", "audio/mid"},
    {".midi", "audio/mid"}, {".mp3", "audio/mpeg"},      {".wav", "audio/vnd.wav"}, {".mp4", "video/mp4"},
};

} // namespace

char const* LFile::GetMimeTypeFromFileExtension(char const* szExt) noexcept {
    for (MimeType const& oRow : kMimeTypes)
        if (strcasecmp(oRow.szExt, szExt) == 0)
            return oRow.szType;
    return "application/octet-stream";
}
