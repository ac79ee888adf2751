#pragma once

#include "common/import_error.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct z_stream_s;

namespace lanefeed_importers {

// The bytes of a trace file, unpacked: gzip is known by its content and may have several members.
// Reads in pieces, so a pipe will do. One thread.
class ByteSource {
public:
    // Null with an error for what cannot be read or is empty; "-" is the standard input. A signal
    // ends a read that waits, as that of a pipe, once the flag is set; it outlives the source, null
    // for none.
    static std::unique_ptr<ByteSource> open(const std::string& path,
                                            ImportError& error,
                                            const std::atomic<bool>* cancel = nullptr);
    // What messages call it.
    static std::string nameOf(const std::string& path);
    ~ByteSource();
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    // The first unpacked bytes, which read() gives again.
    std::string_view head() const { return m_head; }
    // Number of bytes put into `into`; 0 at the end and after a failure, see error().
    std::size_t read(char* into, std::size_t room);

    const ImportError& error() const { return m_error; }
    // The failure is that of a compressed file, of which all that could be unpacked was handed out.
    bool damagedArchive() const { return m_damaged; }

    // As messages call it.
    const std::string& path() const { return m_path; }
    std::uint64_t unpackedBytes() const { return m_handedOut; }
    std::uint64_t fileBytesRead() const { return m_fileRead; }
    // 0 for a pipe.
    std::uint64_t fileSize() const { return m_fileSize; }
    // Seconds since 1970.
    std::int64_t modified() const { return m_modified; }
    // Something else than padding stands behind the compressed data; it isn't handed out.
    bool hasTail() const { return m_tail; }
    // Size and hashes of both ends of the file; empty for a pipe.
    const std::string& identity() const { return m_identity; }

private:
    ByteSource(std::string path, int file, const std::atomic<bool>* cancel);

    bool describe();
    std::string hashOf(std::uint64_t offset, std::size_t length) const;
    void readHead();
    std::size_t readFile(char* into, std::size_t room);
    bool fillInput();
    std::size_t readUnpacked(char* into, std::size_t room);
    std::size_t copyInput(char* into, std::size_t room);
    std::size_t inflateInput(char* into, std::size_t room);
    bool startMember();
    bool nextMember();
    void fail(const std::string& what);
    void failArchive(const std::string& what);

    std::string m_path;
    int m_file;
    const std::atomic<bool>* m_cancel;
    std::uint64_t m_fileSize = 0;
    std::int64_t m_modified = 0;
    std::string m_identity;
    ImportError m_error;
    bool m_damaged = false;

    std::vector<char> m_input;  // of the file, [m_inputAt, m_inputEnd) not used yet
    std::size_t m_inputAt = 0;
    std::size_t m_inputEnd = 0;
    bool m_inputDone = false;
    std::unique_ptr<z_stream_s> m_inflate;  // null for a plain file
    bool m_memberDone = false;
    bool m_tail = false;

    std::string m_head;
    std::size_t m_headGiven = 0;
    std::uint64_t m_fileRead = 0;
    std::uint64_t m_handedOut = 0;
};

}  // namespace lanefeed_importers
