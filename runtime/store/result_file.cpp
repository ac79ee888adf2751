// Where a result is written and how it gets its name. An old result is replaced in one step or not
// at all. Tested by tests/store/result_file_test.cpp.
#include "store/result_file.h"

#include "store/dialect.h"
#include "store/file_head.h"
#include "store/sqlite_handle.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace lanefeed_runtime {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSuffix = ".part";

std::string systemText(int error) {
    return std::generic_category().message(error);
}

std::string hostName() {
    std::array<char, 256> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0) return "host";
    std::string out(name.data());
    // Dots part the components of the temporary name.
    for (char& c : out) {
        if (c == '.' || c == '/') c = '-';
    }
    return out;
}

std::string temporaryName(const std::string& target) {
    static std::atomic<unsigned> count{0};
    return target + "." + hostName() + "." + std::to_string(::getpid()) + "." +
           std::to_string(++count) + std::string(kSuffix);
}

// Process that writes the temporary file NAME.HOST.PID.N.part; 0 when it is none of this target, or
// of another host.
pid_t writerOf(std::string_view name, const std::string& target) {
    const std::string front = target + "." + hostName() + ".";
    if (name.size() <= front.size() + kSuffix.size()) return 0;
    if (name.substr(0, front.size()) != front) return 0;
    if (name.substr(name.size() - kSuffix.size()) != kSuffix) return 0;
    const char* begin = name.data() + front.size();
    pid_t process = 0;
    const auto [end, status] = std::from_chars(begin, name.data() + name.size(), process);
    return status == std::errc() && *end == '.' && process > 0 ? process : 0;
}

void clearLeftovers(const std::string& directory, const std::string& target) {
    std::error_code error;
    fs::directory_iterator entry(directory, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const pid_t process = writerOf(entry->path().filename().string(), target);
        const bool isDead = process > 0 && ::kill(process, 0) != 0 && errno == ESRCH;
        if (isDead) ::unlink(entry->path().c_str());
    }
}

std::string identityOf(const std::string& file) {
    std::string error;
    const auto connection = Connection::open(file, Connection::Mode::read, error);
    if (connection == nullptr) return {};
    Statement read = connection->prepare("select \"value\" from \"result\" where \"key\" = " +
                                         dialect::literal(result_keys::kSourceIdentity));
    if (!read || read.step() != Statement::Step::row) return {};
    return std::string(read.text(0));
}

std::string behindLinks(const std::string& target) {
    constexpr int kMostLinks = 40;
    std::error_code status;
    fs::path path = target;
    for (int i = 0; i < kMostLinks && fs::is_symlink(path, status); ++i) {
        const fs::path next = fs::read_symlink(path, status);
        if (status) break;
        path = path.parent_path() / next;
    }
    return path.string();
}

bool syncFile(const std::string& file) {
    const int handle = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (handle < 0) return false;
    const bool synced = ::fsync(handle) == 0;
    const int error = errno;
    ::close(handle);
    errno = error;
    return synced;
}

}  // namespace

ResultFile::~ResultFile() {
    if (!m_temporary.empty()) ::unlink(m_temporary.c_str());
}

std::string ResultFile::directory() const {
    std::error_code status;
    const fs::path whole = fs::absolute(m_target, status);
    return status ? "." : whole.parent_path().string();
}

bool ResultFile::open(const std::string& target,
                      const std::string& sourceIdentity,
                      bool force,
                      StoreError& error) {
    // A link stays a link: what it points to is replaced, or made if it isn't there.
    m_target = behindLinks(target);
    m_identity = sourceIdentity;
    m_force = force;
    if (!mayReplace(error)) return false;
    clearLeftovers(directory(), fs::path(m_target).filename().string());
    const std::string temporary = temporaryName(m_target);
    const int file = ::open(temporary.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666);
    if (file < 0) {
        error = {StoreError::Kind::cannotWrite,
                 m_target + ": cannot be written: " + systemText(errno) +
                     "; check that the folder is there and may be written, or choose another"
                     " place"};
        return false;
    }
    ::close(file);
    m_temporary = temporary;
    return true;
}

bool ResultFile::mayReplace(StoreError& error) const {
    const FileHead head = readFileHead(m_target);
    using Kind = FileHead::Kind;
    switch (head.kind) {
    case Kind::missing: return true;
    case Kind::unreadable:
        error = {StoreError::Kind::cannotWrite,
                 m_target + ": stands there and cannot be read: " + systemText(head.systemError) +
                     "; choose another name"};
        return false;
    case Kind::noFile:
    case Kind::empty:
    case Kind::other:
        error = {StoreError::Kind::exists,
                 m_target + ": stands there and is no result; remove it or choose another name"};
        return false;
    default: break;
    }
    const bool sameSource =
        head.kind == Kind::result && !m_identity.empty() && identityOf(m_target) == m_identity;
    if (m_force || sameSource) return true;
    const bool known = head.kind == Kind::result;
    error = {StoreError::Kind::exists,
             m_target +
                 (known ? ": holds the result of another source"
                        : ": holds a result that this program can't read") +
                 "; replace it with --force or choose another name"};
    return false;
}

bool ResultFile::place(StoreError& error) {
    // Something may have come to stand there since the file was opened.
    if (!mayReplace(error)) return false;
    if (syncAndRename()) {
        m_temporary.clear();
        return true;
    }
    error = {StoreError::Kind::cannotWrite,
             m_target + ": cannot be put in place: " + systemText(errno) +
                 "; check the disk and the permissions of the folder"};
    return false;
}

bool ResultFile::syncAndRename() {
    if (!syncFile(m_temporary)) return false;
    if (::rename(m_temporary.c_str(), m_target.c_str()) != 0) return false;
    // The name itself reaches the disk with its folder; some file systems can't be asked to.
    syncFile(directory());
    return true;
}

}  // namespace lanefeed_runtime
