// What the tokenizer finds in all the shapes a trace may have, whole and cut.
#include "trace_event_json/tokenizer.h"

#include "common/byte_source.h"
#include "import_fixture.h"
#include "trace_event_json/json_stream.h"

#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

using End = TokenizerResult::End;

// Remembers the names of the events and the last event itself.
class Names : public EventSink {
public:
    bool onEvent(const TraceEvent& event) override {
        names += std::string(event.system ? "~" : "") + std::string(event.name.text()) + " ";
        last = event;
        return true;
    }
    void onOtherEntry() override { names += "? "; }
    void onRestart() override { names += "| "; }

    std::string names;
    TraceEvent last;
};

class TokenizerTest : public ImportTest {
protected:
    // The names found.
    std::string read(std::string_view text, int pieces = 1 << 20) {
        ImportError error;
        const auto source = ByteSource::open(writeFile("text", text), error);
        m_sink.names.clear();
        m_end = tokenize(*source, m_sink, [&] { return --pieces > 0; });
        return m_sink.names;
    }

    // name|ts|tid|pid|id|id2.local|cat|args
    std::string lastEvent() const {
        const TraceEvent& event = m_sink.last;
        return fmt::format("{}|{}|{}|{}|{}|{}|{}|{}", event.name.key(), event.time.key(),
                           event.thread.key(), event.process.key(), event.id.key(),
                           event.hasId2 ? event.localId.key() : "no id2", event.category.key(),
                           event.args);
    }

    Names m_sink;
    TokenizerResult m_end;
};

TEST_F(TokenizerTest, findsTheEventArrayInEveryForm) {
    const std::pair<std::string, const char*> cases[] = {
        {R"([{"name":"a"},{"name":"b"}])", "a b "},
        {"\xEF\xBB\xBF \n[{\"name\":\"a\"}] rest", "a "},
        {R"({"x":[{"name":"no"}],"traceEvents":[{"name":"a"}],"y":{"traceEvents":[1]}})", "a "},
        {R"({"events":[{"name":"a"}]})", "a "},
        {R"({"events":[{"name":"a"}],"traceEvents":[{"name":"b"}]})", "a | b "},
        {R"({"traceEvents":[{"name":"b"}],"events":[{"name":"a"}]})", "b "},
        {R"([{"name":"a"},3,null,"x",[{"name":"no"}],{"name":"b"},])", "a ? ? ? ? b "},
        {R"({"systemTraceEvents":{"type":"x","events":[{"name":"p"}]},"traceEvents":[]})", "~p "},
        // what other readers refuse
        {"[{\"name\":\"a\tb\x01\"},{\"ts\":NaN,\"args\":{\"v\":-Infinity,},\"name\":\"c\"},]",
         "a b  c "},
        {std::string("[{\"name\":\"a\0b\"}]", 16), "a b "},
    };
    for (const auto& [text, names] : cases) {
        EXPECT_EQ(read(text), names) << text;
        EXPECT_EQ(m_end.end, End::complete) << text;
    }
    for (const char* text : {"hello", "{}", R"({"traceEvents":{}})", R"({"profile":[{}]})"}) {
        read(text);
        EXPECT_EQ(m_end.end, End::noTrace) << text;
    }
}

TEST_F(TokenizerTest, passesOverTextsOfAnyLengthThatBelongToNoEvent) {
    // With ends of texts that are none, wherever pieces end.
    const std::string part = std::string(7993, 'x') + R"(\"[{\\ y)";
    std::string text;
    while (text.size() < JsonStream::kMaxUnmarked + 1024 * 1024)
        text += part;
    const std::string event = R"({"name":"a"})";
    EXPECT_EQ(read("[" + event + ",\"" + text + R"(\\",)" + event + "]"), "a ? a ");
    EXPECT_EQ(m_end.end, End::complete);
    EXPECT_EQ(read("{\"traceEvents\":[" + event + "],\"stack\":\"" + text), "a ");
    EXPECT_EQ(m_end.end, End::cut);
    // An event has to end somewhere.
    EXPECT_EQ(read("[" + event + ",{\"args\":{\"k\":\"" + text + "\"}}," + event + "]"), "a ");
    EXPECT_EQ(m_end.end, End::tooLong);
}

TEST_F(TokenizerTest, readsTheFieldsOfAnEventAndNothingFromBelow) {
    read(R"([{"args":{"name":"no","ts":1,"args":{"id":2}},"ts":12.5000,"tid":"main","pid":null,
              "id2":{"local":"0x1","x":{"local":3}},"name":"a","name":"b\u00e4\t","dur":true,
              "cat":["no"],"stack":[{"id":"no"}]}])");
    EXPECT_EQ(lastEvent(),
              "b\xC3\xA4\t|12.5000|main|-|-|0x1|-|{\"name\":\"no\",\"ts\":1,\"args\":{\"id\":2}}");
    // Of repeated keys the last one counts.
    read(R"([{"args":{"a":1},"name":"x","args":{"b":2},"name":"y","id2":{"local":1},"id2":7}])");
    EXPECT_EQ(lastEvent(), R"(y|-|-|-|-|no id2|-|{"b":2})");
    read(R"([{"args":{"a":1},"args":5}])");
    EXPECT_EQ(lastEvent(), "-|-|-|-|-|no id2|-|");
}

TEST_F(TokenizerTest, replacesHalvesOfSurrogatePairsWhereverThePiecesEnd) {
    const std::string names =
        R"({"name":"\ud83d\ude00"},{"name":"x\ud83d"},{"name":"\ude00y\ud83d\ud83D\uDE00"},)"
        R"({"name":"\\ud83d"},{"name":"\ud83d\n"},{"name":"\u00e4"}])";
    const std::string expected =
        "\xF0\x9F\x98\x80 x\xEF\xBF\xBD \xEF\xBF\xBDy\xEF\xBF\xBD\xF0\x9F\x98\x80 \\ud83d "
        "\xEF\xBF\xBD\n \xC3\xA4 ";
    constexpr std::size_t kPiece = 256 * 1024;
    for (std::size_t blanks = kPiece - 90; blanks < kPiece; ++blanks)
        EXPECT_EQ(read("[" + std::string(blanks, ' ') + names), expected) << blanks;
    EXPECT_EQ(m_end.end, End::complete);
}

// Wherever the text ends: the complete events are there, and the end is told.
TEST_F(TokenizerTest, keepsCompleteEventsOfATextCutAnywhere) {
    const std::string text =
        R"({"a":{"b":[1]},"traceEvents":[{"name":"x","args":{"k":[1,"]"]}}, {"name":"y\ud83d\ude00","ts":1.5}],"z":"\u00e4"})";
    const std::size_t list = text.find("[{") + 1;
    const std::size_t first = text.find("}}, ") + 2;
    const std::size_t second = text.find("1.5}") + 4;
    for (std::size_t length = 1; length < text.size(); ++length) {
        const std::string found = read(text.substr(0, length));
        const char* const more = length < second ? "x " : "x y\xF0\x9F\x98\x80 ";
        EXPECT_EQ(found, length < first ? "" : more) << length;
        EXPECT_EQ(m_end.end, length < list ? End::noTrace : End::cut) << length;
        const bool inside =
            (length > list && length < first) || (length > first + 2 && length < second);
        EXPECT_EQ(m_end.insideEvent, inside) << length;
        EXPECT_LE(m_end.byte, length);
    }
}

TEST_F(TokenizerTest, readsAcrossPiecesAndStopsBetweenThem) {
    const std::string args = "{\"text\":\"" + std::string(600'000, 'x') + "\"}";
    const std::string text = R"([{"name":"first"},{"args":)" + args + R"(,"name":"last"}])";
    EXPECT_EQ(read(text), "first last ");
    EXPECT_EQ(m_sink.last.args, args);
    EXPECT_EQ(read(text, 2), "first ");
    EXPECT_EQ(m_end.end, End::stopped);
}

}  // namespace
}  // namespace lanefeed_importers
