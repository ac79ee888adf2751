#pragma once

#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace lanefeed_test {

// A new folder that is removed with all it holds at the end.
class TempDirectory {
public:
    TempDirectory()
        : m_path((std::filesystem::temp_directory_path() / "lanefeed-test-XXXXXX").string()) {
        if (::mkdtemp(m_path.data()) == nullptr) throw std::runtime_error("no temporary folder");
    }
    ~TempDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }
    // What stands in it, by name.
    std::vector<std::string> names() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_path))
            names.insert(entry.path().filename().string());
        return {names.begin(), names.end()};
    }

private:
    std::string m_path;
};

}  // namespace lanefeed_test
