// A packed record is the lengths of its cells, four bits each, and then the low bytes of the cells.
// A cell is its difference from that of the record before, with the sign in the lowest bit, so that
// small ones of both signs are short. Whole words are copied, of which the length counts; so there
// is room for one word behind the last byte. Tested by tests/store/record_sorter_test.cpp.
#include "store/packed_run.h"

#include "store/unnamed_file.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace lanefeed_runtime {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "low bytes come first");

constexpr std::size_t kWord = sizeof(std::uint64_t);

std::size_t lengthBytes(std::size_t cells) {
    return (cells + 1) / 2;
}

std::size_t mostBytes(std::size_t cells) {
    return lengthBytes(cells) + cells * kWord;
}

// Differences may go round.
std::uint64_t difference(std::int64_t value, std::int64_t before) {
    const std::uint64_t plain =
        static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(before);
    return (plain << 1U) ^ (0 - (plain >> 63U));
}

std::int64_t restored(std::uint64_t difference, std::int64_t before) {
    const std::uint64_t plain = (difference >> 1U) ^ (0 - (difference & 1U));
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(before) + plain);
}

unsigned bytesOf(std::uint64_t word) {
    return word == 0 ? 0 : 8 - static_cast<unsigned>(__builtin_clzll(word)) / 8;
}

// The low bytes of a word, by their number.
constexpr std::array<std::uint64_t, kWord + 1> kLowBytes{0,
                                                         0xFF,
                                                         0xFFFF,
                                                         0xFFFFFF,
                                                         0xFFFFFFFF,
                                                         0xFFFFFFFFFF,
                                                         0xFFFFFFFFFFFF,
                                                         0xFFFFFFFFFFFFFF,
                                                         0xFFFFFFFFFFFFFFFF};

}  // namespace

void RecordPacker::add(const std::int64_t* record) {
    const std::size_t cells = m_before.size();
    const std::size_t most = mostBytes(cells);
    if (m_bytes.size() - m_size < most) m_bytes.resize(2 * m_bytes.size() + most);
    unsigned char* const lengths = m_bytes.data() + m_size;
    unsigned char* out = lengths + lengthBytes(cells);
    std::fill(lengths, out, 0);
    for (std::size_t i = 0; i < cells; ++i) {
        const std::uint64_t word = difference(record[i], m_before[i]);
        const unsigned length = bytesOf(word);
        lengths[i / 2] = static_cast<unsigned char>(lengths[i / 2] | length << (i % 2 * 4));
        std::memcpy(out, &word, kWord);
        out += length;
        m_before[i] = record[i];
    }
    m_size = static_cast<std::size_t>(out - m_bytes.data());
}

void RecordPacker::restart() {
    m_size = 0;
    std::fill(m_before.begin(), m_before.end(), 0);
}

PackedRun::PackedRun(std::size_t cells, std::uint64_t records, const RecordPacker& packed)
    : m_record(cells), m_records(records), m_bytes(packed.size() + kWord), m_end(packed.size()) {
    std::memcpy(m_bytes.data(), packed.data(), packed.size());
}

PackedRun::PackedRun(
    std::size_t cells, std::uint64_t records, int file, std::int64_t begin, std::int64_t end)
    : m_record(cells), m_records(records), m_file(file), m_fileAt(begin), m_fileEnd(end) {}

// Reads on when the rest of the buffer may be less than a record.
bool PackedRun::ensureWhole() {
    const std::size_t most = mostBytes(m_record.size());
    if (m_end - m_at >= most || m_fileAt >= m_fileEnd) return true;
    m_bytes.resize(std::max(m_bufferBytes, most) + kWord);
    std::memmove(m_bytes.data(), m_bytes.data() + m_at, m_end - m_at);
    m_end -= m_at;
    m_at = 0;
    const std::size_t bytes =
        std::min(m_bytes.size() - kWord - m_end, static_cast<std::size_t>(m_fileEnd - m_fileAt));
    if (!readAt(m_file, m_bytes.data() + m_end, bytes, m_fileAt)) return false;
    m_fileAt += static_cast<std::int64_t>(bytes);
    m_end += bytes;
    return true;
}

bool PackedRun::advance() {
    if (m_records == 0) {
        std::vector<unsigned char>().swap(m_bytes);
        return false;
    }
    m_failed = !ensureWhole();
    if (m_failed) return false;
    --m_records;
    const unsigned char* const lengths = &m_bytes[m_at];
    const unsigned char* in = lengths + lengthBytes(m_record.size());
    for (std::size_t i = 0; i < m_record.size(); ++i) {
        const unsigned length = lengths[i / 2] >> (i % 2 * 4) & 0xFU;
        std::uint64_t word = 0;
        std::memcpy(&word, in, kWord);
        m_record[i] = restored(word & kLowBytes[length], m_record[i]);
        in += length;
    }
    m_at = static_cast<std::size_t>(in - m_bytes.data());
    return true;
}

}  // namespace lanefeed_runtime
