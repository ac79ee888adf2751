// Whole files in and out. Errors come with the words of the system, such as "No space left on
// device", because that is what a user can act on.
// Tested by tests/base/bag_xml_test.cpp.
#include "text_file.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace lanefeed_runtime {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

std::string systemReason() {
    return std::generic_category().message(errno);
}

std::string temporaryNameFor(const std::string& fileName) {
    static std::atomic<unsigned> counter{0};
    return fileName + '.' + std::to_string(getpid()) + '.' + std::to_string(counter++) + ".tmp";
}

// "x": never writes into a file that somebody else made.
bool writeNewFile(const std::string& fileName, const std::string& text) {
    FilePtr file(std::fopen(fileName.c_str(), "wbx"));
    if (file == nullptr) return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    // A full disk may show only when the buffer goes out.
    return std::fclose(file.release()) == 0 && written;
}

}  // namespace

bool readTextFile(const std::string& fileName, std::string& text, std::string& reason) {
    const FilePtr file(std::fopen(fileName.c_str(), "rb"));
    if (file == nullptr) {
        reason = systemReason();
        return false;
    }
    std::string read;
    char block[65536];
    while (const std::size_t size = std::fread(block, 1, sizeof(block), file.get()))
        read.append(block, size);
    if (std::ferror(file.get()) != 0) {
        reason = systemReason();
        return false;
    }
    text.swap(read);
    return true;
}

bool replaceTextFile(const std::string& fileName, const std::string& text, std::string& reason) {
    const std::string temporary = temporaryNameFor(fileName);
    if (writeNewFile(temporary, text) && std::rename(temporary.c_str(), fileName.c_str()) == 0)
        return true;
    reason = systemReason();
    std::remove(temporary.c_str());
    return false;
}

}  // namespace lanefeed_runtime
