// Errors as values: making one and turning it into text. Raising logs nothing and throws nothing;
// whoever handles the error decides about that.
// Tested by tests/base/platform_test.cpp.
#include <basekit2/error_code.h>

namespace basekit2 {

error_code_t error_code_t::raise(const error::code_t& code,
                                 const char* expression,
                                 const char* file,
                                 int line) {
    error_code_t raised(failure);
    raised.m_code = &code;
    raised.m_expression = expression != nullptr ? expression : "";
    raised.m_file = file != nullptr ? file : "";
    raised.m_line = line;
    return raised;
}

std::string error_code_t::as_string(int detail) const {
    if (m_value == success) return "success";
    if (m_value == noResult) return "noResult";
    std::string text = m_code != nullptr ? m_code->text() : "failure";
    if (detail < 1) return text;
    if (!m_expression.empty()) text += ": " + m_expression;
    if (!m_file.empty()) text += ", at file: " + m_file + ":" + std::to_string(m_line);
    return text;
}

}  // namespace basekit2
