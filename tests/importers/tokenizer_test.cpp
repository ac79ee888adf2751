// What the tokenizer finds in all the shapes a trace may have, whole and cut.
#include "trace_event_json/tokenizer.h"

#include "common/byte_source.h"
#include "import_fixture.h"
#include "trace_event_json/json_stream.h"

namespace lanefeed_importers {
namespace {

using End = TokenizerResult::End;

// Remembers the names of the events and the arguments of the last one.
class Names : public EventSink {
public:
    bool onEvent(const TraceEvent& event) override {
        names += std::string(event.system ? "~" : "") + std::string(event.name.text()) + " ";
        args = event.args;
        return true;
    }
    void onOtherEntry() override { names += "? "; }
    void onRestart() override { names += "| "; }

    std::string names;
    std::string args;
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

TEST_F(TokenizerTest, onlyTextsThatBelongToNoEventMayHaveAnyLength) {
    // With ends of texts that are none, wherever pieces end.
    const std::string part = std::string(7993, 'x') + R"(\"[{\\ y)";
    std::string text;
    while (text.size() < JsonStream::kMaxUnmarked + 1024 * 1024)
        text += part;
    EXPECT_EQ(read(R"([{"name":"a"},")" + text + R"(\\",{"name":"b"}])"), "a ? b ");
    EXPECT_EQ(m_end.end, End::complete);
    EXPECT_EQ(read(R"([{"name":"a"},{"args":{"k":")" + text + R"("}},{"name":"b"}])"), "a ");
    EXPECT_EQ(m_end.end, End::tooLong);
}

TEST_F(TokenizerTest, readsOnAndReplacesHalvesOfPairsWhereverPiecesEnd) {
    const std::string names =
        R"({"name":"\ud83d\ude00"},{"name":"x\ud83d"},{"name":"\ude00y\ud83d\ud83D\uDE00"},)"
        R"({"name":"\\ud83d"},{"name":"\ud83d\n"},{"args":{"k":[1,"]"]},"name":"\u00e4"}])";
    const std::string expected =
        "\xF0\x9F\x98\x80 x\xEF\xBF\xBD \xEF\xBF\xBDy\xEF\xBF\xBD\xF0\x9F\x98\x80 \\ud83d "
        "\xEF\xBF\xBD\n \xC3\xA4 ";
    constexpr std::size_t kPiece = 256 * 1024;
    for (std::size_t blanks = kPiece - 90; blanks < kPiece; ++blanks)
        EXPECT_EQ(read("[" + std::string(blanks, ' ') + names) + m_sink.args,
                  expected + R"({"k":[1,"]"]})")
            << blanks;
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

}  // namespace
}  // namespace lanefeed_importers
