// A folder of a test's own, gone with it.
#pragma once

#include "tools/process/private_folder.h"

#include <filesystem>
#include <string>

class TestFolder {
public:
    std::string operator/(std::string const& szName) const { return oFolder.Path() + "/" + szName; }
    std::string const& Path() const { return oFolder.Path(); }
    bool Has(std::string const& szName) const { return std::filesystem::exists(*this / szName); }

private:
    PrivateFolder oFolder;
};
