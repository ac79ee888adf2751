// Takes the trace out of the page that systrace wraps around it. The scripts of the page are some
// hundred kilobytes that talk about traces, so nothing counts as trace but what follows a
// "# tracer" line that stands by itself, or where scripts have no such lines. Tested by
// tests/importers/text_formats_test.cpp.
#include "ftrace_text/html_trace.h"

#include "common/text_lines.h"
#include "ftrace_text/trace_line.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <utility>

namespace lanefeed_importers {
namespace {

constexpr std::string_view kBegin = "# tracer";
constexpr std::string_view kCaption = "TASK-PID";
constexpr std::string_view kScriptEnd = "</script";
// At the end of each line of a trace that is a text of JavaScript.
constexpr std::string_view kLineEnd = "\\n\\";

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// The line begins a trace, directly or behind the tag or quote that opens it.
bool beginsTrace(std::string_view line) {
    const std::size_t at = line.find(kBegin);
    if (at == std::string_view::npos) {
        return !line.empty() && line.front() == '#' &&
               line.find(kCaption) != std::string_view::npos;
    }
    const std::string_view before = line.substr(0, at);
    const std::size_t last = before.find_last_not_of(" \t");
    return last == std::string_view::npos || before[last] == '>' || before[last] == '"';
}

bool isEvent(std::string_view line) {
    TraceLine event;
    return parseTraceLine(line, event);
}

bool beginsWithTag(std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t\r"), line.size()));
    for (const std::string_view tag :
         {"<!doctype html", "<html", "<head", "<meta", "<script", "<style", "<body"}) {
        if (std::equal(
                tag.begin(), tag.end(), line.begin(),
                line.begin() + static_cast<std::ptrdiff_t>(std::min(tag.size(), line.size())),
                [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); })) {
            return true;
        }
    }
    return false;
}

// What an escape stands for; control characters are blanks.
char unescaped(char c) {
    return c == 'n' || c == 't' || c == 'r' ? ' ' : c;
}

}  // namespace

bool HtmlTrace::take(std::string_view line, std::string_view& text) {
    switch (m_form) {
    case Form::none: return lookForBegin(line, text);
    case Form::javaScriptText: return takeJavaScript(line, text);
    case Form::script: return takeUntil(kScriptEnd, line, text);
    case Form::markup: break;
    }
    const bool taken = takeUntil("</", line, text);
    if (taken) decodeEntities(text);
    return taken;
}

void HtmlTrace::followScripts(std::string_view line) {
    const std::size_t opens = line.rfind("<script");
    const std::size_t closes = line.rfind(kScriptEnd);
    if (opens == closes) return;  // neither is there
    m_inScript =
        closes == std::string_view::npos || (opens != std::string_view::npos && opens > closes);
    m_inTraceData =
        m_inScript && line.substr(opens).find("\"trace-data\"") != std::string_view::npos;
}

// True for a begin that is a line of the trace itself.
bool HtmlTrace::lookForBegin(std::string_view line, std::string_view& text) {
    followScripts(line);
    const bool escaped = endsWith(line, kLineEnd);
    const bool byEvent = (escaped || m_inTraceData) && isEvent(line);
    if (!byEvent && !beginsTrace(line)) return false;
    m_found = true;
    m_form = m_inScript ? Form::script : Form::markup;
    if (escaped) m_form = Form::javaScriptText;
    return byEvent && take(line, text);
}

bool HtmlTrace::takeUntil(std::string_view mark, std::string_view line, std::string_view& text) {
    const std::size_t at = line.find(mark);
    text = line.substr(0, at);
    if (at == std::string_view::npos) return true;
    m_form = Form::none;
    m_inScript = false;
    m_inTraceData = false;
    return text.find_first_not_of(" \t") != std::string_view::npos;
}

bool HtmlTrace::takeJavaScript(std::string_view line, std::string_view& text) {
    text = line;
    if (endsWith(text, kLineEnd)) text.remove_suffix(kLineEnd.size());
    const bool plain =
        text.find('\\') == std::string_view::npos && text.find('"') == std::string_view::npos;
    if (plain) return true;
    m_text.clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') {  // of the text
            m_form = Form::none;
            break;
        }
        const bool escape = text[i] == '\\' && i + 1 < text.size();
        m_text += escape ? unescaped(text[++i]) : text[i];
    }
    text = m_text;
    return m_form != Form::none || text.find_first_not_of(' ') != std::string_view::npos;
}

void HtmlTrace::decodeEntities(std::string_view& text) {
    static constexpr std::array<std::pair<std::string_view, char>, 5> kEntities = {
        {{"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&#39;", '\''}}};
    if (text.find('&') == std::string_view::npos) return;
    m_text.clear();
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = 0;
        for (const auto& [entity, meaning] : kEntities) {
            if (text.substr(i, entity.size()) != entity) continue;
            m_text += meaning;
            length = entity.size();
        }
        if (length == 0) m_text += text[i];
        i += length == 0 ? 1 : length;
    }
    text = m_text;
}

bool isPage(std::string_view head) {
    if (head.substr(0, 3) == "\xEF\xBB\xBF") head.remove_prefix(3);
    while (!head.empty()) {
        const std::string_view line = takeLine(head);
        if (beginsWithTag(line)) return true;
        if (beginsTrace(line) || isEvent(line)) return endsWith(line, kLineEnd);
    }
    return false;
}

}  // namespace lanefeed_importers
