#include "tests/harness/temporary_folder.h"
#include "tests/platform/corefoundation.h"

#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr char kInfo[] = R"(<plist><dict><key>CFBundleIdentifier</key><string>org.example.loadable</string>
<key>CFBundleExecutable</key><string>Loadable</string></dict></plist>)";

void WriteFile(fs::path const& path, std::string const& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

struct Bundles : CoreFoundation {
    Bundles() {
        WriteFile(path / "Contents/Info.plist", kInfo);
        WriteFile(path / "Contents/Resources/Icon.icns", "icon");
        WriteFile(path / "Contents/Resources/sub/note.txt", "note");
        WriteFile(path / "Contents/secret", "not a resource");
        fs::create_directories(path / "Contents/MacOS");
        fs::copy_file(LUMORA_LOADABLE, path / "Contents/MacOS/Loadable");
    }

    CFBundleRef Create() const {
        Owned<CFURLRef> const url =
            CFURLCreateWithFileSystemPath(nullptr, OwnedString(MakeString(path)), kCFURLPOSIXPathStyle, true);
        return CFBundleCreate(nullptr, url);
    }
    static std::string ResourceOf(CFBundleRef bundle, CFStringRef name, CFStringRef type = nullptr,
                                  CFStringRef sub = nullptr) {
        Owned<CFURLRef> const url = CFBundleCopyResourceURL(bundle, name, type, sub);
        return url ? TextOf(CFURLCopyLastPathComponent(url)) : "none";
    }

    TemporaryFolder oFolder;
    fs::path const path = fs::canonical(oFolder.Path()) / "Test Bundle.driver";
};

} // namespace

TEST_F(Bundles, AreFoundByIdentifierWhileTheyLive) {
    CFStringRef const identifier = CFSTR("org.example.loadable");
    EXPECT_FALSE(CFBundleGetBundleWithIdentifier(identifier));
    {
        Owned<CFBundleRef> const bundle = Create(), again = Create();
        EXPECT_EQ(CFBundleRef(bundle), CFBundleRef(again)) << "one object a folder";
        EXPECT_EQ(CFBundleRef(bundle), CFBundleGetBundleWithIdentifier(identifier));
        EXPECT_FALSE(CFBundleGetBundleWithIdentifier(CFSTR("org.example.other")));
        EXPECT_EQ("org.example.loadable", Text(CFBundleGetIdentifier(bundle)));
        Owned<CFURLRef> const url = CFBundleCopyBundleURL(bundle);
        EXPECT_EQ(path.string(), TextOf(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle)));
    }
    EXPECT_FALSE(CFBundleGetBundleWithIdentifier(identifier));
}

TEST_F(Bundles, GiveTheirResourcesAndNothingElse) {
    Owned<CFBundleRef> const bundle = Create();
    EXPECT_EQ("Icon.icns", ResourceOf(bundle, CFSTR("Icon.icns")));
    EXPECT_EQ("Icon.icns", ResourceOf(bundle, CFSTR("Icon"), CFSTR("icns")));
    EXPECT_EQ("note.txt", ResourceOf(bundle, CFSTR("note"), CFSTR("txt"), CFSTR("sub")));
    EXPECT_EQ("none", ResourceOf(bundle, CFSTR("note.txt")));
    EXPECT_EQ("none", ResourceOf(bundle, CFSTR("../secret")));
    EXPECT_EQ("none", ResourceOf(bundle, CFSTR("secret"), nullptr, CFSTR("..")));
    EXPECT_EQ("none", ResourceOf(bundle, CFSTR("")));
}

TEST_F(Bundles, LoadFindFunctionsAndUnload) {
    Owned<CFBundleRef> const bundle = Create();
    EXPECT_FALSE(CFBundleIsExecutableLoaded(bundle));
    using Answer = int (*)();
    auto const answer = reinterpret_cast<Answer>(CFBundleGetFunctionPointerForName(bundle, CFSTR("LoadableAnswer")));
    ASSERT_TRUE(answer);
    EXPECT_TRUE(CFBundleIsExecutableLoaded(bundle));
    EXPECT_EQ(1, answer());
    EXPECT_TRUE(CFBundleLoadExecutable(bundle));
    EXPECT_EQ(2, answer());
    EXPECT_EQ(2, *static_cast<int*>(CFBundleGetDataPointerForName(bundle, CFSTR("LoadableCounter"))));
    EXPECT_FALSE(CFBundleGetFunctionPointerForName(bundle, CFSTR("NotThere")));
    CFBundleUnloadExecutable(bundle);
    EXPECT_FALSE(CFBundleIsExecutableLoaded(bundle));
}

TEST_F(Bundles, MissingPartsAreMissingNotWrong) {
    fs::remove(path / "Contents/MacOS/Loadable");
    WriteFile(path / "Contents/Info.plist", "no list at all");
    Owned<CFBundleRef> const bundle = Create();
    ASSERT_TRUE(bundle);
    EXPECT_EQ(0, CFDictionaryGetCount(CFBundleGetInfoDictionary(bundle)));
    EXPECT_FALSE(CFBundleGetIdentifier(bundle));
    EXPECT_FALSE(CFBundleCopyExecutableURL(bundle));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(CFBundleLoadExecutable(bundle));
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("no executable"));
    Owned<CFURLRef> const nowhere =
        CFURLCreateWithFileSystemPath(nullptr, CFSTR("/nowhere.driver"), kCFURLPOSIXPathStyle, true);
    EXPECT_FALSE(CFBundleCreate(nullptr, nowhere));
}

TEST_F(Bundles, CreatingLookingUpAndReleasingMeetSafely) {
    std::vector<std::thread> lThreads;
    for (int n = 0; n < 4; ++n)
        lThreads.emplace_back([this] {
            for (int k = 0; k < 100; ++k) {
                Owned<CFBundleRef> const bundle = Create();
                EXPECT_EQ(CFBundleRef(bundle), CFBundleGetBundleWithIdentifier(CFSTR("org.example.loadable")));
            }
        });
    for (auto& oThread : lThreads)
        oThread.join();
}
