// What files and text cost, each beside the tool or the library call that does the same.
#include "base/utf.h"
#include "bench/measure.h"
#include "files/date_time.h"
#include "files/folder_operations.h"
#include "files/path.h"
#include "files/text_file.h"
#include "tests/harness/temporary_folder.h"

#include <sys/stat.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <iconv.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>

namespace {

namespace fs = std::filesystem;

volatile std::size_t nSink; // what the compiler must not think unused

// ---- Unicode

// 1 MB of UTF-8 made of one sample over and over.
std::string Megabyte(std::string const& szSample) {
    std::string szText;
    while (szText.size() + szSample.size() <= 1'000'000)
        szText += szSample;
    return szText;
}

class Converter {
public:
    Converter(char const* szFrom, char const* szTo) : oConversion(iconv_open(szTo, szFrom)) {}
    ~Converter() { iconv_close(oConversion); }

    double Run(void const* pIn, size_t nIn, void* pOut, size_t nRoom) const {
        return TimeMs([&] {
            char *p = static_cast<char*>(const_cast<void*>(pIn)), *pTo = static_cast<char*>(pOut);
            size_t nLeft = nIn, nRoomLeft = nRoom;
            nSink = iconv(oConversion, &p, &nLeft, &pTo, &nRoomLeft) + nRoomLeft;
        });
    }

private:
    iconv_t oConversion;
};

void AddUnicode(std::vector<Row>& lRows, int nRounds) {
    Converter const oTo16("UTF-8", "UTF-16LE"), oTo8("UTF-16LE", "UTF-8");
    struct {
        char const *szName, *szSample;
    } const kTexts[] = {{"ASCII", "The quick brown fox jumps over the lazy dog. "},
                        {"Cyrillic", "Съешь же ещё этих мягких французских булок, да выпей чаю. "},
                        {"Chinese", "天地玄黃宇宙洪荒日月盈昃辰宿列張寒來暑往秋收冬藏。"},
                        {"emoji", "😀🎧🎶🔊🎤🎹🥁🎸"}};
    for (auto const& oText : kTexts) {
        std::string const sz8 = Megabyte(oText.szSample);
        LStringLongTemplate<char16_t> sz16;
        LCopyUnicodeFromUTF8(sz16, sz8);
        size_t const nRoom = 4'000'000;
        auto const pOut = std::make_unique<char[]>(nRoom);
        auto const pUnits = reinterpret_cast<char16_t*>(pOut.get());
        lRows.push_back(CompareBest(
            "UTF-8 to UTF-16, 1 MB of " + std::string(oText.szName) + "; beside `iconv`",
            [&] { return TimeMs([&] { nSink = LCopyUnicodeFromUTF8(pUnits, nRoom / 2, sz8); }); },
            [&] { return oTo16.Run(sz8.data(), sz8.size(), pOut.get(), nRoom); }, 0.5, nRounds));
        lRows.push_back(CompareBest(
            "UTF-16 to UTF-8, the same text",
            [&] { return TimeMs([&] { nSink = LCopyUTF8FromUnicode(pOut.get(), nRoom, sz16.View()); }); },
            [&] { return oTo8.Run(sz16.GetString(), sz16.GetLength() * 2, pOut.get(), nRoom); }, 0.5, nRounds));
    }
}

// ---- Files

Row LoadText(fs::path const& oFolder, int nRounds) {
    constexpr size_t kSize = 100'000'000;
    std::string const szPath = oFolder / "text";
    std::ofstream(szPath) << std::string(kSize, 't');
    auto const ReadBare = [&] {
        std::unique_ptr<char, void (*)(void*)> const pBuffer(static_cast<char*>(std::malloc(kSize)), std::free);
        int const hFile = open(szPath.c_str(), O_RDONLY);
        nSink = static_cast<size_t>(read(hFile, pBuffer.get(), kSize));
        close(hFile);
    };
    auto const Load = [&] {
        LStringLong szText;
        LLoadText(szPath.c_str(), szText);
        nSink = szText.GetLength();
    };
    Row const oRow = CompareBest(
        "`LLoadText`, 100 MB in the page cache; beside one `read`", [&] { return TimeMs(Load); },
        [&] { return TimeMs(ReadBare); }, 1.2, nRounds);
    fs::remove(szPath);
    return oRow;
}

Row Paths(int nRounds) {
    constexpr int kTimes = 100'000;
    char const* const kFolders[] = {"/Users/somebody/Library/Caches", "/tmp/", "/Volumes/Recordings/2024/05"};
    auto const Ours = [&] {
        for (int n = 0; n < kTimes; ++n) {
            char szPath[kLNameSize], szExt[kLNameSize];
            LFile::_MakeFilePath(szPath, kFolders[n % 3], "take one", ".wav");
            LFile::_GetFileExtensionFromPath(szExt, szPath);
            nSink = static_cast<size_t>(szExt[1]);
        }
    };
    auto const Standard = [&] {
        for (int n = 0; n < kTimes; ++n) {
            fs::path oPath = fs::path(kFolders[n % 3]) / "take one";
            oPath += ".wav";
            nSink = static_cast<size_t>(oPath.extension().native()[1]);
        }
    };
    return CompareBest(
        "path joined and its extension taken, 100,000 times; beside `std::filesystem::path`",
        [&] { return TimeMs(Ours); }, [&] { return TimeMs(Standard); }, 0.3, nRounds);
}

Row Dates(int nRounds) {
    constexpr long kTimes = 20'000;
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    auto const Ours = [&] {
        for (long n = 0; n < kTimes; ++n) {
            char szDate[32], szTime[32];
            long nBack = 0;
            LDateTime::GetDateTime(1'000'000'000 + n * 50'021, szDate, szTime);
            LDateTime::SetDateTime(nBack, szDate, szTime);
            nSink = static_cast<size_t>(nBack);
        }
    };
    auto const Library = [&] {
        for (long n = 0; n < kTimes; ++n) {
            char sz[64];
            long const nTime = 1'000'000'000 + n * 50'021;
            std::tm oFields;
            localtime_r(&nTime, &oFields);
            std::strftime(sz, sizeof sz, "%Y-%m-%d %H:%M:%S", &oFields);
            oFields = {};
            strptime(sz, "%Y-%m-%d %H:%M:%S", &oFields);
            oFields.tm_isdst = -1;
            nSink = static_cast<size_t>(std::mktime(&oFields));
        }
    };
    return CompareBest(
        "date and time to text and back, 20,000 times; beside `strftime`, `strptime`, `mktime`",
        [&] { return TimeMs(Ours); }, [&] { return TimeMs(Library); }, 1.0, nRounds);
}

// ---- Trees

double TimeCommand(std::string const& szCommand) {
    return TimeMs([&] { nSink = static_cast<size_t>(std::system((szCommand + " >/dev/null").c_str())); });
}

// Work on `nFiles` files in 100 folders.
void MakeTree(fs::path const& oTree, int nFiles) {
    for (int n = 0; n < nFiles; ++n) {
        fs::path const oFolder = oTree / std::to_string(n % 100);
        if (n < 100)
            fs::create_directories(oFolder);
        std::ofstream(oFolder / ("file " + std::to_string(n))) << std::string(static_cast<size_t>(n % 3000), 'x');
    }
}

void AddTrees(std::vector<Row>& lRows, fs::path const& oFolder, int nFiles, int nRounds) {
    std::string const szTree = oFolder / "tree", szCopy = oFolder / "copy", szTheirs = oFolder / "theirs";
    std::string const szCount = std::to_string(nFiles) + " small files";
    MakeTree(szTree, nFiles);
    lRows.push_back(CompareBest(
        "size of a tree of " + szCount + "; beside `du -sb`",
        [&] { return TimeMs([&] { nSink = static_cast<size_t>(LFile::GetFolderSizeBytes(szTree.c_str(), true)); }); },
        [&] { return TimeCommand("du -sb " + szTree); }, 1.2, nRounds * 3));
    std::vector<double> lDeletes, lTheirDeletes;
    lRows.push_back(CompareBest(
        "copy of that tree; beside `cp -a`",
        [&] {
            double const f = TimeMs([&] { LFile::CopyFolderFiles(szTree.c_str(), szCopy.c_str()); });
            sync();
            lDeletes.push_back(TimeMs([&] { LFile::DeleteFolderTree(szCopy.c_str()); }));
            sync();
            return f;
        },
        [&] {
            double const f = TimeCommand("cp -a " + szTree + " " + szTheirs);
            sync();
            lTheirDeletes.push_back(TimeCommand("rm -rf " + szTheirs));
            sync();
            return f;
        },
        1.2, nRounds));
    lRows.push_back({"delete of that copy; beside `rm -rf`", *std::min_element(lDeletes.begin(), lDeletes.end()),
                     *std::min_element(lTheirDeletes.begin(), lTheirDeletes.end()), "ms", 1.2});
    fs::remove_all(szTree);
}

Row LargeFile(fs::path const& oFolder, size_t nMegabytes, int nRounds) {
    std::string const szSource = oFolder / "large", szCopy = oFolder / "copy";
    {
        std::ofstream oFile(szSource);
        for (size_t n = 0; n < nMegabytes; ++n)
            oFile << std::string(1 << 20, static_cast<char>('a' + n % 26));
    }
    sync();
    auto const Fresh = [&](auto const& Do) {
        fs::remove(szCopy);
        sync();
        return Do();
    };
    Row const oRow = CompareBest(
        "copy of a file of " + std::to_string(nMegabytes) + " MiB; beside `cp -a`",
        [&] { return Fresh([&] { return TimeMs([&] { LFile::CopyFile(szSource.c_str(), szCopy.c_str()); }); }); },
        [&] { return Fresh([&] { return TimeCommand("cp -a " + szSource + " " + szCopy); }); }, 1.2, nRounds);
    fs::remove(szSource);
    fs::remove(szCopy);
    return oRow;
}

} // namespace

int main(int nArguments, char** ppArguments) {
    bool const bQuick = IsQuickRun(nArguments, ppArguments);
    TemporaryFolder const oFolder;
    std::vector<Row> lRows;
    AddUnicode(lRows, bQuick ? 10 : 60);
    lRows.push_back(LoadText(oFolder.Path(), bQuick ? 3 : 15));
    lRows.push_back(Paths(bQuick ? 3 : 15));
    lRows.push_back(Dates(bQuick ? 3 : 15));
    AddTrees(lRows, oFolder.Path(), bQuick ? 2'000 : 20'000, bQuick ? 2 : 3);
    lRows.push_back(LargeFile(oFolder.Path(), bQuick ? 100 : 1024, bQuick ? 2 : 3));
    return PrintRows(lRows) ? 0 : 1;
}
