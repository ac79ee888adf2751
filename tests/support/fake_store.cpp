#include "support/fake_store.h"

#include <storelink1/timeline_query.h>
#include <storelink1/utils.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>

namespace lanefeed_test {

namespace {

using basekit2::error_code_t;
using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::u16_t;
using basekit2::u64_t;
using basekit2::variant_t;
using storelink1::IConstRecord;
using Database = sptr_t<FakeDatabase>;
using Names = generic_iterator_t<std::string>;
using Recordset = storelink1::IGenericRecordset<IConstRecord>;

// Asks the progress, if any, before each record, and ends when that is cancelled.
class FakeRecords : public Recordset, public IConstRecord {
public:
    FakeRecords(Database database,
                FakeTable rows,
                std::vector<std::string> columns,
                relay2::IProgress* progress)
        : m_database(std::move(database)),
          m_rows(std::move(rows)),
          m_columns(std::move(columns)),
          m_progress(progress) {
        watch();
    }
    bool atEnd() override { return m_position >= m_rows.size(); }
    void next() override {
        EXPECT_GT(m_database->locks, 0) << "records are read under the lock";
        ++m_position;
        watch();
    }
    IConstRecord* current() override { return this; }
    const variant_t& getField(u16_t column) const override {
        static const variant_t none;
        const auto& row = m_rows.at(m_position);
        const auto cell = row.find(column < m_columns.size() ? m_columns[column] : "");
        return cell != row.end() ? cell->second : none;
    }

private:
    void watch() {
        if (m_progress != nullptr && m_progress->isCanceled()) m_position = m_rows.size();
    }

    Database m_database;
    FakeTable m_rows;
    std::vector<std::string> m_columns;
    relay2::IProgress* m_progress;
    std::size_t m_position = 0;
};

class FakeRecordQuery : public storelink1::IQuery {
public:
    FakeRecordQuery(Database database, const std::string& table)
        : m_database(std::move(database)),
          m_rows(m_database->tables[table]),
          m_fails(m_database->brokenTables.count(table) != 0),
          m_read(table) {}
    void useFilters() override { m_read += " filtered"; }
    void addFilter(const std::string& name) override { m_read += " filter=" + name; }
    u16_t addColumn(const std::string& name,
                    int /*kind*/,
                    const Names& /*values*/,
                    bool /*flag1*/,
                    bool /*flag2*/,
                    std::string& /*text*/) override {
        const bool isKnown = m_rows.empty() || m_rows.front().count(name) != 0;
        if (!isKnown) return storelink1::InvalidColIdx;
        m_read += " " + name;
        m_columns.push_back(name);
        return static_cast<u16_t>(m_columns.size() - 1);
    }
    u16_t addCondition(const std::string& column, int op, const variant_t& value) override {
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
    sptr_t<Recordset> execute(relay2::IProgress* progress,
                              std::string& error,
                              std::string& sql) override {
        m_database->reads.push_back(m_read);
        if (!m_fails)
            return basekit2::make_object<FakeRecords>(m_database, m_rows, m_columns, progress);
        error = "disk on fire";
        sql = "SELECT";
        return {};
    }

private:
    Database m_database;
    FakeTable m_rows;
    bool m_fails;
    std::string m_read;
    std::vector<std::string> m_columns;
};

class FakeTimelineQuery : public storelink1::ITimelineQuery {
public:
    explicit FakeTimelineQuery(Database database) : m_database(std::move(database)) {}
    void addRowBy(const std::string& path, const std::string& suffix) override {
        m_call["rowBy"] += path + "|" + suffix + " ";
    }
    void setRequiredFilter(const std::string& name) override { m_call["filter"] = name; }
    generic_iterator_t<storelink1::time_interval_t> getFilterIntervals(bool inverted) override {
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
    void setTimelineDatabase(const sptr_t<storelink1::ITimelineDatabase>& /*database*/) override {}
    void setFourthFlag(bool flag) override { m_call["fourthFlag"] = flag ? "set" : "unset"; }
    error_code_t getOverTimeData(u64_t start,
                                 u64_t end,
                                 int bins,
                                 std::vector<storelink1::OverTimeData>& data,
                                 std::vector<storelink1::OverTimeDataSeriesMetadata>& metadata,
                                 relay2::IProgress* /*progress*/) override {
        const u64_t first = m_database->firstTick;
        m_call["span"] = std::to_string(start - first) + ".." + std::to_string(end - first) + "/" +
                         std::to_string(bins);
        if (!m_database->answers.empty()) {
            const auto last = m_database->answers.size() - 1;
            const auto& answer = m_database->answers[std::min(m_database->calls.size(), last)];
            data = answer.data;
            metadata = answer.metadata;
        }
        m_database->calls.push_back(m_call);
        return error_code_t::success;
    }

private:
    Database m_database;
    TimelineCall m_call;
};

class FakeRetriever : public storelink1::IAttributeDataRetriever {
public:
    FakeRetriever(std::string leaf, std::map<int, variant_t> values)
        : m_leaf(std::move(leaf)), m_values(std::move(values)) {}
    bool getValue(int id, variant_t& value) override {
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
    std::map<int, variant_t> m_values;
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
        table.emplace_back();
        for (const std::string& column : columns) {
            std::string cell;
            cells >> cell;
            const bool isNumber = cell.find_first_not_of("-0123456789") == std::string::npos;
            variant_t& value = table.back()[column];
            if (cell != "-" && !cell.empty()) value = isNumber ? variant_t(std::stoi(cell)) : cell;
        }
    }
    return table;
}

sptr_t<storelink1::IQuery> FakeDatabase::createQuery(const std::string& table, int /*mode*/) {
    if (tables.count(table) == 0) return {};
    return basekit2::make_object<FakeRecordQuery>(Database(this), table);
}

sptr_t<storelink1::ITimelineQuery> FakeDatabase::createTimelineQuery() {
    return basekit2::make_object<FakeTimelineQuery>(Database(this));
}

sptr_t<storelink1::IAttributeDataRetriever> FakeDatabase::createAttributeRetriever(
    const std::string& table, bool cache) {
    retrievers.push_back(table + (cache ? " cached" : ""));
    const std::string leaf = table.substr(table.rfind('.') + 1);
    const auto values = attributeValues.find(table);
    if (values != attributeValues.end())
        return basekit2::make_object<FakeRetriever>(leaf, values->second);
    if (tables.count(leaf) == 0) return {};
    return basekit2::make_object<FakeRetriever>(leaf, std::map<int, variant_t>());
}

}  // namespace lanefeed_test
