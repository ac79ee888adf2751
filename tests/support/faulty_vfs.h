#pragma once

#include <memory>

namespace lanefeed_test {

// Files of the database engine whose nth write fails, counted from 1; 0 none. In force for the
// process while it lives; one at a time.
class FaultyVfs {
public:
    enum class Fault { diskFull, ioError };

    FaultyVfs(int failAt, Fault fault);
    ~FaultyVfs();
    FaultyVfs(const FaultyVfs&) = delete;
    FaultyVfs& operator=(const FaultyVfs&) = delete;

    int writes() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace lanefeed_test
