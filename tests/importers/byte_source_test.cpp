// Files as they come: plain, packed whatever their name, in members, damaged.
#include "common/byte_source.h"

#include "import_fixture.h"

#include <sys/stat.h>
#include <thread>

namespace lanefeed_importers {
namespace {

class ByteSourceTest : public ImportTest {
protected:
    static std::string someText() {
        std::string text;
        for (int i = 0; i < 100000; ++i)
            text += std::to_string(i * 7919) + ",";
        return text;
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
    void expectError(const std::string& file, ImportError::Kind kind, const std::string& part) {
        readAll(file);
        EXPECT_EQ(m_error.kind, kind);
        EXPECT_NE(m_error.text.find(part), std::string::npos) << m_error.text;
    }

    const std::string m_text = someText();
    std::unique_ptr<ByteSource> m_source;
    ImportError m_error;
};

TEST_F(ByteSourceTest, unpacksByContentAndMemberAfterMember) {
    EXPECT_EQ(readAll(writeFile("plain.gz", m_text)), m_text);
    const std::string identity = m_source->identity();
    EXPECT_EQ(readAll(writeFile("packed.json", packed(m_text))), m_text);
    EXPECT_EQ(m_source->unpackedBytes(), m_text.size());
    EXPECT_EQ(m_source->fileBytesRead(), m_source->fileSize());
    // The head is given twice, once to look at.
    EXPECT_EQ(m_source->head(), m_text.substr(0, m_source->head().size()));
    const std::string zeros(2, '\0');
    EXPECT_EQ(readAll(writeFile("two.gz", packed(m_text) + zeros + packed("x") + zeros)),
              m_text + "x");
    EXPECT_FALSE(m_error.failed());
    EXPECT_FALSE(m_source->hasTail());
    for (const std::string& tail : {std::string("tail"), zeros + "tail", std::string("\x1f no")}) {
        EXPECT_EQ(readAll(writeFile("tail.gz", packed("a") + tail)), "a");
        EXPECT_TRUE(m_source->hasTail() && !m_error.failed());
    }
    // Identity follows the content and not the name.
    readAll(writeFile("b", m_text));
    EXPECT_EQ(m_source->identity(), identity);
    readAll(writeFile("b", m_text + "x"));
    EXPECT_NE(m_source->identity(), identity);
}

TEST_F(ByteSourceTest, givesWhatItCouldUnpackOfADamagedFile) {
    std::string whole = packed(m_text);
    const std::size_t half = whole.size() / 2;
    const std::string early = readAll(writeFile("early.gz", whole.substr(0, half)));
    EXPECT_GT(early.size(), m_text.size() / 4);
    EXPECT_EQ(early, m_text.substr(0, early.size()));
    EXPECT_TRUE(m_source->damagedArchive());
    EXPECT_EQ(m_error.kind, ImportError::Kind::notUnderstood);
    EXPECT_NE(m_error.text.find("early at byte " + std::to_string(half)), std::string::npos);
    whole[half] = static_cast<char>(~whole[half]);
    readAll(writeFile("flipped.gz", whole));
    EXPECT_TRUE(m_source->damagedArchive());
}

TEST_F(ByteSourceTest, readsAPipeWithoutIdentity) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    std::thread writer([&] { writeFile("pipe", m_text); });
    EXPECT_EQ(readAll(path("pipe")), m_text);
    writer.join();
    EXPECT_EQ(m_source->fileSize(), 0U);
    EXPECT_EQ(m_source->identity(), "");
}

TEST_F(ByteSourceTest, namesFileAndReasonOfWhatCannotBeRead) {
    expectError(path("missing"), ImportError::Kind::failed, path("missing") + ": No such file");
    expectError(path("."), ImportError::Kind::failed, "folder");
    expectError(writeFile("empty", ""), ImportError::Kind::notUnderstood, "empty");
}

}  // namespace
}  // namespace lanefeed_importers
