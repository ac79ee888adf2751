// The SAX side of the trace event format: finds the event array, fills one TraceEvent after the
// other and hands it on at its closing bracket, so that whatever is cut later, complete events are
// in. Numbers stay text until somebody knows what they mean; arguments are kept as they stand.
// Tested by tests/importers/tokenizer_test.cpp.
#include "trace_event_json/tokenizer.h"

#include "trace_event_json/json_stream.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

namespace lanefeed_importers {
namespace {

constexpr unsigned kReaderFlags =
    rapidjson::kParseStopWhenDoneFlag | rapidjson::kParseNumbersAsStringsFlag |
    rapidjson::kParseTrailingCommasFlag | rapidjson::kParseNanAndInfFlag;

// The reader calls itself for each level.
constexpr int kMaxDepth = 512;

// Handler of the reader. Depth is the number of open brackets; the members of an event stand at
// m_listDepth + 1.
class EventReader {
public:
    EventReader(JsonStream& stream, EventSink& sink) : m_stream(stream), m_sink(sink) {}

    bool listSeen() const { return m_listSeen; }
    // An entry of the array, or the first key of one.
    bool entrySeen() const { return m_entrySeen; }
    bool insideEvent() const { return m_inEvent; }
    bool tooDeep() const { return m_depth > kMaxDepth; }

    // The reader calls these by their names. NOLINTBEGIN(readability-identifier-naming)
    bool Null() { return word({}); }
    bool Bool(bool value) { return word(value ? "true" : "false"); }
    bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
        if (Field* field = target()) field->setNumber(text, length);
        return scalarDone();
    }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        if (Field* field = target()) field->setText(text, length);
        return scalarDone();
    }
    // Numbers come as text alone.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double) { return false; }

    bool Key(const char* text, rapidjson::SizeType length, bool) {
        const std::string_view key(text, length);
        if (m_inEvent) {
            keyInEvent(key);
        } else if (!m_listDepth) {
            keyOutside(key);
        }
        return true;
    }
    bool StartObject() { return open('{'); }
    bool EndObject(rapidjson::SizeType) { return close(); }
    bool StartArray() { return open('['); }
    bool EndArray(rapidjson::SizeType) { return close(); }
    // NOLINTEND(readability-identifier-naming)

private:
    enum class Part { plain, args, id2 };
    enum class OutsideKey { other, traceEvents, events, system };

    void keyInEvent(std::string_view key);
    void keyOutside(std::string_view key);
    Field* fieldOf(std::string_view key);
    Field* target() { return m_inEvent ? m_field : nullptr; }
    bool word(std::string_view text);
    bool scalarDone();
    void otherEntry();
    bool open(char bracket);
    void openInEvent(char bracket);
    void openOutside(char bracket);
    bool startsList(char bracket) const;
    bool close();
    bool finishEvent();

    JsonStream& m_stream;
    EventSink& m_sink;
    TraceEvent m_event;
    int m_depth = 0;
    int m_listDepth = 0;  // depth of the entries of the event array; 0 outside
    bool m_rootIsObject = false;
    bool m_listSeen = false;
    bool m_mainListSeen = false;  // "traceEvents", which beats "events"
    bool m_entrySeen = false;
    bool m_inSystem = false;
    OutsideKey m_outsideKey = OutsideKey::other;
    bool m_inEvent = false;
    Part m_part = Part::plain;
    int m_partDepth = 0;       // depth inside of the arguments or of "id2"
    Field* m_field = nullptr;  // where the next plain value goes; null for keys of no interest
};

Field* EventReader::fieldOf(std::string_view key) {
    switch (key.size()) {
    case 2:
        if (key == "ph") return &m_event.phase;
        if (key == "ts") return &m_event.time;
        return key == "id" ? &m_event.id : nullptr;
    case 3:
        if (key == "pid") return &m_event.process;
        if (key == "tid") return &m_event.thread;
        if (key == "cat") return &m_event.category;
        return key == "dur" ? &m_event.duration : nullptr;
    case 4: return key == "name" ? &m_event.name : nullptr;
    case 5: return key == "scope" ? &m_event.scope : nullptr;
    default: return nullptr;
    }
}

void EventReader::keyInEvent(std::string_view key) {
    m_entrySeen = true;
    if (m_depth == m_listDepth + 1) {
        m_field = fieldOf(key);
        m_part = key == "args" ? Part::args : key == "id2" ? Part::id2 : Part::plain;
        // Of a key that comes again the last value counts, of whatever kind.
        if (m_part == Part::args) m_event.args.clear();
        if (m_part == Part::id2) m_event.hasId2 = false;
    } else if (m_part == Part::id2 && m_depth == m_listDepth + 2) {
        m_field = key == "local" ? &m_event.localId : key == "global" ? &m_event.globalId : nullptr;
    } else {
        m_field = nullptr;
    }
}

void EventReader::keyOutside(std::string_view key) {
    if (m_inSystem && m_depth == 2) {
        m_outsideKey = key == "events" ? OutsideKey::system : OutsideKey::other;
    } else if (m_depth == 1) {
        m_outsideKey = key == "traceEvents"         ? OutsideKey::traceEvents
                       : key == "events"            ? OutsideKey::events
                       : key == "systemTraceEvents" ? OutsideKey::system
                                                    : OutsideKey::other;
    }
}

bool EventReader::word(std::string_view text) {
    if (Field* field = target()) {
        if (text.empty()) {
            field->clear();
        } else {
            field->setWord(text);
        }
    }
    return scalarDone();
}

bool EventReader::scalarDone() {
    if (m_inEvent) return true;
    m_stream.mark();
    if (m_listDepth && m_depth == m_listDepth && !m_inSystem) otherEntry();
    return true;
}

void EventReader::otherEntry() {
    m_entrySeen = true;
    m_sink.onOtherEntry();
}

bool EventReader::open(char bracket) {
    if (m_inEvent) {
        openInEvent(bracket);
    } else {
        openOutside(bracket);
    }
    return ++m_depth <= kMaxDepth;
}

void EventReader::openInEvent(char bracket) {
    if (m_depth != m_listDepth + 1) {
        m_field = nullptr;
        return;
    }
    // A key whose plain value comes as a bracket has no value.
    if (m_field) m_field->clear();
    m_field = nullptr;
    m_partDepth = m_depth + 1;
    if (m_part == Part::args) m_stream.beginCapture(m_event.args, bracket);
    if (m_part == Part::id2) {
        m_event.hasId2 = bracket == '{';
        m_event.localId.clear();
        m_event.globalId.clear();
    }
}

void EventReader::openOutside(char bracket) {
    m_stream.mark();
    if (m_listDepth && m_depth == m_listDepth) {
        m_inEvent = bracket == '{';
        m_stream.shortenTexts(!m_inEvent);
        m_event.clear();
        m_event.system = m_inSystem;
        m_field = nullptr;
        m_part = Part::plain;
        if (!m_inEvent && !m_inSystem) otherEntry();
        return;
    }
    if (m_listDepth) return;
    if (m_depth == 0) m_rootIsObject = bracket == '{';
    if (startsList(bracket)) {
        m_listDepth = m_depth + 1;
        if (m_inSystem) return;
        if (m_listSeen) m_sink.onRestart();
        m_listSeen = true;
        m_mainListSeen = m_mainListSeen || m_outsideKey == OutsideKey::traceEvents;
    } else if (m_depth == 1) {
        m_inSystem = bracket == '{' && m_outsideKey == OutsideKey::system;
    }
}

bool EventReader::startsList(char bracket) const {
    if (bracket != '[') return false;
    if (m_depth == 0) return true;
    if (m_inSystem) return m_depth == 2 && m_outsideKey == OutsideKey::system;
    if (m_depth != 1 || !m_rootIsObject) return false;
    return m_outsideKey == OutsideKey::traceEvents ||
           (m_outsideKey == OutsideKey::events && !m_mainListSeen);
}

bool EventReader::close() {
    --m_depth;
    if (m_inEvent) {
        if (m_depth == m_listDepth) return finishEvent();
        if (m_depth == m_listDepth + 1) {
            if (m_part == Part::args) m_stream.endCapture();
            m_part = Part::plain;
            m_field = nullptr;
        }
        return true;
    }
    m_stream.mark();
    if (m_listDepth && m_depth < m_listDepth) m_listDepth = 0;
    if (m_depth == 1 && !m_listDepth) m_inSystem = false;
    return true;
}

bool EventReader::finishEvent() {
    m_entrySeen = true;
    m_inEvent = false;
    m_stream.shortenTexts(true);
    m_stream.mark();
    return m_sink.onEvent(m_event);
}

// An array that breaks off is a cut trace if the text ends there, or if it has begun with an entry;
// else it is a bracket in some other text.
bool isCutTrace(const JsonStream& stream, const EventReader& events) {
    return events.listSeen() && (events.entrySeen() || stream.Peek() == '\0');
}

TokenizerResult describeEnd(const rapidjson::ParseResult& parsed,
                            const JsonStream& stream,
                            const EventReader& events) {
    using End = TokenizerResult::End;
    TokenizerResult result;
    result.byte = parsed.IsError() ? parsed.Offset() : stream.Tell();
    result.insideEvent = events.insideEvent();
    if (!parsed.IsError()) {
        result.end = events.listSeen() ? End::complete : End::noTrace;
        result.reason = "it has no array of events";
        return result;
    }
    result.reason = rapidjson::GetParseError_En(parsed.Code());
    if (!result.reason.empty() && result.reason.back() == '.') result.reason.pop_back();
    if (stream.tooLong()) {
        result.end = End::tooLong;
    } else if (events.tooDeep()) {
        result.end = End::tooDeep;
    } else if (parsed.Code() == rapidjson::kParseErrorTermination) {
        result.end = End::stopped;
    } else {
        result.end = isCutTrace(stream, events) ? End::cut : End::noTrace;
    }
    return result;
}

// True if there is more than blanks behind the text that was read.
bool findRest(JsonStream& stream) {
    while (stream.Peek() == ' ') {
        stream.Take();
        stream.mark();
    }
    return stream.Peek() != '\0';
}

}  // namespace

TokenizerResult tokenize(ByteSource& source,
                         EventSink& sink,
                         const std::function<bool()>& beforeRead) {
    bool stopped = false;
    JsonStream stream(source, [&] {
        stopped = stopped || !beforeRead();
        return !stopped;
    });
    EventReader events(stream, sink);
    rapidjson::Reader reader;
    const rapidjson::ParseResult parsed = reader.Parse<kReaderFlags>(stream, events);
    const bool followed = !parsed.IsError() && findRest(stream);
    TokenizerResult result = describeEnd(parsed, stream, events);
    result.followed = followed;
    if (followed && !events.entrySeen() && result.end == TokenizerResult::End::complete) {
        result.end = TokenizerResult::End::noTrace;
        result.reason = "an empty array with other text behind it";
    }
    if (stopped) result.end = TokenizerResult::End::stopped;
    return result;
}

bool beginsLikeTrace(std::string_view head) {
    if (head.substr(0, 3) == "\xef\xbb\xbf") head.remove_prefix(3);
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = head.find_first_not_of(kBlanks);
    if (first == std::string_view::npos || (head[first] != '[' && head[first] != '{')) return false;
    const std::size_t next = head.find_first_not_of(kBlanks, first + 1);
    if (next == std::string_view::npos) return true;
    // What may follow in JSON, and no section of a settings file, log or name of a task.
    const std::string_view may = head[first] == '{' ? "\"}" : "{]\"[-0123456789tfnNI";
    if (may.find(head[next]) == std::string_view::npos) return false;
    // The number of a core, "[001]", is none of JSON.
    return head[next] != '0' || next + 1 == head.size() || head[next + 1] < '0' ||
           head[next + 1] > '9';
}

}  // namespace lanefeed_importers
