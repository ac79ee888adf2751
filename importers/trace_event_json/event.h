#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace lanefeed_importers {

// A plain value of an event: a text or a number as it was written.
class Field {
public:
    bool present() const { return m_kind != Kind::absent; }
    // Fit to be read as a number: a number, or a text that may hold one.
    bool maybeNumber() const { return m_kind == Kind::number || m_kind == Kind::text; }
    std::string_view text() const { return m_text; }
    // As part of a key: texts and numbers of the same letters are the same, none is "-".
    std::string_view key() const { return present() ? std::string_view(m_text) : "-"; }

    void clear() {
        m_kind = Kind::absent;
        m_text.clear();
    }
    void setText(const char* text, std::size_t length) { set(Kind::text, text, length); }
    void setNumber(const char* text, std::size_t length) { set(Kind::number, text, length); }
    void setWord(std::string_view word) { set(Kind::word, word.data(), word.size()); }

private:
    enum class Kind { absent, text, number, word };

    void set(Kind kind, const char* text, std::size_t length) {
        m_kind = kind;
        m_text.assign(text, length);
    }

    Kind m_kind = Kind::absent;
    std::string m_text;
};

// One entry of an event array. Of equal keys the last one counts. Kept from event to event, for
// the room of its texts.
struct TraceEvent {
    Field phase;
    Field name;
    Field category;
    Field time;
    Field duration;
    Field process;
    Field thread;
    Field id;
    Field localId;   // of "id2"
    Field globalId;  // of "id2"
    bool hasId2 = false;
    Field scope;
    std::string args;     // JSON text; empty for none
    bool system = false;  // of the list in "systemTraceEvents"

    void clear() {
        for (Field* field : {&phase, &name, &category, &time, &duration, &process, &thread, &id,
                             &localId, &globalId, &scope}) {
            field->clear();
        }
        hasId2 = false;
        args.clear();
        system = false;
    }
};

// Takes what a tokenizer finds.
class EventSink {
public:
    EventSink() = default;
    EventSink(const EventSink&) = delete;
    EventSink& operator=(const EventSink&) = delete;
    virtual ~EventSink() = default;

    // False stops the tokenizer.
    virtual bool onEvent(const TraceEvent& event) = 0;
    // An entry of the array that is no object.
    virtual void onOtherEntry() = 0;
    // A better list of events begins: what came so far is void.
    virtual void onRestart() = 0;
};

}  // namespace lanefeed_importers
