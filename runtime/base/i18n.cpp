// Putting arguments into the texts of message catalogs.
// Tested by tests/base/platform_test.cpp.
#include <platkit_2_18/i18n.h>

namespace platkit_2_18::i18n {
namespace {

std::string printed(const basekit2::variant_t& value) {
    basekit2::variant_t text;
    basekit2::print_variant(value, text, true);
    return text.get<std::string>();
}

}  // namespace

strings::ustring8 message_t::as_ustring(const generic::varg_list& args) const {
    strings::ustring8 text;
    for (std::size_t i = 0; i < m_pattern.size(); ++i) {
        const char next = i + 1 < m_pattern.size() ? m_pattern[i + 1] : '\0';
        const bool place = m_pattern[i] == '%' && next >= '1' && next <= '9';
        const auto index = static_cast<std::size_t>(next - '1');
        if (place && index < args.size()) {
            text += printed(args.at(index));
            ++i;
        } else {
            text += m_pattern[i];
            if (m_pattern[i] == '%' && next == '%') ++i;
        }
    }
    return text;
}

}  // namespace platkit_2_18::i18n
