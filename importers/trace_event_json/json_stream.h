#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace lanefeed_importers {

class ByteSource;

// The text of a source as the input stream of a RapidJSON reader, in one buffer of fixed size.
// Control characters become blanks: they are harmless between values, and some tracers write them
// into strings as they are. Half a surrogate pair, which is what is left of a character when a
// tracer cuts a text, becomes U+FFFD.
class JsonStream {
public:
    using Ch = char;
    // Nothing between two marks, such as an event, may be longer.
    static constexpr std::uint64_t kMaxUnmarked = std::uint64_t{64} << 20;

    // `beforeRead` is called before each piece; its false ends the text.
    JsonStream(ByteSource& source, std::function<bool()> beforeRead);

    // The reader calls these by their names. NOLINTBEGIN(readability-identifier-naming)
    Ch Peek() const { return *m_at; }  // '\0' at the end
    Ch Take() {
        const Ch taken = *m_at;
        if (++m_at == m_end) refill();
        return taken;
    }
    std::size_t Tell() const { return m_offset + static_cast<std::size_t>(m_at - m_buffer.data()); }

    // NOLINTEND(readability-identifier-naming)

    // Where the last thing of limited length began; never inside of a text.
    void mark() { m_mark = Tell(); }
    bool tooLong() const { return m_tooLong; }
    // While it is on, of a long text only the begin is handed out, so that it takes no memory and
    // may have any length.
    void shortenTexts(bool on) { m_shortens = on; }

    // Collects the text from here on into `into`, which is emptied and starts with `first`, the
    // character that was taken last.
    void beginCapture(std::string& into, char first);
    void endCapture();

    // The reader asks for these of any stream, but uses them when it parses in place only.
    // NOLINTBEGIN(readability-identifier-naming)
    Ch* PutBegin() { return nullptr; }
    void Put(Ch) {}
    void Flush() {}
    std::size_t PutEnd(Ch*) { return 0; }
    // NOLINTEND(readability-identifier-naming)

private:
    void refill();
    void followText(std::size_t used);
    std::size_t textEnd(std::size_t size) const;
    std::size_t skipText(std::size_t got);
    std::size_t readPiece();
    void skipByteOrderMark();

    ByteSource& m_source;
    std::function<bool()> m_beforeRead;
    std::vector<char> m_buffer;
    const char* m_at;
    const char* m_end;
    std::string m_held;        // behind the piece: an escape whose rest is still to come
    std::size_t m_offset = 0;  // of the buffer in the text
    std::size_t m_mark = 0;
    bool m_tooLong = false;
    bool m_shortens = true;
    bool m_inText = false;  // at the end of the piece before
    bool m_ended = false;
    std::string* m_capture = nullptr;
    const char* m_captureFrom = nullptr;
};

}  // namespace lanefeed_importers
