// Files as they come: plain, packed whatever their name, in members, damaged, through a pipe.
#include "common/byte_source.h"

#include "import_fixture.h"

#include <fcntl.h>
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
    EXPECT_GT(early.size(), m_text.size() / 4);
    EXPECT_EQ(early, m_text.substr(0, early.size()));
    EXPECT_TRUE(m_source->damagedArchive());
    EXPECT_NE(m_error.text.find("early at byte " + std::to_string(half)), std::string::npos);
    whole[half] = static_cast<char>(~whole[half]);
    readAll(writeFile("flipped.gz", whole));
    EXPECT_TRUE(m_source->damagedArchive());
}

TEST_F(ByteSourceTest, readsAPipeWithoutIdentity) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    const int kept = dup(STDIN_FILENO);
    for (const std::string& name : {path("pipe"), std::string("-")}) {
        std::thread writer([&] { writeFile("pipe", m_text); });
        const int input = name == "-" ? open(path("pipe").c_str(), O_RDONLY) : -1;
        dup2(input, STDIN_FILENO);
        EXPECT_EQ(readAll(name), m_text);
        writer.join();
        close(input);
        EXPECT_TRUE(m_source->fileSize() == 0 && m_source->identity().empty());
    }
    EXPECT_EQ(m_source->path(), "standard input");
    dup2(kept, STDIN_FILENO);
    close(kept);
}

TEST_F(ByteSourceTest, namesFileAndReasonOfWhatCannotBeRead) {
    for (const auto& [file, reason] : {std::pair(path("missing"), ": No such file"),
                                       {path("."), ": this is a folder"},
                                       {writeFile("empty", ""), ": the file is empty"}}) {
        readAll(file);
        EXPECT_EQ(m_error.text.rfind(file + reason, 0), 0U) << m_error.text;
    }
}

}  // namespace
}  // namespace lanefeed_importers
