#pragma once

#include <basekit2/object.h>
#include <basekit2/variant.h>
#include <storelink1/query.h>
#include <storelink1/records.h>

#include <string>
#include <vector>

namespace storelink1 {
class IDatabase;
}

namespace lanefeed_1 {

class DbiProviderImpl;

// One attribute by whose values series are split, with these values.
struct ExpansionLevel {
    struct value_t {
        int id = 0;
        std::string name;
    };

    // Appends a value of a row id, 0 or above. A repeated id keeps both; records of it go to the
    // last.
    void addValue(int id, const std::string& name);

    std::string table;                       // may be empty
    std::string path;                        // its first part is the attribute table
    std::string attr;                        // gives the display name; may be empty
    std::vector<std::string> restrictions;   // values to keep; empty: all
    std::vector<value_t> values;             // in the order of the store
    std::vector<basekit2::s32_t> positions;  // by id, place in values; -1: unknown
};

// Path of a level in the store's own words, by which groupings are compared: "table::path".
std::string getExpansionPath(const ExpansionLevel& level);

// Splits the records of one request into series, one for each combination of the values of its
// levels; the last level runs fastest. Used in this order: addExpansion for each level,
// setDefaultSeriesName, applyExpansions on the query of the records, getEmptySeries, and
// getSeriesIdx for each record. What fails is reported and answered with false. Lives on the stack
// of one request and belongs to its thread; the filters of restricted levels stay registered.
class ExpansionHelper {
public:
    // The provider is not owned and outlives the helper.
    ExpansionHelper(const basekit2::sptr_t<storelink1::IDatabase>& db, DbiProviderImpl* provider);

    // Reads the values of one more level; one without any record is a failure. A failure adds
    // nothing.
    bool addExpansion(const std::string& table,
                      const std::string& path,
                      const std::string& attr,
                      const std::vector<std::string>& restrictions);
    // Name of the only series when there are no levels.
    void setDefaultSeriesName(const std::string& name) { m_defaultSeriesName = name; }
    // Adds the columns and restrictions of the levels to the query and works out the series. With a
    // null query the series alone. May be called again with another query.
    bool applyExpansions(const basekit2::sptr_t<storelink1::IQuery>& query);

    // Series of a record of that query, or of one id per level. False for a value that was not
    // read, quietly: the record is to be skipped; false too, and reported, for none (-1).
    bool getSeriesIdx(const storelink1::IConstRecord* record, unsigned long& index) const;
    bool getSeriesIdx(const std::vector<int>& ids, unsigned long& index) const;
    // One entry per series, in their order.
    void getEmptySeries(std::vector<storelink1::OverTimeDataSeriesMetadata>& out) const;
    basekit2::u64_t getSeriesNum() const { return m_seriesNum; }

private:
    bool restrict(const ExpansionLevel& level, storelink1::IQuery& query) const;
    bool readValues(storelink1::IQuery& query,
                    basekit2::u16_t id,
                    basekit2::u16_t nameId,
                    ExpansionLevel& level) const;
    void makeEmptySeries();
    void makeStrides();

    basekit2::sptr_t<storelink1::IDatabase> m_db;
    std::vector<ExpansionLevel> m_levels;
    basekit2::u64_t m_seriesNum = 1;
    std::vector<storelink1::OverTimeDataSeriesMetadata> m_emptySeries;
    std::vector<basekit2::u64_t> m_strides;  // per level, series between two of its values
    std::vector<basekit2::u16_t> m_columns;  // per level, the record's column of the value id
    std::string m_defaultSeriesName;
    DbiProviderImpl* m_provider;  // not owned
};

}  // namespace lanefeed_1
