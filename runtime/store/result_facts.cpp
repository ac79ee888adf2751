// Tested by tests/store/open_store_test.cpp.
#include "store/result_facts.h"

#include "store/read_facts.h"
#include "store/schema.h"
#include "store/store_session.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace lanefeed_runtime {
namespace {

template <class T>
bool readNumber(const ResultFacts& facts, std::string_view key, T& out) {
    const std::string text = facts.entry(std::string(key));
    const char* end = text.data() + text.size();
    const auto [stop, status] = std::from_chars(text.data(), end, out);
    return status == std::errc() && stop == end;
}

bool readEntries(Connection& connection, ResultFacts& facts) {
    Statement rows =
        connection.prepare("select \"key\", \"value\" from \"result\" order by \"rowid\"");
    if (!rows) return false;
    Statement::Step step = rows.step();
    for (; step == Statement::Step::row; step = rows.step())
        facts.entries.emplace_back(rows.text(0), rows.text(1));
    return step == Statement::Step::done;
}

bool readPauses(StoreSession& session, ResultFacts& facts) {
    const int table = session.catalog.find("pauses");
    if (table < 0 || !session.catalog.table(table).inFile) return true;
    Statement rows = session.connection->prepare(
        "select \"start_tsc\", \"end_tsc\" from \"pauses\" order by \"start_tsc\"");
    if (!rows) return false;
    Statement::Step step = rows.step();
    for (; step == Statement::Step::row; step = rows.step()) {
        // Tick 0 is before every trace; a null reads as 0.
        if (rows.integer(0) < 1 || rows.integer(1) < rows.integer(0)) return false;
        facts.pauses.push_back({static_cast<basekit2::u64_t>(rows.integer(0)),
                                static_cast<basekit2::u64_t>(rows.integer(1))});
    }
    return step == Statement::Step::done;
}

// Every tick of the result has a time of the trace.
bool hasTimes(const ResultFacts& facts) {
    constexpr basekit2::s64_t kLatest = std::numeric_limits<basekit2::s64_t>::max();
    return facts.ticksPerSecond > 0 && facts.firstTick <= facts.lastTick &&
           facts.lastTick <= static_cast<basekit2::u64_t>(kLatest) &&
           facts.origin <= kLatest - static_cast<basekit2::s64_t>(facts.lastTick);
}

}  // namespace

std::string ResultFacts::entry(const std::string& key) const {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const auto& entry) { return entry.first == key; });
    return found == entries.end() ? std::string() : found->second;
}

bool readFacts(StoreSession& session, ResultFacts& facts) {
    facts.file = session.file;
    return readEntries(*session.connection, facts) && readPauses(session, facts) &&
           readNumber(facts, result_keys::kTicksPerSecond, facts.ticksPerSecond) &&
           readNumber(facts, result_keys::kOrigin, facts.origin) &&
           readNumber(facts, result_keys::kFirstTick, facts.firstTick) &&
           readNumber(facts, result_keys::kLastTick, facts.lastTick) && hasTimes(facts);
}

}  // namespace lanefeed_runtime
