// Files as they come: plain, packed whatever their name, in members, damaged.
#include "common/byte_source.h"

#include "import_fixture.h"

#include <sys/stat.h>
#include <thread>

namespace lanefeed_importers {
namespace {

class ByteSourceTest : public ImportTest {
protected:
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
    static std::string someText() {
        std::string text;
        for (int i = 0; i < 100000; ++i)
            text += std::to_string(i * 7919) + ",";
        return text;
    }

    std::unique_ptr<ByteSource> m_source;
    ImportError m_error;
};

TEST_F(ByteSourceTest, unpacksByContentAndMemberAfterMember) {
    const std::string text = someText();
    EXPECT_EQ(readAll(writeFile("plain.gz", text)), text);
    EXPECT_EQ(readAll(writeFile("packed.json", packed(text))), text);
    EXPECT_EQ(m_source->unpackedBytes(), text.size());
    EXPECT_EQ(m_source->fileBytesRead(), m_source->fileSize());
    EXPECT_EQ(readAll(writeFile("two.gz", packed(text) + packed("tail") + std::string(2, '\0'))),
              text + "tail");
    EXPECT_FALSE(m_error.failed());
    EXPECT_FALSE(m_source->hasTail());
    EXPECT_EQ(readAll(writeFile("tail.gz", packed("a") + "tail")), "a");
    EXPECT_TRUE(m_source->hasTail());
    readAll(path("packed.json"));
    // The head is given twice, once to look at.
    EXPECT_EQ(m_source->head(), text.substr(0, m_source->head().size()));
}

TEST_F(ByteSourceTest, givesWhatItCouldUnpackOfADamagedFile) {
    const std::string text = someText();
    const std::string whole = packed(text);
    const std::string early = readAll(writeFile("early.gz", whole.substr(0, whole.size() / 2)));
    EXPECT_GT(early.size(), text.size() / 4);
    EXPECT_EQ(early, text.substr(0, early.size()));
    EXPECT_TRUE(m_source->damagedArchive());
    EXPECT_EQ(m_error.kind, ImportError::Kind::notUnderstood);
    EXPECT_NE(m_error.text.find(std::to_string(whole.size() / 2)), std::string::npos);
    std::string flipped = whole;
    flipped[whole.size() / 2] = static_cast<char>(~flipped[whole.size() / 2]);
    readAll(writeFile("flipped.gz", flipped));
    EXPECT_TRUE(m_source->damagedArchive());
}

TEST_F(ByteSourceTest, identityFollowsTheContentAndNotTheName) {
    readAll(writeFile("a", someText()));
    const std::string first = m_source->identity();
    readAll(writeFile("b", someText()));
    EXPECT_EQ(m_source->identity(), first);
    readAll(writeFile("b", someText() + "x"));
    EXPECT_NE(m_source->identity(), first);
}

TEST_F(ByteSourceTest, readsAPipeWithoutIdentity) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    const std::string text = someText();
    std::thread writer([&] { writeFile("pipe", text); });
    EXPECT_EQ(readAll(path("pipe")), text);
    writer.join();
    EXPECT_EQ(m_source->fileSize(), 0U);
    EXPECT_EQ(m_source->identity(), "");
}

TEST_F(ByteSourceTest, namesFileAndReasonOfWhatCannotBeRead) {
    EXPECT_EQ(readAll(path("missing")), "");
    EXPECT_EQ(m_error.kind, ImportError::Kind::failed);
    EXPECT_NE(m_error.text.find(path("missing") + ": No such file"), std::string::npos);
    readAll(path("."));
    EXPECT_EQ(m_error.kind, ImportError::Kind::failed);
    EXPECT_NE(m_error.text.find("folder"), std::string::npos);
    readAll(writeFile("empty", ""));
    EXPECT_EQ(m_error.kind, ImportError::Kind::notUnderstood);
    EXPECT_NE(m_error.text.find("empty"), std::string::npos);
}

}  // namespace
}  // namespace lanefeed_importers
