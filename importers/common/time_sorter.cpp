// External sort by time. Traces are nearly sorted as a rule, so most runs don't overlap and the
// merge reads one after the other. Tested by tests/importers/time_order_test.cpp.
#include "common/time_sorter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <store/unnamed_file.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace lanefeed_importers {
namespace {

using lanefeed_runtime::readAt;
using lanefeed_runtime::writeAt;

constexpr std::size_t kLeastMemory = 64 * 1024;
constexpr std::size_t kLeastPiece = 16 * 1024;
constexpr std::size_t kWritePiece = 256 * 1024;

// What stands before each record in the file.
struct RecordHead {
    TraceTime time;
    std::uint64_t length;
};

}  // namespace

// Reads one sorted run piece by piece.
class TimeSorter::Run {
public:
    Run(std::int64_t begin, std::int64_t end) : m_at(begin), m_end(end) {}

    void start(int file, std::size_t piece) {
        m_file = file;
        m_buffer.resize(piece);
    }
    // False at the end and on failure; errno is 0 at the end.
    bool advance() {
        m_used += m_step;
        m_step = 0;
        if (!ensure(sizeof(RecordHead))) return false;
        std::memcpy(&m_head, m_buffer.data() + m_used, sizeof(m_head));
        const auto length = static_cast<std::size_t>(m_head.length);
        if (!ensure(sizeof(RecordHead) + length)) return false;
        m_step = sizeof(RecordHead) + length;
        return true;
    }
    const TraceTime& time() const { return m_head.time; }
    std::string_view record() const {
        return {m_buffer.data() + m_used + sizeof(RecordHead),
                static_cast<std::size_t>(m_head.length)};
    }

private:
    // Makes `length` bytes from m_used on present.
    bool ensure(std::size_t length) {
        if (m_filled - m_used >= length) return true;
        std::memmove(m_buffer.data(), m_buffer.data() + m_used, m_filled - m_used);
        m_filled -= m_used;
        m_used = 0;
        if (m_buffer.size() < length) m_buffer.resize(length);
        const auto piece = static_cast<std::size_t>(std::min<std::int64_t>(
            static_cast<std::int64_t>(m_buffer.size() - m_filled), m_end - m_at));
        errno = 0;
        if (m_filled + piece < length) return false;
        if (!readAt(m_file, m_buffer.data() + m_filled, piece, m_at)) return false;
        m_filled += piece;
        m_at += static_cast<std::int64_t>(piece);
        return true;
    }

    int m_file = -1;
    std::int64_t m_at;
    std::int64_t m_end;
    std::vector<char> m_buffer;
    std::size_t m_used = 0;
    std::size_t m_filled = 0;
    std::size_t m_step = 0;
    RecordHead m_head{};
};

TimeSorter::TimeSorter(std::string folder, std::size_t memory)
    : m_folder(std::move(folder)), m_memory(std::max(memory, kLeastMemory)) {}

TimeSorter::~TimeSorter() {
    if (m_file >= 0) ::close(m_file);
}

bool TimeSorter::add(const TraceTime& time, std::string_view record) {
    if (m_error.failed()) return false;
    const std::size_t needed = m_records.size() + record.size() + (m_keys.size() + 1) * sizeof(Key);
    if (needed > m_memory && !m_keys.empty() && !spill()) return false;
    m_keys.push_back({time, static_cast<std::uint32_t>(m_records.size()),
                      static_cast<std::uint32_t>(record.size())});
    m_records.insert(m_records.end(), record.begin(), record.end());
    ++m_size;
    return true;
}

std::string_view TimeSorter::recordOf(const Key& key) const {
    return {m_records.data() + key.offset, key.length};
}

void TimeSorter::sortKeys() {
    const auto earlier = [](const Key& a, const Key& b) {
        return a.time == b.time ? a.offset < b.offset : a.time < b.time;
    };
    if (!std::is_sorted(m_keys.begin(), m_keys.end(), earlier)) {
        std::sort(m_keys.begin(), m_keys.end(), earlier);
    }
}

bool TimeSorter::spill() {
    if (m_file < 0) m_file = lanefeed_runtime::openUnnamedFile(m_folder);
    if (m_file < 0) return fail("cannot create a temporary file");
    sortKeys();
    const std::int64_t begin = m_fileEnd;
    std::string out;
    out.reserve(kWritePiece * 2);
    for (const Key& key : m_keys) {
        const RecordHead head{key.time, key.length};
        out.append(reinterpret_cast<const char*>(&head), sizeof(head));
        out.append(recordOf(key));
        if (out.size() < kWritePiece) continue;
        if (!writeOut(out)) return false;
        out.clear();
    }
    if (!writeOut(out)) return false;
    m_runs.push_back(std::make_unique<Run>(begin, m_fileEnd));
    m_keys.clear();
    m_records.clear();
    return true;
}

bool TimeSorter::writeOut(const std::string& bytes) {
    if (!writeAt(m_file, bytes.data(), bytes.size(), m_fileEnd)) {
        return fail("cannot write a temporary file");
    }
    m_fileEnd += static_cast<std::int64_t>(bytes.size());
    return true;
}

bool TimeSorter::sort() {
    if (m_error.failed()) return false;
    if (m_runs.empty()) {
        sortKeys();
        return true;
    }
    if (!m_keys.empty() && !spill()) return false;
    std::vector<char>().swap(m_records);
    std::vector<Key>().swap(m_keys);
    const std::size_t piece = std::max(kLeastPiece, m_memory / 4 / m_runs.size());
    for (std::size_t i = 0; i < m_runs.size(); ++i) {
        m_runs[i]->start(m_file, piece);
        if (!m_runs[i]->advance()) return fail("cannot read a temporary file");
        m_heap.push_back(i);
    }
    // Runs were made one after the other, so of equal times the first run's comes first.
    std::sort(m_heap.begin(), m_heap.end(), [this](std::size_t a, std::size_t b) {
        return m_runs[a]->time() == m_runs[b]->time() ? a < b
                                                      : m_runs[a]->time() < m_runs[b]->time();
    });
    return true;
}

bool TimeSorter::next(TraceTime& time, std::string_view& record) {
    if (!m_runs.empty()) return nextOfRuns(time, record);
    if (m_error.failed() || m_nextKey == m_keys.size()) return false;
    const Key& key = m_keys[m_nextKey++];
    time = key.time;
    record = recordOf(key);
    return true;
}

bool TimeSorter::nextOfRuns(TraceTime& time, std::string_view& record) {
    if (m_error.failed() || m_heap.empty()) return false;
    const auto later = [this](std::size_t a, std::size_t b) {
        return m_runs[a]->time() == m_runs[b]->time() ? a > b
                                                      : m_runs[b]->time() < m_runs[a]->time();
    };
    if (m_frontTaken) {
        std::pop_heap(m_heap.begin(), m_heap.end(), later);
        if (m_runs[m_heap.back()]->advance()) {
            std::push_heap(m_heap.begin(), m_heap.end(), later);
        } else if (errno != 0) {
            return fail("cannot read a temporary file");
        } else {
            m_heap.pop_back();
        }
        m_frontTaken = false;
        if (m_heap.empty()) return false;
    }
    const Run& front = *m_runs[m_heap.front()];
    time = front.time();
    record = front.record();
    m_frontTaken = true;
    return true;
}

bool TimeSorter::fail(const char* what) {
    const int number = errno;
    m_error = ImportError::failure(fmt::format(
        "{}: {}: {}; sorting a trace takes about half of its unpacked size there, make room or "
        "give the result another folder (-o)",
        m_folder, what, std::system_category().message(number)));
    return false;
}

}  // namespace lanefeed_importers
