#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace lanefeed_importers {

class ByteSource;

// One line of a text, without what ends it: "\n" or "\r\n".
struct TextLine {
    std::string_view text;     // valid until the next line is asked for
    std::uint64_t number = 0;  // from 1
    std::uint64_t byte = 0;    // of its begin in the unpacked text
    bool cut = false;          // longer than LineReader::kMaxLine; `text` is its begin
    bool ended = true;         // false for a last line that nothing ends
};

// The lines of a source, in one buffer of fixed size: a line without end takes no more memory than
// any other. A byte order mark is dropped. One thread.
class LineReader {
public:
    static constexpr std::size_t kMaxLine = std::size_t{64} << 10;

    // `beforeRead` is called before each piece; its false ends the text.
    LineReader(ByteSource& source, std::function<bool()> beforeRead);

    // False at the end of the text and after a failure, which is found at the source.
    bool next(TextLine& line);

    // `beforeRead` ended the text.
    bool stopped() const { return m_stopped; }
    std::uint64_t cutLines() const { return m_cutLines; }

private:
    bool fill();
    bool skipRest();
    void handOut(TextLine& line, std::size_t length);

    ByteSource& m_source;
    std::function<bool()> m_beforeRead;
    std::vector<char> m_buffer;
    std::size_t m_at = 0;        // next byte of the buffer
    std::size_t m_end = 0;       // behind the last one
    std::uint64_t m_offset = 0;  // of the buffer in the text
    std::uint64_t m_lines = 0;
    std::uint64_t m_cutLines = 0;
    bool m_inCutLine = false;
    bool m_ended = false;
    bool m_stopped = false;
};

}  // namespace lanefeed_importers
