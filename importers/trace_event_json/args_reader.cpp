// Arguments are kept as text; those of counters and of names are read here a second time.
// Tested by tests/importers/trace_facts_test.cpp.
#include "trace_event_json/args_reader.h"

#include <cstdint>
#include <rapidjson/reader.h>

namespace lanefeed_importers {
namespace {

class MemberReader {
public:
    explicit MemberReader(const std::function<void(const ArgsMember&)>& member)
        : m_member(member) {}

    // The reader calls these by their names. NOLINTBEGIN(readability-identifier-naming)
    bool Null() { return value({}, false); }
    bool Bool(bool) { return value({}, false); }
    bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
        return value({text, length}, true);
    }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        return value({text, length}, true);
    }
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double) { return false; }
    bool Key(const char* text, rapidjson::SizeType length, bool) {
        if (m_depth == 1) m_key.assign(text, length);
        return true;
    }
    bool StartObject() {
        value({}, false);
        ++m_depth;
        return true;
    }
    bool StartArray() {
        // An array as a whole has no members.
        return m_depth > 0 && StartObject();
    }
    bool EndObject(rapidjson::SizeType) {
        --m_depth;
        return true;
    }
    bool EndArray(rapidjson::SizeType) {
        --m_depth;
        return true;
    }
    // NOLINTEND(readability-identifier-naming)

private:
    bool value(std::string_view text, bool maybeNumber) {
        if (m_depth == 1) m_member({m_key, text, maybeNumber});
        return true;
    }

    const std::function<void(const ArgsMember&)>& m_member;
    std::string m_key;
    int m_depth = 0;
};

}  // namespace

void readArgs(const std::string& json, const std::function<void(const ArgsMember&)>& member) {
    if (json.empty()) return;
    constexpr unsigned kFlags = rapidjson::kParseNumbersAsStringsFlag |
                                rapidjson::kParseTrailingCommasFlag |
                                rapidjson::kParseNanAndInfFlag;
    MemberReader handler(member);
    rapidjson::StringStream stream(json.c_str());
    rapidjson::Reader().Parse<kFlags>(stream, handler);
}

}  // namespace lanefeed_importers
