// Files as they come: plain, packed whatever their name, in members, damaged, through a pipe; and
// their lines, whatever pieces they come in.
#include "common/byte_source.h"

#include "common/line_reader.h"
#include "import_fixture.h"
#include "support/random_seed.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <random>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace lanefeed_importers {
namespace {

class ByteSourceTest : public ImportTest {
protected:
    ByteSourceTest() {
        for (int i = 0; i < 100000; ++i)
            m_text += std::to_string(i * 7919) + ",";
    }
    // All that can be read, in pieces of an odd size.
    std::string readAll(const std::string& file) {
        m_error = {};
        m_source = ByteSource::open(file, m_error);
        std::string all;
        if (!m_source) return all;
        char piece[777];
        while (const std::size_t got = m_source->read(piece, sizeof(piece)))
            all.append(piece, got);
        m_error = m_source->error();
        return all;
    }

    std::string m_text;
    std::unique_ptr<ByteSource> m_source;
    ImportError m_error;
};

TEST_F(ByteSourceTest, unpacksByContentAndMemberAfterMember) {
    EXPECT_EQ(readAll(writeFile("plain.gz", m_text)), m_text);
    EXPECT_EQ(readAll(writeFile("packed.json", packed(m_text))), m_text);
    EXPECT_EQ(m_source->unpackedBytes(), m_text.size());
    EXPECT_EQ(m_source->fileBytesRead(), m_source->fileSize());
    // The head is given twice, once to look at.
    EXPECT_EQ(m_source->head(), m_text.substr(0, m_source->head().size()));
    const std::string zeros(2, '\0');
    EXPECT_EQ(readAll(writeFile("two.gz", packed(m_text) + zeros + packed("x") + zeros)),
              m_text + "x");
    EXPECT_FALSE(m_error.failed() || m_source->hasTail());
    for (const std::string& tail : {std::string("tail"), zeros + "tail", std::string("\x1f no")}) {
        EXPECT_EQ(readAll(writeFile("tail.gz", packed("a") + tail)), "a");
        EXPECT_TRUE(m_source->hasTail() && !m_error.failed());
    }
}

TEST_F(ByteSourceTest, givesWhatItCouldUnpackOfADamagedFile) {
    std::string whole = packed(m_text);
    const std::size_t half = whole.size() / 2;
    const std::string early = readAll(writeFile("early.gz", whole.substr(0, half)));
    EXPECT_EQ(early, m_text.substr(0, std::max(early.size(), m_text.size() / 4)));
    EXPECT_TRUE(m_source->damagedArchive());
    EXPECT_NE(m_error.text.find("early at byte " + std::to_string(half)), std::string::npos);
    whole[half] = static_cast<char>(~whole[half]);
    readAll(writeFile("flipped.gz", whole));
    EXPECT_TRUE(m_source->damagedArchive());
}

TEST_F(ByteSourceTest, readsAPipeWithoutIdentity) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    const int kept = dup(STDIN_FILENO);
    std::thread writer([&] { writeFile("pipe", m_text); });
    const int pipe = open(path("pipe").c_str(), O_RDONLY);
    dup2(pipe, STDIN_FILENO);
    EXPECT_EQ(readAll("-"), m_text);
    writer.join();
    dup2(kept, STDIN_FILENO);
    close(kept);
    close(pipe);
    EXPECT_TRUE(m_source->fileSize() == 0 && m_source->identity().empty());
    EXPECT_EQ(m_source->path(), "standard input");
}

TEST_F(ByteSourceTest, namesFileAndReasonOfWhatCannotBeRead) {
    for (const auto& [file, reason] : {std::pair(path("missing"), ": No such file"),
                                       {path("."), ": this is a folder"},
                                       {writeFile("empty", ""), ": the file is empty"}}) {
        readAll(file);
        EXPECT_EQ(m_error.text.rfind(file + reason, 0), 0U) << m_error.text;
    }
}

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
