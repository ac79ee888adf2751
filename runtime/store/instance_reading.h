#pragma once

#include <memory>

namespace lanefeed_runtime {

class InstanceReader;
struct StoreSession;

// The session is the reader's own.
std::shared_ptr<InstanceReader> makeInstanceReader(std::shared_ptr<StoreSession> session);

}  // namespace lanefeed_runtime
