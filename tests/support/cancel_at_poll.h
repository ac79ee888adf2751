#pragma once

#include <relay2/progress.h>

#include <atomic>

namespace lanefeed_test {

// Progress that is cancelled from its nth question on, counted from 1; 0 never. Any thread may ask.
class CancelAtPoll : public relay2::IProgress {
public:
    explicit CancelAtPoll(int poll = 0) : cancelsAt(poll) {}
    bool isCanceled() override { return ++asked >= cancelsAt && cancelsAt != 0; }
    int polls() const { return asked; }

    int cancelsAt;
    std::atomic<int> asked{0};
};

}  // namespace lanefeed_test
