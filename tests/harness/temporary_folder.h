// A folder that lives as long as a test.
#pragma once

#include <filesystem>
#include <string>

// Made empty in the system's folder for temporary files; removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;

    std::string operator/(std::string const& szName) const { return (oPath / szName).string(); }
    std::string Path() const { return oPath.string(); }

private:
    std::filesystem::path oPath;
};
