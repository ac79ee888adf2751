#pragma once

#include <atomic>

namespace lanefeed_tool {

// From now on Ctrl-C and its like end the process with a line on stderr and exitInterrupted. A
// signal that the caller has the process ignore, as nohup does, stays ignored.
void endOnInterrupt();

// While it lives an interrupt only sets the flag: for work that must not be left half done. What
// comes of it is up to its owner. One at a time.
class HeldInterrupt {
public:
    HeldInterrupt();
    ~HeldInterrupt();
    HeldInterrupt(const HeldInterrupt&) = delete;
    HeldInterrupt& operator=(const HeldInterrupt&) = delete;

    const std::atomic<bool>& flag() const;
};

}  // namespace lanefeed_tool
