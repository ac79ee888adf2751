// Lines of any length and ending out of plain and packed files.
#include "common/line_reader.h"

#include "common/byte_source.h"
#include "import_fixture.h"
#include "support/random_seed.h"

#include <fmt/format.h>
#include <random>

namespace lanefeed_importers {
namespace {

class LineReaderTest : public ImportTest {
protected:
    // "number@byte:text", with "+" behind a text that was cut and "." behind one without an end.
    std::vector<std::string> linesOf(std::string_view content, int pieces = 1000) {
        ImportError error;
        const auto source = ByteSource::open(writeFile("text", content), error);
        if (!source) return {error.text};
        LineReader reader(*source, [&] { return pieces-- > 0; });
        std::vector<std::string> lines;
        TextLine line;
        while (reader.next(line)) {
            const std::string text = line.text.size() < 100 ? std::string(line.text)
                                                            : fmt::format("<{}>", line.text.size());
            lines.push_back(fmt::format("{}@{}:{}{}{}", line.number, line.byte, text,
                                        line.cut ? "+" : "", line.ended ? "" : "."));
        }
        m_stopped = reader.stopped();
        m_cut = reader.cutLines();
        return lines;
    }

    bool m_stopped = false;
    std::uint64_t m_cut = 0;
};

using Lines = std::vector<std::string>;

TEST_F(LineReaderTest, endsLinesAtLineFeedsAndTheEnd) {
    EXPECT_EQ(linesOf("a\n\nb\r\nc\rd\n"), (Lines{"1@0:a", "2@2:", "3@3:b", "4@6:c\rd"}));
    EXPECT_EQ(linesOf("\xEF\xBB\xBF"
                      "a\nb"),
              (Lines{"1@3:a", "2@5:b."}));
    EXPECT_EQ(linesOf(packed("a\nb\n")), (Lines{"1@0:a", "2@2:b"}));
    EXPECT_EQ(linesOf(std::string_view("a\0b\n", 4)), (Lines{"1@0:" + std::string("a\0b", 3)}));
}

TEST_F(LineReaderTest, cutsLinesThatDoNotFit) {
    const std::size_t most = LineReader::kMaxLine;
    for (const std::size_t length : {most + 1, 5 * most, 40 * most}) {
        const std::string text = "a\n" + std::string(length, 'x') + "\nb\n";
        EXPECT_EQ(linesOf(text), (Lines{"1@0:a", fmt::format("2@2:<{}>+", most),
                                        fmt::format("3@{}:b", 3 + length)}));
        EXPECT_EQ(m_cut, 1U);
        EXPECT_EQ(linesOf(text.substr(0, 2 + length)).back(), fmt::format("2@2:<{}>+", most));
    }
    EXPECT_EQ(linesOf(std::string(most, 'x') + "\n"), (Lines{fmt::format("1@0:<{}>", most)}));
}

TEST_F(LineReaderTest, joinsPiecesWhereverTheyPart) {
    std::mt19937_64 random(lanefeed_test::randomSeed());
    std::string text;
    Lines expected;
    while (text.size() < 3'000'000) {
        const std::string word(random() % 5 ? random() % 90 : random() % 60'000, 'y');
        expected.push_back(
            fmt::format("{}@{}:{}", expected.size() + 1, text.size(),
                        word.size() < 100 ? word : fmt::format("<{}>", word.size())));
        text += word + (random() % 2 && word.size() != 99 ? "\n" : "\r\n");
    }
    EXPECT_EQ(linesOf(text), expected);
    EXPECT_LT(linesOf(text, 2).size(), expected.size());
    EXPECT_TRUE(m_stopped);
}

}  // namespace
}  // namespace lanefeed_importers
