#pragma once

#include <basekit2/object.h>
#include <dataface_1/table_tree.h>

#include <cstdint>
#include <idicerprovider.h>
#include <map>
#include <string>
#include <vector>

namespace lanefeed_tool {

// Cells of a table of the provider, by the names of its columns. A cell that is not there reads as
// the value given.
class NamedCells {
public:
    explicit NamedCells(const basekit2::sptr_t<dataface_1::ITableTree>& table);

    std::uint64_t tick(dataface_1::ITableRow& row, const std::string& column) const;
    std::int64_t number(dataface_1::ITableRow& row,
                        const std::string& column,
                        std::int64_t missing) const;
    std::string text(dataface_1::ITableRow& row, const std::string& column) const;

private:
    bool read(dataface_1::ITableRow& row,
              const std::string& column,
              basekit2::variant_t& value) const;

    std::map<std::string, basekit2::sptr_t<dataface_1::IColumnInfo>> m_columns;
};

// Texts of the attributes that instances of a source refer to. The source outlives this.
class AttributeNames {
public:
    AttributeNames(lanefeed_1::IDicerProvider& provider, const lanefeed_1::DicerDataSource& source)
        : m_provider(provider), m_source(source) {}

    // Empty for a number that no attribute has.
    const std::string& of(int attr);
    // Reads those that the rows of a table refer to: what fails then is told before anything is
    // printed.
    void readFor(const basekit2::sptr_t<dataface_1::ITableTree>& table);

private:
    using Rows = basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>;

    void readFor(const NamedCells& cells, Rows rows);

    lanefeed_1::IDicerProvider& m_provider;
    const lanefeed_1::DicerDataSource& m_source;
    std::map<int, std::string> m_names;
};

}  // namespace lanefeed_tool
