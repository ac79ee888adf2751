#pragma once

#include "common/logging.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

namespace lanefeed_1 {

// What a failed check prints besides its text: a text or an integer, good for the call only.
class CheckValue {
public:
    explicit CheckValue(std::string_view text) : m_text(text) {}
    explicit CheckValue(const std::string& text) : m_text(text) {}
    explicit CheckValue(const char* text) : m_text(text) {}
    template <class T, class = std::enable_if_t<std::is_integral_v<T>>>
    explicit CheckValue(T number) : m_number(std::to_string(number)), m_text(m_number) {}
    CheckValue(const CheckValue&) = delete;
    CheckValue& operator=(const CheckValue&) = delete;

    std::string_view text() const { return m_text; }

private:
    std::string m_number;
    std::string_view m_text;
};

// Writes the one line of a failed check: the text, each value as " '" value "'", ", at file: ", the
// file, ":" and the line. Calls the assertion handler too when the environment asked for it. Always
// returns; what a failure means is up to the code behind the check.
void reportFailure(const Place& place,
                   const char* text,
                   std::initializer_list<CheckValue> values = {});

// The condition, after a failed one has been reported. Helpers that check on behalf of a caller
// take his place as an argument and use this.
inline bool checked(bool condition, const Place& place, const char* text) {
    if (!condition) reportFailure(place, text);
    return condition;
}
template <class... Values>
bool checked(bool condition, const Place& place, const char* text, const Values&... values) {
    if (!condition) reportFailure(place, text, {CheckValue(values)...});
    return condition;
}

}  // namespace lanefeed_1

// The place that a helper should report in its caller's name.
#define LF_HERE                                 \
    ::lanefeed_1::Place {                       \
        __FILE__, __LINE__, __PRETTY_FUNCTION__ \
    }
// True when the condition holds. The condition is its own text, or the text follows it, and after
// the text the values to print.
#define LF_CHECK(condition) ::lanefeed_1::checked(static_cast<bool>(condition), LF_HERE, #condition)
#define LF_CHECK_AS(condition, ...) \
    ::lanefeed_1::checked(static_cast<bool>(condition), LF_HERE, __VA_ARGS__)
// Reports without a condition.
#define LF_ALERT(...) ::lanefeed_1::reportFailure(LF_HERE, __VA_ARGS__)
