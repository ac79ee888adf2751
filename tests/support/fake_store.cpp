#include "support/fake_store.h"

#include <storelink1/timeline_query.h>
#include <storelink1/utils.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>

namespace lanefeed_test {

namespace {

class FakeRecords : public storelink1::IGenericRecordset<storelink1::IConstRecord>,
                    public storelink1::IConstRecord {
public:
    // A progress that is asked before each record, or null.
    FakeRecords(basekit2::sptr_t<FakeDatabase> database,
                FakeTable rows,
                std::vector<std::string> columns,
                relay2::IProgress* watched)
        : m_database(std::move(database)),
          m_rows(std::move(rows)),
          m_columns(std::move(columns)),
          m_watched(watched) {
        watch();
    }
    bool atEnd() override { return m_position >= m_rows.size(); }
    void next() override {
        EXPECT_GT(m_database->locks, 0) << "records are read under the lock";
        ++m_position;
        watch();
    }
    storelink1::IConstRecord* current() override { return atEnd() ? nullptr : this; }
    const basekit2::variant_t& getField(basekit2::u16_t column) const override {
        static const basekit2::variant_t none;
        if (column >= m_columns.size()) return none;
        const auto& row = m_rows[m_position];
        const auto cell = row.find(m_columns[column]);
        return cell != row.end() ? cell->second : none;
    }

private:
    void watch() {
        if (m_watched != nullptr && m_watched->isCanceled()) m_position = m_rows.size();
    }

    basekit2::sptr_t<FakeDatabase> m_database;
    FakeTable m_rows;
    std::vector<std::string> m_columns;
    relay2::IProgress* m_watched;
    std::size_t m_position = 0;
};

class FakeRecordQuery : public storelink1::IQuery {
public:
    FakeRecordQuery(basekit2::sptr_t<FakeDatabase> database, const std::string& table)
        : m_database(std::move(database)),
          m_rows(m_database->tables[table]),
          m_fails(m_database->brokenTables.count(table) != 0),
          m_read(table) {}
    void useFilters() override { m_read += " filtered"; }
    void addFilter(const std::string& name) override { m_read += " filter=" + name; }
    basekit2::u16_t addColumn(const std::string& name,
                              int /*kind*/,
                              const basekit2::generic_iterator_t<std::string>& /*values*/,
                              bool /*flag1*/,
                              bool /*flag2*/,
                              std::string& /*text*/) override {
        const bool known = m_rows.empty() || m_rows.front().count(name) != 0;
        if (!known) return storelink1::InvalidColIdx;
        m_read += " " + name;
        m_columns.push_back(name);
        return static_cast<basekit2::u16_t>(m_columns.size() - 1);
    }
    basekit2::u16_t addCondition(const std::string& column,
                                 int op,
                                 const basekit2::variant_t& value) override {
        m_read += " " + column + (op == 1 ? "=" : "?") + storelink1::utils::variantToString(value);
        return 0;
    }
    bool addOrderBy(const std::string& column, bool descending) override {
        m_read += (descending ? " falling=" : " rising=") + column;
        return true;
    }
    bool addKeyColumn(const std::string& column) override {
        m_read += " key=" + column;
        return true;
    }
    basekit2::sptr_t<storelink1::IGenericRecordset<storelink1::IConstRecord>> execute(
        relay2::IProgress* progress, std::string& error, std::string& sql) override {
        m_database->reads.push_back(m_read);
        if (!m_fails)
            return basekit2::make_object<FakeRecords>(
                m_database, m_rows, m_columns, m_database->endsCancelledReads ? progress : nullptr);
        error = "disk on fire";
        sql = "SELECT";
        return {};
    }

private:
    basekit2::sptr_t<FakeDatabase> m_database;
    FakeTable m_rows;
    bool m_fails;
    std::string m_read;
    std::vector<std::string> m_columns;
};

class FakeTimelineQuery : public storelink1::ITimelineQuery {
public:
    explicit FakeTimelineQuery(basekit2::sptr_t<FakeDatabase> database)
        : m_database(std::move(database)) {}
    void addRowBy(const std::string& path, const std::string& suffix) override {
        m_call["rowBy"] += path + "|" + suffix + " ";
    }
    void setRequiredFilter(const std::string& name) override { m_call["filter"] = name; }
    basekit2::generic_iterator_t<storelink1::time_interval_t> getFilterIntervals(
        bool inverted) override {
        if (inverted) return {};
        return basekit2::make_iterator(m_database->filterSpans);
    }
    void setSource(QueryType type,
                   const std::string& table,
                   const std::string& attrPath,
                   const std::string& grouping) override {
        m_call["source"] = std::to_string(type) + "|" + table + "|" + attrPath + "|" + grouping;
    }
    void setObjectType(ObjectType type) override { m_call["objectType"] = std::to_string(type); }
    void setSamplePoint(int point) override { m_call["samplePoint"] = std::to_string(point); }
    bool addExpansion(const std::string& table,
                      const std::string& path,
                      const std::string& attr,
                      const std::vector<std::string>& values,
                      bool hideZero,
                      const std::string& sortName,
                      bool ascending) override {
        std::string& text = m_call["expansion"];
        text += table + "|" + path + "|" + attr + "|";
        for (const std::string& value : values)
            text += value + ",";
        text += std::string(hideZero ? "|hide" : "|show") + "|" + sortName;
        text += ascending ? "|up " : "|down ";
        return m_database->answers.empty() || !m_database->answers.front().refusesExpansions;
    }
    void setTimelineDatabase(
        const basekit2::sptr_t<storelink1::ITimelineDatabase>& database) override {
        const bool isPlain = database == m_database->getTimelineDatabase();
        m_call["database"] = isPlain ? "plain" : "filtered";
    }
    void setFourthFlag(bool flag) override { m_call["fourthFlag"] = flag ? "set" : "unset"; }
    basekit2::error_code_t getOverTimeData(
        basekit2::u64_t start,
        basekit2::u64_t end,
        int bins,
        std::vector<storelink1::OverTimeData>& data,
        std::vector<storelink1::OverTimeDataSeriesMetadata>& metadata,
        relay2::IProgress* /*progress*/) override {
        const basekit2::u64_t first = m_database->firstTick;
        m_call["span"] = std::to_string(start - first) + ".." + std::to_string(end - first) + "/" +
                         std::to_string(bins);
        if (!m_database->answers.empty()) {
            const auto last = m_database->answers.size() - 1;
            const auto& answer = m_database->answers[std::min(m_database->calls.size(), last)];
            data = answer.data;
            metadata = answer.metadata;
        }
        m_database->calls.push_back(m_call);
        return basekit2::error_code_t::success;
    }

private:
    basekit2::sptr_t<FakeDatabase> m_database;
    TimelineCall m_call;
};

// Knows the tables of the fake database: the leaf of a path is its last part.
class FakeRetriever : public storelink1::IAttributeDataRetriever {
public:
    FakeRetriever(std::string leaf, std::map<int, basekit2::variant_t> values)
        : m_leaf(std::move(leaf)), m_values(std::move(values)) {}
    bool getValue(int id, basekit2::variant_t& value) override {
        const auto found = m_values.find(id);
        if (found == m_values.end()) return false;
        value = found->second;
        return true;
    }
    bool getLeafTable(std::string& table) override {
        table = m_leaf;
        return true;
    }

private:
    std::string m_leaf;
    std::map<int, basekit2::variant_t> m_values;
};

// Told apart from others, nothing more.
class FakeTimelineDatabase : public storelink1::ITimelineDatabase {
    basekit2::error_code_t getGrouper(basekit2::sptr_t<storelink1::ITimelineGrouper>& /*out*/,
                                      storelink1::timeline_grouper_type_t /*kind*/,
                                      const std::string& /*instanceTable*/,
                                      const basekit2::generic_iterator_t<std::string>& /*names*/,
                                      const basekit2::generic_iterator_t<int>& /*ids*/,
                                      int /*reserved*/,
                                      int /*level*/) override {
        return basekit2::error_code_t::noResult;
    }
    basekit2::generic_iterator_t<basekit2::generic_iterator_t<std::string>> getGroupings(
        storelink1::timeline_grouper_type_t /*kind*/,
        const std::string& /*instanceTable*/) override {
        return {};
    }
    basekit2::error_code_t fill(storelink1::timeline_grouper_type_t /*kind*/,
                                const std::string& /*instanceTable*/,
                                const basekit2::generic_iterator_t<std::string>& /*names*/,
                                relay2::IProgress* /*progress*/) override {
        return basekit2::error_code_t::success;
    }
};

}  // namespace

FakeTable tableOf(const std::string& text) {
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    std::istringstream head(line);
    const std::vector<std::string> columns{std::istream_iterator<std::string>(head), {}};
    FakeTable table;
    while (std::getline(lines, line)) {
        std::istringstream cells(line);
        std::string cell;
        for (auto column = columns.begin(); cells >> cell; ++column) {
            if (table.empty() || column == columns.begin()) table.emplace_back();
            const bool isNumber = cell.find_first_not_of("-0123456789") == std::string::npos;
            basekit2::variant_t& value = table.back()[*column];
            if (cell != "-") value = isNumber ? basekit2::variant_t(std::stoi(cell)) : cell;
        }
    }
    return table;
}

FakeDatabase::FakeDatabase() : m_timeline(basekit2::make_object<FakeTimelineDatabase>()) {}

basekit2::sptr_t<storelink1::IQuery> FakeDatabase::createQuery(const std::string& table,
                                                               int /*mode*/) {
    if (tables.count(table) == 0) return {};
    return basekit2::make_object<FakeRecordQuery>(basekit2::sptr_t<FakeDatabase>(this), table);
}

basekit2::sptr_t<storelink1::ITimelineQuery> FakeDatabase::createTimelineQuery() {
    return basekit2::make_object<FakeTimelineQuery>(basekit2::sptr_t<FakeDatabase>(this));
}

basekit2::sptr_t<storelink1::IAttributeDataRetriever> FakeDatabase::createAttributeRetriever(
    const std::string& table, bool cache) {
    retrievers.push_back(table + (cache ? " cached" : ""));
    const std::string leaf = table.substr(table.rfind('.') + 1);
    const auto values = attributeValues.find(table);
    const bool hasValues = values != attributeValues.end();
    if (!hasValues && tables.count(leaf) == 0) return {};
    return basekit2::make_object<FakeRetriever>(
        leaf, hasValues ? values->second : std::map<int, basekit2::variant_t>());
}

FakeDatabase::TimelineDatabase FakeDatabase::getFilteredTimelineDatabase() {
    ++filteredDatabases;
    return basekit2::make_object<FakeTimelineDatabase>();
}

}  // namespace lanefeed_test
