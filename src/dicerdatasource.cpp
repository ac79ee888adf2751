// The record that says where a value lives. Tested by tests/viewpoint/parser_test.cpp.

#include "dicerdatasource.h"

#include "common/check.h"
#include "common/names.h"

#include <platkit_2_18/strings.h>

#include <tuple>

namespace lanefeed_1 {

DicerDataSource::~DicerDataSource() = default;

void DicerDataSource::set(const std::string& path,
                          const std::string& table,
                          const std::string& attr,
                          const std::string& value) {
    m_path = path;
    m_table = table;
    m_attr = attr;
    m_value = value;
    if (table != names::kBandTable) return;
    const std::vector<std::string> parts =
        platkit_2_18::strings::split_string(path, names::kPathSeparator);
    if (LF_CHECK(!parts.empty())) m_band = parts.front();
}

void DicerDataSource::addExtra(const basekit2::sptr_t<dataface_1::IQuery>& query,
                               const std::string& path,
                               const std::string& table,
                               const std::string& attr,
                               const std::string& value,
                               const std::string& suffix) {
    std::vector<std::string> values;
    if (!value.empty()) values.push_back(value);
    addExtra(query, path, table, attr, values, suffix);
}

void DicerDataSource::addExtra(const basekit2::sptr_t<dataface_1::IQuery>& query,
                               const std::string& path,
                               const std::string& table,
                               const std::string& attr,
                               const std::vector<std::string>& values,
                               const std::string& suffix) {
    m_extras.push_back({query, path, table, attr, values, suffix});
}

bool operator<(const DicerDataSource::ExtraArgs& a, const DicerDataSource::ExtraArgs& b) {
    return std::tie(a.query, a.path, a.table, a.attr, a.suffix, a.values) <
           std::tie(b.query, b.path, b.table, b.attr, b.suffix, b.values);
}

}  // namespace lanefeed_1
