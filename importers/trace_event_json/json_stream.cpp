// Hands the reader one piece of the source after the other. The end of a piece is where everything
// is watched that need not be watched for each character: the length of an event, cancellation,
// progress. Tested by tests/importers/tokenizer_test.cpp.
#include "trace_event_json/json_stream.h"

#include <cstring>
#include <utility>

#include "common/byte_source.h"

namespace lanefeed_importers {
namespace {

constexpr std::size_t kPieceSize = 256 * 1024;

void blankControls(char* text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        text[i] = static_cast<unsigned char>(text[i]) < 0x20 ? ' ' : text[i];
    }
}

}  // namespace

JsonStream::JsonStream(ByteSource& source, std::function<bool()> beforeRead)
    : m_source(source), m_beforeRead(std::move(beforeRead)), m_buffer(kPieceSize + 1) {
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
    m_offset += used;
    if (m_offset - m_mark > kMaxUnmarked) m_tooLong = true;
    const bool go = !m_tooLong && !m_ended && m_beforeRead();
    const std::size_t got = go ? m_source.read(m_buffer.data(), kPieceSize) : 0;
    if (got == 0) m_ended = true;
    blankControls(m_buffer.data(), got);
    m_buffer[got] = '\0';
    m_at = m_buffer.data();
    m_end = m_at + got;
    // At the end the reader may take the closing zero again and again.
    if (got == 0) m_end = nullptr;
    m_captureFrom = m_at;
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
