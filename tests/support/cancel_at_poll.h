#pragma once

#include <relay2/progress.h>

#include <atomic>

namespace lanefeed_test {

// Progress that is cancelled from its nth question on, counted from 1; 0 never. Any thread.
class CancelAtPoll : public relay2::IProgress {
public:
    explicit CancelAtPoll(int poll) : m_poll(poll) {}
    bool isCanceled() override {
        const int count = ++m_count;
        return m_poll > 0 && count >= m_poll;
    }
    int polls() const { return m_count; }

private:
    int m_poll;
    std::atomic<int> m_count{0};
};

}  // namespace lanefeed_test
