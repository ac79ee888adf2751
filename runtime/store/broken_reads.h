#pragma once

#include <cstdint>
#include <mutex>
#include <string>

namespace lanefeed_runtime {

// Reads that broke off, as they do in a damaged file, of all sessions of one open result: what they
// gave is not all. Any thread.
class BrokenReads {
public:
    void add(const std::string& reason) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (++m_count == 1) m_reason = reason;
    }
    std::uint64_t count() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_count;
    }
    // Why the first of them did.
    std::string reason() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_reason;
    }

private:
    mutable std::mutex m_mutex;
    std::uint64_t m_count = 0;
    std::string m_reason;
};

}  // namespace lanefeed_runtime
