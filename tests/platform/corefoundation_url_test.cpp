#include "tests/harness/temporary_folder.h"
#include "tests/platform/corefoundation.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

using Urls = CoreFoundation;

namespace {

CFURLRef MakeUrl(std::string const& text, CFURLRef base = nullptr) {
    return CFURLCreateWithString(nullptr, OwnedString(MakeString(text)), base);
}

CFURLRef MakeFile(std::string const& path, bool bDirectory = false) {
    return CFURLCreateWithFileSystemPath(nullptr, OwnedString(MakeString(path)), kCFURLPOSIXPathStyle, bDirectory);
}

std::string PathOf(CFURLRef url) {
    return TextOf(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle));
}

} // namespace

TEST_F(Urls, CarryPathsBothWays) {
    struct {
        char const* szPath;
        bool bDirectory;
        char const *szText, *szPathBack, *szLast;
    } const cases[] = {
        {"/tmp/a.txt", false, "file:///tmp/a.txt", "/tmp/a.txt", "a.txt"},
        {"/tmp/dir", true, "file:///tmp/dir/", "/tmp/dir", "dir"},
        {"/tmp/file/", false, "file:///tmp/file", "/tmp/file", "file"},
        {"/", true, "file:///", "/", "/"},
        {"/a b/100%?#;é", false, "file:///a%20b/100%25%3F%23%3B%C3%A9", "/a b/100%?#;é", "100%?#;é"},
        {"/a:b@c+d&e=f", false, "file:///a:b@c+d&e=f", "/a:b@c+d&e=f", "a:b@c+d&e=f"},
    };
    for (auto const& oCase : cases) {
        Owned<CFURLRef> const url = MakeFile(oCase.szPath, oCase.bDirectory);
        EXPECT_EQ(oCase.szText, Text(CFURLGetString(url)));
        EXPECT_EQ(oCase.szPathBack, PathOf(url));
        EXPECT_EQ(oCase.szLast, TextOf(CFURLCopyLastPathComponent(url)));
        Owned<CFURLRef> const again = MakeUrl(oCase.szText);
        EXPECT_TRUE(CFEqual(url, again));
    }
    Owned<CFURLRef> const relative = MakeFile("here");
    EXPECT_EQ(std::filesystem::current_path().string() + "/here", PathOf(relative));
    EXPECT_FALSE(MakeFile(""));
    EXPECT_FALSE(MakeFile(std::string("/a\0b", 4)));
}

TEST_F(Urls, TakePathBytesThatAreNotUtf8) {
    Owned<CFURLRef> const url =
        CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<UInt8 const*>("/\xFF"), 2, false);
    EXPECT_EQ("file:///%FF", Text(CFURLGetString(url)));
    EXPECT_EQ("(null)", PathOf(url));
    UInt8 path[3];
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url, true, path, 3));
    EXPECT_STREQ("/\xFF", reinterpret_cast<char*>(path));
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, true, path, 2));
}

TEST_F(Urls, RefuseWhatAUrlCannotHold) {
    for (char const* szBad : {"", "file:///a b", "file:///%", "file:///%4", "file:///%G0", "http://é",
                              "a/relative/path", "file:///\n", ":x"})
        EXPECT_FALSE(MakeUrl(szBad)) << szBad;
}

TEST_F(Urls, FallIntoParts) {
    Owned<CFURLRef> const url = MakeUrl("https://user@example.org:8080/a/b.tar.gz?x=1%20&y=2#end");
    EXPECT_EQ("https", TextOf(CFURLCopyScheme(url)));
    EXPECT_EQ("example.org", TextOf(CFURLCopyHostName(url)));
    EXPECT_EQ("/a/b.tar.gz", TextOf(CFURLCopyPath(url)));
    EXPECT_EQ("gz", TextOf(CFURLCopyPathExtension(url)));
    EXPECT_EQ("x=1%20&y=2", TextOf(CFURLCopyQueryString(url, nullptr)));
    EXPECT_EQ("x=1 &y=2", TextOf(CFURLCopyQueryString(url, CFSTR(""))));
    UInt8 path[64];
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, true, path, sizeof path)) << "not a file";
    Owned<CFURLRef> const hidden = MakeFile("/.profile");
    EXPECT_EQ("(null)", TextOf(CFURLCopyPathExtension(hidden)));
    EXPECT_EQ("(null)", TextOf(CFURLCopyHostName(hidden)));
    Owned<CFURLRef> const parent = CFURLCreateCopyDeletingLastPathComponent(nullptr, url);
    EXPECT_EQ("/a/", TextOf(CFURLCopyPath(parent)));
    Owned<CFURLRef> const child = CFURLCreateCopyAppendingPathComponent(nullptr, parent, CFSTR("c d"), true);
    EXPECT_EQ("/a/c%20d/", TextOf(CFURLCopyPath(child)));
}

TEST_F(Urls, ResolveReferences) {
    Owned<CFURLRef> const base = MakeUrl("http://h/a/b?q");
    struct {
        char const *szReference, *szResolved;
    } const cases[] = {
        {"c", "http://h/a/c"},      {"../c", "http://h/c"},       {"../../../c", "http://h/c"},
        {"./", "http://h/a/"},      {"/x/./y/..", "http://h/x/"}, {"?r", "http://h/a/b?r"},
        {"#f", "http://h/a/b?q#f"}, {"//g/x", "http://g/x"},      {"ftp://z/", "ftp://z/"},
    };
    for (auto const& oCase : cases) {
        Owned<CFURLRef> const url = MakeUrl(oCase.szReference, base);
        EXPECT_EQ(oCase.szResolved, Text(CFURLGetString(url))) << oCase.szReference;
    }
}

TEST_F(Urls, EscapeAndUnescapeTexts) {
    auto const Escaped = [](CFStringRef text, CFStringRef leave, CFStringRef also) {
        return TextOf(CFURLCreateStringByAddingPercentEscapes(nullptr, text, leave, also, kCFStringEncodingUTF8));
    };
    EXPECT_EQ("a%20b%C3%A9/%25", Escaped(CFSTR("a bé/%"), nullptr, nullptr));
    EXPECT_EQ("a b%2F%3D", Escaped(CFSTR("a b/="), CFSTR(" "), CFSTR("/=")));
    auto const Replaced = [](CFStringRef text, CFStringRef leave) {
        return TextOf(CFURLCreateStringByReplacingPercentEscapes(nullptr, text, leave));
    };
    EXPECT_EQ("a bé", Replaced(CFSTR("a%20b%c3%a9"), CFSTR("")));
    EXPECT_EQ("a%2fb c", Replaced(CFSTR("a%2fb%20c"), CFSTR("/")));
    EXPECT_EQ("(null)", Replaced(CFSTR("%FF"), nullptr));
    EXPECT_EQ("(null)", Replaced(CFSTR("50%"), nullptr));
}

TEST_F(Urls, ReadAndReplaceFilesWhole) {
    TemporaryFolder const oFolder;
    std::string const szFile = std::string(oFolder.Path()) + "/a file";
    Owned<CFURLRef> const url = MakeFile(szFile);
    CFDataRef read = nullptr;
    SInt32 nError = 0;
    EXPECT_FALSE(CFURLCreateDataAndPropertiesFromResource(nullptr, url, &read, nullptr, nullptr, &nError));
    EXPECT_EQ(ENOENT, nError);
    std::string const szLong(200000, 'x');
    for (std::string const& szBytes : {szLong, std::string("short")}) {
        Owned<CFDataRef> const data =
            CFDataCreate(nullptr, reinterpret_cast<UInt8 const*>(szBytes.data()), static_cast<CFIndex>(szBytes.size()));
        EXPECT_TRUE(CFURLWriteDataAndPropertiesToResource(url, data, nullptr, &nError)) << nError;
        EXPECT_TRUE(CFURLCreateDataAndPropertiesFromResource(nullptr, url, &read, nullptr, nullptr, nullptr));
        EXPECT_TRUE(CFEqual(data, read));
        CFRelease(read);
        chmod(szFile.c_str(), 0600);
    }
    struct stat status;
    ASSERT_EQ(0, stat(szFile.c_str(), &status));
    EXPECT_EQ(0600u, status.st_mode & 07777u) << "the second write keeps the mode";
    EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(oFolder.Path()), {})) << "nothing else is left";
    ASSERT_EQ(0, mkfifo((szFile + " pipe").c_str(), 0600));
    Owned<CFURLRef> const pipe = MakeFile(szFile + " pipe");
    EXPECT_FALSE(CFURLCreateDataAndPropertiesFromResource(nullptr, pipe, &read, nullptr, nullptr, &nError));
    EXPECT_EQ(ENOTSUP, nError);
    EXPECT_FALSE(CFURLWriteDataAndPropertiesToResource(pipe, Owned<CFDataRef>(CFDataCreate(nullptr, nullptr, 0)),
                                                       nullptr, &nError));
    EXPECT_EQ(ENOTSUP, nError);
    Owned<CFURLRef> const nowhere = MakeFile(szFile + "/not a folder/x");
    EXPECT_FALSE(CFURLWriteDataAndPropertiesToResource(nowhere, Owned<CFDataRef>(CFDataCreate(nullptr, nullptr, 0)),
                                                       nullptr, &nError));
    EXPECT_EQ(ENOTDIR, nError);
}
