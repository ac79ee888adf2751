#pragma once

#include "store/filter_sql.h"
#include "store/path_walk.h"

#include <basekit2/variant.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

class Statement;

// Text of a select over one table and what its paths join. Joins are left joins along references,
// each made once. Plain SQL, the same on every engine.
class SelectText {
public:
    SelectText(const Catalog& catalog, int table) : m_catalog(catalog), m_table(table) {}

    // Field number of a path; a path that is there already gives its old number.
    int addField(const StorePath& path);
    // Keeps rows whose path holds one of the values; a second value of a path is one more value of
    // its set. False for a value that no column can hold.
    bool addValue(const StorePath& path, const basekit2::variant_t& value);
    void addNotNull(const StorePath& path);
    // Keeps rows that the filters keep, which were made for this table.
    void addFilter(const FilterClause& filter) { m_filter = bothClauses(m_filter, filter); }
    void addOrder(const StorePath& path, bool descending);
    // The order asked for starts with this path.
    bool isOrderedBy(const StorePath& path) const;

    std::string text() const;
    // The same for the one row whose id is bound to the first parameter; without values and order.
    std::string rowText() const;
    // Values that the text leaves open, in order.
    void bindValues(Statement& statement) const;

private:
    struct ValueSet {
        StorePath path;
        std::vector<basekit2::variant_t> values;
    };
    struct Order {
        StorePath path;
        bool descending = false;
    };
    class Joins;

    std::string fieldText(Joins& joins) const;
    std::string setText(Joins& joins, const ValueSet& set, int& parameters) const;
    std::string referenceText(const StorePath& path, const std::string& list) const;
    std::string whereText(Joins& joins) const;
    std::string orderText(Joins& joins) const;
    bool isFileOrder(const Order& order) const;

    const Catalog& m_catalog;
    int m_table;
    std::vector<StorePath> m_fields;
    std::vector<ValueSet> m_sets;
    std::vector<StorePath> m_notNull;
    FilterClause m_filter;
    std::vector<Order> m_orders;
};

}  // namespace lanefeed_runtime
