// Lines out of a source in pieces of the buffer's size. A line that doesn't fit is handed out as
// far as it goes, and the rest of it is passed over on the way to the next one.
// Tested by tests/importers/byte_source_test.cpp.
#include "common/line_reader.h"

#include "common/byte_source.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace lanefeed_importers {
namespace {

constexpr std::size_t kBuffer = std::size_t{256} << 10;
static_assert(kBuffer > LineReader::kMaxLine);

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

LineReader::LineReader(ByteSource& source, std::function<bool()> beforeRead)
    : m_source(source), m_beforeRead(std::move(beforeRead)), m_buffer(kBuffer) {}

// Moves what is left to the front and reads behind it. False when nothing comes any more.
bool LineReader::fill() {
    if (m_ended) return false;
    const std::size_t left = m_end - m_at;
    std::memmove(m_buffer.data(), m_buffer.data() + m_at, left);
    m_offset += m_at;
    m_at = 0;
    m_end = left;
    m_stopped = !m_beforeRead();
    const std::size_t got =
        m_stopped ? 0 : m_source.read(m_buffer.data() + m_end, m_buffer.size() - m_end);
    m_ended = got == 0;
    const bool first = m_offset == 0 && left == 0;
    m_end += got;
    if (first && std::string_view(m_buffer.data(), m_end).substr(0, 3) == kByteOrderMark) {
        m_at = kByteOrderMark.size();
    }
    return !m_ended;
}

// Of a line that was cut. False when the text ends with it.
bool LineReader::skipRest() {
    while (true) {
        const char* const from = m_buffer.data() + m_at;
        const void* const newline = std::memchr(from, '\n', m_end - m_at);
        if (newline) {
            m_at += static_cast<std::size_t>(static_cast<const char*>(newline) - from) + 1;
            m_inCutLine = false;
            return true;
        }
        m_at = m_end;
        if (!fill()) return false;
    }
}

void LineReader::handOut(TextLine& line, std::size_t length) {
    line.byte = m_offset + m_at;
    line.number = ++m_lines;
    line.text = {m_buffer.data() + m_at, std::min(length, kMaxLine)};
    line.cut = length > kMaxLine;
    if (line.cut) {
        ++m_cutLines;
    } else if (!line.text.empty() && line.text.back() == '\r') {
        line.text.remove_suffix(1);
    }
}

bool LineReader::next(TextLine& line) {
    if (m_inCutLine && !skipRest()) return false;
    std::size_t seen = 0;
    while (true) {
        const char* const from = m_buffer.data() + m_at;
        const void* const newline = std::memchr(from + seen, '\n', m_end - m_at - seen);
        if (newline) {
            const auto length = static_cast<std::size_t>(static_cast<const char*>(newline) - from);
            handOut(line, length);
            line.ended = true;
            m_at += length + 1;
            return true;
        }
        seen = m_end - m_at;
        if (seen > kMaxLine) {
            handOut(line, seen);
            line.ended = true;
            m_inCutLine = true;
            m_at += kMaxLine;
            return true;
        }
        if (fill()) continue;
        if (m_stopped || m_at == m_end) return false;
        handOut(line, seen);
        line.ended = false;
        m_at = m_end;
        return true;
    }
}

}  // namespace lanefeed_importers
