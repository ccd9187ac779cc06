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
    std::string Path(std::string const& szName = "") const { return szName.empty() ? oPath.string() : *this / szName; }

    // Writes a file, and the folders that it needs, and gives its path.
    std::string Write(std::string const& szName, std::string const& szBytes) const;
    std::string Read(std::string const& szName) const; // "" without such a file
    bool Has(std::string const& szName) const;         // a dangling link too
    // Gives it and all that is in it to user and group 65534. As root.
    void GiveToNobody() const;

private:
    std::filesystem::path oPath;
};
