// Opens a trace file, says what it is (size, ends) and hands out its unpacked bytes piece by piece.
// Whether it is compressed is told by its first two bytes and not by its name. A damaged archive
// gives all that could be unpacked before it fails, so that the caller may keep it.
// Tested by tests/importers/byte_source_test.cpp.
#include "common/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <zlib.h>

namespace lanefeed_importers {
namespace {

constexpr std::size_t kInputSize = 256 * 1024;
constexpr std::size_t kHeadSize = 64 * 1024;
constexpr std::size_t kHashedEnd = 64 * 1024;
// Window of 32 kB, and a gzip header is required.
constexpr int kGzipWindow = 15 + 16;
constexpr std::string_view kInput = "-";

std::string systemText(int number) {
    return std::system_category().message(number);
}

std::uint64_t fnv1a(const char* bytes, std::size_t length) {
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (std::size_t i = 0; i < length; ++i) {
        hash = (hash ^ static_cast<unsigned char>(bytes[i])) * 0x100000001b3U;
    }
    return hash;
}

bool looksPacked(const char* bytes, std::size_t length) {
    return length >= 2 && bytes[0] == '\x1f' && bytes[1] == '\x8b';
}

}  // namespace

std::unique_ptr<ByteSource> ByteSource::open(const std::string& path,
                                             ImportError& error,
                                             const std::atomic<bool>* cancel) {
    const int file = path == kInput ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                    : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        error = ImportError::failure(fmt::format("{}: {}; check the name and the permissions",
                                                 nameOf(path), systemText(errno)));
        return nullptr;
    }
    std::unique_ptr<ByteSource> source(new ByteSource(nameOf(path), file, cancel));
    if (source->describe()) source->readHead();
    if (source->m_error.failed() && source->m_head.empty()) {
        error = source->m_error;
        return nullptr;
    }
    if (source->m_head.empty()) {
        error = ImportError::badInput(
            fmt::format("{}: the file is empty; record it again", source->m_path));
        return nullptr;
    }
    return source;
}

std::string ByteSource::nameOf(const std::string& path) {
    return path == kInput ? "standard input" : path;
}

ByteSource::ByteSource(std::string path, int file, const std::atomic<bool>* cancel)
    : m_path(std::move(path)), m_file(file), m_cancel(cancel) {
    m_input.resize(kInputSize);
}

ByteSource::~ByteSource() {
    if (m_inflate) inflateEnd(m_inflate.get());
    ::close(m_file);
}

bool ByteSource::describe() {
    struct stat about {};
    if (::fstat(m_file, &about) != 0) {
        fail(systemText(errno));
        return false;
    }
    if (S_ISDIR(about.st_mode)) {
        fail("this is a folder; name a trace file in it");
        return false;
    }
    // Of the standard input, a part may have been read already.
    if (!S_ISREG(about.st_mode) || ::lseek(m_file, 0, SEEK_CUR) != 0) return true;
    m_fileSize = static_cast<std::uint64_t>(about.st_size);
    m_modified = about.st_mtim.tv_sec;
    const std::size_t end =
        static_cast<std::size_t>(std::min<std::uint64_t>(m_fileSize, kHashedEnd));
    m_identity = fmt::format("{}-{}-{}", m_fileSize, hashOf(0, end), hashOf(m_fileSize - end, end));
    return true;
}

std::string ByteSource::hashOf(std::uint64_t offset, std::size_t length) const {
    std::vector<char> bytes(length);
    const ssize_t got = ::pread(m_file, bytes.data(), length, static_cast<off_t>(offset));
    return fmt::format("{:016x}", fnv1a(bytes.data(), got > 0 ? static_cast<std::size_t>(got) : 0));
}

void ByteSource::readHead() {
    if (!fillInput()) return;
    if (looksPacked(m_input.data(), m_inputEnd) && !startMember()) return;
    m_head.resize(kHeadSize);
    std::size_t have = 0;
    while (have < kHeadSize) {
        const std::size_t got = readUnpacked(m_head.data() + have, kHeadSize - have);
        if (got == 0) break;
        have += got;
    }
    m_head.resize(have);
}

std::size_t ByteSource::read(char* into, std::size_t room) {
    std::size_t got = 0;
    if (m_headGiven < m_head.size()) {
        got = m_head.copy(into, room, m_headGiven);
        m_headGiven += got;
    } else {
        got = readUnpacked(into, room);
    }
    m_handedOut += got;
    return got;
}

std::size_t ByteSource::readUnpacked(char* into, std::size_t room) {
    if (m_error.failed()) return 0;
    return m_inflate ? inflateInput(into, room) : copyInput(into, room);
}

// 0 at the end of the file and on failure.
std::size_t ByteSource::readFile(char* into, std::size_t room) {
    if (m_inputDone) return 0;
    ssize_t got = 0;
    do {
        // Asked before each wait, too: a signal may have come while nothing was read.
        if (m_cancel && m_cancel->load()) {
            fail(systemText(EINTR));
            return 0;
        }
        got = ::read(m_file, into, room);
    } while (got < 0 && errno == EINTR);
    if (got < 0) fail(systemText(errno));
    m_inputDone = got <= 0;
    const std::size_t bytes = got > 0 ? static_cast<std::size_t>(got) : 0;
    m_fileRead += bytes;
    return bytes;
}

bool ByteSource::fillInput() {
    m_inputAt = 0;
    m_inputEnd = readFile(m_input.data(), m_input.size());
    return m_inputEnd > 0;
}

// What the look at the first bytes has left, then straight from the file.
std::size_t ByteSource::copyInput(char* into, std::size_t room) {
    if (m_inputAt == m_inputEnd) return readFile(into, room);
    const std::size_t count = std::min(room, m_inputEnd - m_inputAt);
    std::memcpy(into, m_input.data() + m_inputAt, count);
    m_inputAt += count;
    return count;
}

std::size_t ByteSource::inflateInput(char* into, std::size_t room) {
    z_stream_s& stream = *m_inflate;
    stream.next_out = reinterpret_cast<Bytef*>(into);
    stream.avail_out = static_cast<uInt>(room);
    while (stream.avail_out == room && !m_error.failed()) {
        if (m_memberDone && !nextMember()) break;
        if (m_inputAt == m_inputEnd && !fillInput()) {
            if (!m_error.failed()) failArchive("the compressed data ends early");
            break;
        }
        stream.next_in = reinterpret_cast<Bytef*>(m_input.data() + m_inputAt);
        stream.avail_in = static_cast<uInt>(m_inputEnd - m_inputAt);
        const int result = inflate(&stream, Z_NO_FLUSH);
        m_inputAt = m_inputEnd - stream.avail_in;
        if (result == Z_STREAM_END) {
            m_memberDone = true;
        } else if (result != Z_OK && result != Z_BUF_ERROR) {
            failArchive(stream.msg ? stream.msg : "the compressed data is damaged");
        }
    }
    return room - stream.avail_out;
}

bool ByteSource::startMember() {
    m_inflate = std::make_unique<z_stream_s>();
    if (inflateInit2(m_inflate.get(), kGzipWindow) == Z_OK) return true;
    m_inflate.reset();
    fail("no memory to unpack it");
    return false;
}

// Another member may follow the one that has ended; zeros behind it are padding.
bool ByteSource::nextMember() {
    do {
        if (m_inputAt == m_inputEnd && !fillInput()) return false;
        while (m_inputAt < m_inputEnd && m_input[m_inputAt] == '\0')
            ++m_inputAt;
    } while (m_inputAt == m_inputEnd);
    const char* const rest = &m_input[m_inputAt];
    const std::size_t length = m_inputEnd - m_inputAt;
    if (!looksPacked(rest, length) && (length > 1 || *rest != '\x1f')) {
        m_tail = true;
        m_inputAt = m_inputEnd;
        m_inputDone = true;
        return false;
    }
    m_memberDone = false;
    return inflateReset(m_inflate.get()) == Z_OK;
}

void ByteSource::fail(const std::string& what) {
    m_error = ImportError::failure(fmt::format("{}: {}", m_path, what));
}

void ByteSource::failArchive(const std::string& what) {
    m_damaged = true;
    m_error =
        ImportError::badInput(fmt::format("{}: {} at byte {} of the file; record or copy it again",
                                          m_path, what, m_fileRead - (m_inputEnd - m_inputAt)));
}

}  // namespace lanefeed_importers
