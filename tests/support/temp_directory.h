#pragma once

#include <string>
#include <vector>

namespace lanefeed_test {

// A new folder that is removed with all it holds at the end.
class TempDirectory {
public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }
    // What stands in it, by name.
    std::vector<std::string> names() const;

private:
    std::string m_path;
};

}  // namespace lanefeed_test
