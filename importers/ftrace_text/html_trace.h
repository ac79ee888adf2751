#pragma once

#include <string>
#include <string_view>

namespace lanefeed_importers {

// The trace inside of a systrace page. It begins at its "# tracer" line, which may stand in a
// script element, in a text of JavaScript whose lines end in "\n\", or in plain markup, and ends
// with that element or text. A page may hold several. Without that line, as in a page that is
// damaged, a trace begins at the captions of its columns, or at an event in such a text or in a
// script of the class "trace-data".
class HtmlTrace {
public:
    // Takes the next line of the page. True if it belongs to the trace: `text` is what it says,
    // valid until the next call. Scripts, styles and markup around the trace answer false.
    bool take(std::string_view line, std::string_view& text);

    // There was a begin.
    bool found() const { return m_found; }

private:
    enum class Form { none, script, javaScriptText, markup };

    bool lookForBegin(std::string_view line, std::string_view& text);
    void followScripts(std::string_view line);
    bool takeJavaScript(std::string_view line, std::string_view& text);
    bool takeUntil(std::string_view mark, std::string_view line, std::string_view& text);
    void decodeEntities(std::string_view& text);

    Form m_form = Form::none;
    bool m_inScript = false;
    bool m_inTraceData = false;  // a script that holds a trace, by its class
    bool m_found = false;
    std::string m_text;
};

// By the first bytes of a file: a line with a tag comes before any event, or the events stand in a
// text of JavaScript.
bool isPage(std::string_view head);

}  // namespace lanefeed_importers
