#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lanefeed_runtime {

// Packs records of a fixed number of 64-bit cells, each as what differs from the record before:
// small ids and times that lie close together take a few bytes instead of eight.
class RecordPacker {
public:
    explicit RecordPacker(std::size_t cells) : m_before(cells) {}

    void add(const std::int64_t* record);
    std::size_t size() const { return m_size; }
    const unsigned char* data() const { return m_bytes.data(); }
    // The bytes have gone somewhere; what is added next follows them.
    void clearBytes() { m_size = 0; }
    // What is added next follows nothing.
    void restart();

private:
    std::vector<std::int64_t> m_before;
    std::vector<unsigned char> m_bytes;  // and room for more
    std::size_t m_size = 0;
};

// Reads packed records one after the other, from memory or from a part of a file.
class PackedRun {
public:
    PackedRun(std::size_t cells, std::uint64_t records, const RecordPacker& packed);
    // begin, end: bytes of the file.
    PackedRun(
        std::size_t cells, std::uint64_t records, int file, std::int64_t begin, std::int64_t end);

    // Bytes that are read from the file at once.
    void setBuffer(std::size_t bytes) { m_bufferBytes = bytes; }
    // On to the first or next record. False at the end, where the memory is given back, and on
    // failure.
    bool advance();
    const std::int64_t* record() const { return m_record.data(); }
    bool failed() const { return m_failed; }
    std::uint64_t records() const { return m_records; }

private:
    bool ensureWhole();

    std::vector<std::int64_t> m_record;
    std::uint64_t m_records;  // left
    std::vector<unsigned char> m_bytes;
    std::size_t m_at = 0;
    std::size_t m_end = 0;
    int m_file = -1;
    std::int64_t m_fileAt = 0;
    std::int64_t m_fileEnd = 0;
    std::size_t m_bufferBytes = 0;
    bool m_failed = false;
};

}  // namespace lanefeed_runtime
