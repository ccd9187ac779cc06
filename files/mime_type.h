// MIME types of file extensions.
#pragma once

namespace LFile {

// The type that goes with an extension (with its dot, letter case ignored); "application/octet-stream" for one that is
// not known. A static text. Any thread.
char const* GetMimeTypeFromFileExtension(char const* szExt) noexcept;

} // namespace LFile
