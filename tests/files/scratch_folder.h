// A folder of its own for each test, gone with the test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class ScratchFolder {
public:
    ScratchFolder() {
        std::string szTemplate = std::filesystem::temp_directory_path() / "lumora_files_XXXXXX";
        oFolder = mkdtemp(szTemplate.data());
    }
    ~ScratchFolder() {
        std::error_code error;
        std::filesystem::remove_all(oFolder, error);
    }
    ScratchFolder(ScratchFolder const&) = delete;
    ScratchFolder& operator=(ScratchFolder const&) = delete;

    // The path of `szName` in the folder.
    std::string Path(std::string const& szName = "") const { return szName.empty() ? oFolder : oFolder / szName; }

    // Writes a file, and the folders that it needs, and gives its path.
    std::string Write(std::string const& szName, std::string const& szBytes) const {
        std::filesystem::create_directories((oFolder / szName).parent_path());
        std::ofstream(oFolder / szName, std::ios::binary) << szBytes;
        return oFolder / szName;
    }
    std::string Read(std::string const& szName) const {
        std::ifstream oFile(oFolder / szName, std::ios::binary);
        return {std::istreambuf_iterator<char>(oFile), {}};
    }
    bool Has(std::string const& szName) const {
        std::error_code error;
        return std::filesystem::exists(std::filesystem::symlink_status(oFolder / szName, error));
    }

private:
    std::filesystem::path oFolder;
};
