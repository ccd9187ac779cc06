#include "tests/harness/temporary_folder.h"

#include <cstdlib>

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
