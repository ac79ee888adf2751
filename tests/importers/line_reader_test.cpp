// Lines of any length and ending, whatever pieces they come in.
#include "common/line_reader.h"

#include "common/byte_source.h"
#include "import_fixture.h"
#include "support/random_seed.h"

#include <fmt/format.h>
#include <random>

namespace lanefeed_importers {
namespace {

std::string shown(std::size_t number, std::size_t byte, std::string_view text) {
    return fmt::format("{}@{}:{}", number, byte,
                       text.size() < 100 ? std::string(text) : fmt::format("<{}>", text.size()));
}

class LineReaderTest : public ImportTest {
protected:
    // "number@byte:text " each, with "+" behind a text that was cut and "." behind one without an
    // end. "!" if the reader was stopped.
    std::string linesOf(std::string_view content, int pieces = 1000) {
        ImportError error;
        const auto source = ByteSource::open(writeFile("text", content), error);
        LineReader reader(*source, [&] { return pieces-- > 0; });
        std::string lines;
        for (TextLine line; reader.next(line);) {
            lines += shown(line.number, line.byte, line.text) + (line.cut ? "+" : "") +
                     (line.ended ? " " : ". ");
        }
        return lines + (reader.stopped() ? "!" : "");
    }
};

TEST_F(LineReaderTest, endsLinesAtLineFeedsAndTheEnd) {
    EXPECT_EQ(linesOf("\xEF\xBB\xBFg\n\nb\r\nc\rd"), "1@3:g 2@5: 3@6:b 4@9:c\rd. ");
    const std::size_t most = LineReader::kMaxLine;
    EXPECT_EQ(linesOf(std::string(most, 'x') + "\n"), fmt::format("1@0:<{}> ", most));
    for (const std::size_t length : {most + 1, 40 * most}) {
        const std::string text = "a\n" + std::string(length, 'x') + "\nb\n";
        const std::string cut = fmt::format("1@0:a 2@2:<{}>+ ", most);
        EXPECT_EQ(linesOf(text), cut + fmt::format("3@{}:b ", 3 + length));
        EXPECT_EQ(linesOf(text.substr(0, 2 + length)), cut);
    }
    std::mt19937_64 random(lanefeed_test::randomSeed());
    std::string text;
    std::string expected;
    for (std::size_t number = 1; text.size() < 3'000'000; ++number) {
        const std::string word(random() % 5 ? random() % 90 : random() % 60'000, 'y');
        expected += shown(number, text.size(), word) + " ";
        text += word + (random() % 2 ? "\n" : "\r\n");
    }
    EXPECT_EQ(linesOf(text), expected);
    EXPECT_EQ(linesOf(text, 2).back(), '!');
}

}  // namespace
}  // namespace lanefeed_importers
