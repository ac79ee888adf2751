#pragma once

namespace lanefeed_runtime {

struct ResultFacts;
struct StoreSession;

// False when the file can't be read or lacks a fact that every result has.
bool readFacts(StoreSession& session, ResultFacts& facts);

}  // namespace lanefeed_runtime
