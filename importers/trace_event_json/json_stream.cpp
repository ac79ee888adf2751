// Hands the reader one piece of the source after the other. The end of a piece is where everything
// is watched that need not be watched for each character: the length of an event, cancellation,
// progress. Tested by tests/importers/tokenizer_test.cpp.
#include "trace_event_json/json_stream.h"

#include "common/byte_source.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <utility>

namespace lanefeed_importers {
namespace {

constexpr std::size_t kPieceSize = 256 * 1024;
constexpr std::size_t kEscapeSize = 6;  // \uXXXX
// What may be shortened is at least so long.
constexpr std::size_t kLongText = 1024 * 1024;

void blankControls(char* text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        text[i] = static_cast<unsigned char>(text[i]) < 0x20 ? ' ' : text[i];
    }
}

enum class Half { none, first, second };

// Which half of a surrogate pair "\uXXXX" stands for.
Half halfAt(const char* escape) {
    const auto isHex = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
    if (escape[1] != 'u' || (escape[2] != 'd' && escape[2] != 'D')) return Half::none;
    if (!isHex(escape[3]) || !isHex(escape[4]) || !isHex(escape[5])) return Half::none;
    if (escape[3] < '8') return Half::none;
    return std::strchr("89abAB", escape[3]) != nullptr ? Half::first : Half::second;
}

// Replaces halves that stand alone. Gives how much of the text is settled: unless it is the last,
// an escape near its end may go on in what follows.
std::size_t mendPairs(char* text, std::size_t length, bool isLast) {
    char* const end = text + length;
    for (char* at = text;;) {
        at = static_cast<char*>(std::memchr(at, '\\', static_cast<std::size_t>(end - at)));
        if (at == nullptr) return length;
        const auto left = static_cast<std::size_t>(end - at);
        if (left < 2 * kEscapeSize && !isLast) return length - left;
        if (left < kEscapeSize) return length;
        const Half half = halfAt(at);
        const bool isPair = half == Half::first && left >= 2 * kEscapeSize &&
                            at[kEscapeSize] == '\\' && halfAt(at + kEscapeSize) == Half::second;
        if (half != Half::none && !isPair) std::copy_n("fffd", 4, at + 2);
        at += isPair ? 2 * kEscapeSize : 2;
    }
}

}  // namespace

JsonStream::JsonStream(ByteSource& source, std::function<bool()> beforeRead)
    : m_source(source),
      m_beforeRead(std::move(beforeRead)),
      m_buffer(kPieceSize + 2 * kEscapeSize + 1) {
    m_at = m_buffer.data();
    m_end = m_at;
    refill();
    skipByteOrderMark();
}

void JsonStream::skipByteOrderMark() {
    constexpr char kMark[] = "\xef\xbb\xbf";
    constexpr std::size_t kLength = sizeof(kMark) - 1;
    if (static_cast<std::size_t>(m_end - m_at) > kLength &&
        std::memcmp(m_at, kMark, kLength) == 0) {
        m_at += kLength;
    }
}

void JsonStream::refill() {
    const std::size_t used = static_cast<std::size_t>(m_end - m_buffer.data());
    if (m_capture) m_capture->append(m_captureFrom, m_end);
    followText(used);
    m_offset += used;
    if (m_offset - m_mark > kMaxUnmarked) m_tooLong = true;
    const bool go = !m_tooLong && !m_ended && m_beforeRead();
    std::size_t got = go ? readPiece() : 0;
    std::size_t from = 0;
    if (m_shortens && m_inText && m_offset - m_mark > kLongText) {
        got = skipText(got);
        from = textEnd(got);
    }
    if (got == 0) m_ended = true;
    m_buffer[got] = '\0';
    m_at = m_buffer.data() + from;
    m_end = m_buffer.data() + got;
    // At the end the reader may take the closing zero again and again.
    if (got == 0) m_end = nullptr;
    m_captureFrom = m_at;
}

// Whether a text is open at the end of what was used up. Escapes are never cut by pieces.
void JsonStream::followText(std::size_t used) {
    std::size_t at = 0;
    if (m_mark >= m_offset) {
        at = std::min(m_mark - m_offset, used);
        m_inText = false;
    }
    for (; at < used; ++at) {
        if (m_buffer[at] == '\\')
            ++at;
        else if (m_buffer[at] == '"')
            m_inText = !m_inText;
    }
}

// Place of the quote that ends an open text, the size of the piece when it goes on.
std::size_t JsonStream::textEnd(std::size_t size) const {
    std::size_t at = 0;
    while (at < size && m_buffer[at] != '"')
        at += m_buffer[at] == '\\' ? 2 : 1;
    return std::min(at, size);
}

// Passes over pieces up to the one in which the open text ends, and gives its size.
std::size_t JsonStream::skipText(std::size_t got) {
    while (got > 0 && textEnd(got) == got) {
        m_offset += got;
        got = m_beforeRead() ? readPiece() : 0;
    }
    m_mark = m_offset + textEnd(got) + (got > 0 ? 1 : 0);
    return got;
}

// Fills the buffer with at least one byte unless the source has ended, and gives how many.
std::size_t JsonStream::readPiece() {
    std::size_t filled = m_held.copy(m_buffer.data(), m_held.size());
    std::size_t settled = 0;
    bool isLast = false;
    while (settled == 0 && !isLast) {
        char* const into = m_buffer.data() + filled;
        const std::size_t got = m_source.read(into, kPieceSize);
        blankControls(into, got);
        filled += got;
        isLast = got == 0;
        settled = mendPairs(m_buffer.data(), filled, isLast);
    }
    m_held.assign(m_buffer.data() + settled, filled - settled);
    return settled;
}

void JsonStream::beginCapture(std::string& into, char first) {
    into.assign(1, first);
    m_capture = &into;
    m_captureFrom = m_at;
}

void JsonStream::endCapture() {
    m_capture->append(m_captureFrom, m_at);
    m_capture = nullptr;
}

}  // namespace lanefeed_importers
