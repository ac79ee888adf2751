#include "support/temp_directory.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace lanefeed_test {

TempDirectory::TempDirectory()
    : m_path((std::filesystem::temp_directory_path() / "lanefeed-test-XXXXXX").string()) {
    if (::mkdtemp(m_path.data()) == nullptr) throw std::runtime_error("no temporary folder");
}

TempDirectory::~TempDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::vector<std::string> TempDirectory::names() const {
    std::vector<std::string> out;
    for (const auto& entry : std::filesystem::directory_iterator(m_path))
        out.push_back(entry.path().filename().string());
    std::sort(out.begin(), out.end());
    return out;
}

}  // namespace lanefeed_test
