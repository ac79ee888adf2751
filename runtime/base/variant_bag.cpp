// The tree of named values behind an XML element. Bags are small, so entries are looked up by
// walking them in document order.
// Tested by tests/base/bag_xml_test.cpp.
#include <basekit2/variant_bag.h>

namespace basekit2 {
namespace {

template <class Entries>
auto* firstOf(const Entries& entries, const std::string& name) {
    for (const auto& entry : entries)
        if (entry.first == name) return &entry.second;
    return static_cast<decltype(&entries.front().second)>(nullptr);
}

}  // namespace

void variant_bag_t::clear() {
    m_values.clear();
    m_bags.clear();
}

void variant_bag_t::add(const std::string& name, const variant_t& value) {
    m_values.emplace_back(name, value);
}

variant_bag_t& variant_bag_t::add(const std::string& name, const variant_bag_t& bag) {
    // Copied first: `bag` may be this bag or one of its entries.
    variant_bag_t copy = bag;
    copy.m_name = name;
    m_bags.emplace_back(name, std::move(copy));
    return m_bags.back().second;
}

template <>
const variant_t* variant_bag_t::get<variant_t>(const std::string& name) const {
    return firstOf(m_values, name);
}
template <>
const variant_bag_t* variant_bag_t::get<variant_bag_t>(const std::string& name) const {
    return firstOf(m_bags, name);
}

template <>
variant_bag_t::const_iterator_t<variant_t> variant_bag_t::begin<variant_t>() const {
    return const_iterator_t<variant_t>(&m_values);
}
template <>
variant_bag_t::const_iterator_t<variant_bag_t> variant_bag_t::begin<variant_bag_t>() const {
    return const_iterator_t<variant_bag_t>(&m_bags);
}

}  // namespace basekit2
