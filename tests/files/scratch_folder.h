// A folder of its own for each test, gone with the test.
#pragma once

#include "tests/harness/temporary_folder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class ScratchFolder {
public:
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
    TemporaryFolder const oHeld;
    std::filesystem::path const oFolder = oHeld.Path();
};
