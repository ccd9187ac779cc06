// The URL object: absolute, immutable.
#pragma once

#include "platform/corefoundation/object.h"
#include "platform/corefoundation/url_text.h"

#include <CoreFoundation/CFURL.h>

struct __CFURL final : cf::Object {
    explicit __CFURL(cf::UrlParts parts) noexcept;

    CFTypeID TypeOf() const noexcept override { return cf::kTypeUrl; }
    bool Equals(Object const& other) const noexcept override;
    CFHashCode Hash() const noexcept override { return CFHash(text.Get()); }
    std::string Description() const override;
    std::u16string FormattingText() const override;

    cf::UrlParts const oParts;
    cf::Held<CFStringRef> const text;

private:
    void Destroy() const noexcept override { delete this; }
};

namespace cf {

// A file URL of the path, its bytes whatever they are; a relative one is taken from the working directory. Null for an
// empty path or one with a NUL in it.
CFURLRef MakeFileUrl(std::string path, bool bDirectory) noexcept;

// The path's bytes, a directory's trailing "/" left out; nullopt when there is none, or a NUL in it.
std::optional<std::string> PathBytes(CFURLRef url);

// The same for a file URL, and nullopt for any other.
std::optional<std::string> FilePath(CFURLRef url);

} // namespace cf
