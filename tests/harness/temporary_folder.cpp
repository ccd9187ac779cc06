#include "tests/harness/temporary_folder.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <unistd.h>

TemporaryFolder::TemporaryFolder() {
    std::string szTemplate = std::filesystem::temp_directory_path() / "lumora.XXXXXX";
    if (!mkdtemp(szTemplate.data()))
        std::abort();
    oPath = szTemplate;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(oPath, error);
}

std::string TemporaryFolder::Write(std::string const& szName, std::string const& szBytes) const {
    std::filesystem::create_directories((oPath / szName).parent_path());
    std::ofstream(oPath / szName, std::ios::binary) << szBytes;
    return *this / szName;
}

std::string TemporaryFolder::Read(std::string const& szName) const {
    std::ifstream oFile(oPath / szName, std::ios::binary);
    return {std::istreambuf_iterator<char>(oFile), {}};
}

bool TemporaryFolder::Has(std::string const& szName) const {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(oPath / szName, error));
}

void TemporaryFolder::GiveToNobody() const {
    bool bAll = lchown(oPath.c_str(), 65534, 65534) == 0;
    for (auto const& oEntry : std::filesystem::recursive_directory_iterator(oPath))
        bAll = lchown(oEntry.path().c_str(), 65534, 65534) == 0 && bAll;
    if (!bAll)
        std::abort();
}
