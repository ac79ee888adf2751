// Random filters over random results: what queries read and what evaluators say is what comes out
// when the filter is run by hand, row by row.
#include "store/filter_registry.h"
#include "support/fake_queries.h"
#include "support/random_seed.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <set>

namespace lanefeed_runtime {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IQueryFilterBuilder;
using lanefeed_test::FakeInfoQuery;
using lanefeed_test::QueryFacts;
using lanefeed_test::TextResult;

// What a filter may ask for, and the column that tells it on each table.
struct Attribute {
    std::string table;
    std::string path;
    std::string suffix;
    std::map<std::string, std::string> columns;
};

const std::vector<Attribute>& attributes() {
    static const std::vector<Attribute> all = {
        {"dd_band",
         "dd_thread",
         "label",
         {{"slice_data", "dd_band.dd_thread"},
          {"async_data", "dd_band.dd_thread"},
          {"marker_data", "dd_band.dd_thread"},
          {"flow_data", "dd_band.dd_thread"},
          {"counter_data", "dd_band.dd_thread"},
          {"dd_band", "dd_thread"},
          {"dd_thread", "dd_thread"}}},
        {"dd_band",
         "dd_thread.dd_process",
         "name",
         {{"slice_data", "dd_band.dd_thread.dd_process"},
          {"async_data", "dd_band.dd_thread.dd_process"},
          {"marker_data", "dd_band.dd_thread.dd_process"},
          {"flow_data", "dd_band.dd_thread.dd_process"},
          {"counter_data", "dd_band.dd_thread.dd_process"},
          {"dd_band", "dd_thread.dd_process"},
          {"dd_thread", "dd_process"},
          {"dd_process", "dd_process"}}},
        {"dd_band",
         "dd_track",
         "",
         {{"slice_data", "dd_band.dd_track"},
          {"async_data", "dd_band.dd_track"},
          {"marker_data", "dd_band.dd_track"},
          {"flow_data", "dd_band.dd_track"},
          {"counter_data", "dd_band.dd_track"},
          {"dd_band", "dd_track"}}},
        {"slice_data",
         "dd_task",
         "name",
         {{"slice_data", "attr"}, {"async_data", "attr"}, {"dd_task", "dd_task"}}},
        {"async_data",
         "dd_category",
         "name",
         {{"slice_data", "dd_category"},
          {"async_data", "dd_category"},
          {"marker_data", "dd_category"},
          {"flow_data", "dd_category"}}},
        {"marker_data", "attr", "", {{"marker_data", "attr"}}},
        {"slice_data", "count", "", {{"slice_data", "count"}}},
    };
    return all;
}

struct Row {
    int id = 0;
    int band = -1;
    basekit2::u64_t start = 0;
    basekit2::u64_t end = 0;
    std::map<std::string, int> ids;            // by column; -1 none
    std::map<std::string, std::string> texts;  // by column
};

// All rows of a table by plain reads.
std::vector<Row> readRows(storelink1::IDatabase& database, const std::string& table) {
    const auto query = database.createQuery(table, 0);
    if (query.is_null()) return {};
    const auto id = query->addColumn("rowid");
    const auto band = query->addColumn("dd_band");
    const auto start = query->addColumn("start_tsc");
    const auto end = query->addColumn("end_tsc");
    struct Columns {
        std::string name;
        basekit2::u16_t ids;
        basekit2::u16_t text;
    };
    std::vector<Columns> columns;
    for (const Attribute& attribute : attributes()) {
        const auto found = attribute.columns.find(table);
        if (found == attribute.columns.end()) continue;
        const std::string suffix = attribute.suffix.empty() ? "name" : attribute.suffix;
        columns.push_back({found->second, query->addColumn(found->second),
                           query->addColumn(found->second + "." + suffix)});
    }
    std::vector<Row> rows;
    for (const auto set = query->execute(); !set->atEnd(); set->next()) {
        const storelink1::IConstRecord& record = *set->current();
        Row row;
        row.id = record[id].get<int>();
        row.band = record[band].is_null() ? -1 : record[band].get<int>();
        row.start = record[start].get<basekit2::u64_t>();
        row.end = record[end].get<basekit2::u64_t>();
        for (const Columns& column : columns) {
            const variant_t& value = record[column.ids];
            row.ids[column.name] = value.is_null() ? -1 : value.get<int>();
            row.texts[column.name] =
                column.text == storelink1::InvalidColIdx
                    ? std::to_string(row.ids[column.name])
                    : (record[column.text].is_null() ? "" : record[column.text].get<std::string>());
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

enum class Truth { no, maybe, yes };

Truth negated(Truth truth) {
    return truth == Truth::maybe ? truth : truth == Truth::no ? Truth::yes : Truth::no;
}

// A filter by hand.
struct Tree {
    enum Kind { leaf, all, any, none } kind = leaf;
    std::vector<Tree> members;
    std::size_t attribute = 0;
    std::optional<int> id;
    std::string text;
    bool negates = false;

    Truth of(const std::string& table, const Row& row) const {
        if (kind == leaf) return negates ? negated(ofLeaf(table, row)) : ofLeaf(table, row);
        Truth best = kind == all ? Truth::yes : Truth::no;
        for (const Tree& member : members) {
            const Truth truth = member.of(table, row);
            best = kind == all ? std::min(best, truth) : std::max(best, truth);
        }
        return kind == none ? negated(best) : best;
    }

    Truth ofLeaf(const std::string& table, const Row& row) const {
        const auto& columns = attributes()[attribute].columns;
        const auto found = columns.find(table);
        if (found == columns.end()) return Truth::maybe;
        const int value = row.ids.at(found->second);
        const bool holds = id ? value == *id : value != -1 && row.texts.at(found->second) == text;
        return holds ? Truth::yes : Truth::no;
    }

    std::string toText() const {
        const Attribute& asked = attributes()[attribute];
        if (kind == leaf)
            return (negates ? "!" : "") + asked.table + "::" + asked.path + "=" +
                   (id ? std::to_string(*id) : "'" + text + "'");
        std::string out = kind == all ? "all(" : kind == any ? "any(" : "none(";
        for (const Tree& member : members)
            out += member.toText() + " ";
        return out + ")";
    }

    void collect(std::set<std::size_t>& out) const {
        if (kind == leaf) out.insert(attribute);
        for (const Tree& member : members)
            member.collect(out);
    }
};

const std::vector<std::string>& instanceTables() {
    static const std::vector<std::string> tables = {"slice_data", "async_data", "marker_data",
                                                    "counter_data", "flow_data"};
    return tables;
}

class World {
public:
    explicit World(std::mt19937& random)
        : m_random(random), m_result(traceText()), m_database(m_result.database()) {
        for (const std::string& table : instanceTables())
            m_rows[table] = readRows(m_database, table);
        for (const char* table : {"dd_band", "dd_thread", "dd_process", "dd_task"})
            m_rows[table] = readRows(m_database, table);
        m_registry = basekit2::sptr_t<FilterRegistry>(
            dynamic_cast<FilterRegistry*>(m_result.store().filters.get()));
    }

    void setRandomFilter() {
        m_registry->removeFilter("f");
        m_registry->clearFilter("f");
        m_tree = Tree();
        m_tree.kind = Tree::all;
        const auto builder = m_registry->createQueryFilterBuilder();
        fill(m_tree, *builder, 0, true);
        const auto filter = builder->build();
        ASSERT_FALSE(filter.is_null());
        m_registry->setQueryFilter("f", filter);
        m_from = 0;
        m_to = ~basekit2::u64_t{0};
        if (pick(0, 2) > 0) return;
        m_from = static_cast<basekit2::u64_t>(pick(0, 60));
        m_to = m_from + static_cast<basekit2::u64_t>(pick(1, 30));
        const auto time = m_registry->createTimeFilterBuilder();
        time->addRange(m_from, m_to, false);
        m_registry->setTimeFilter("f", time->build());
    }

    void expectRows(const std::string& table) {
        const std::vector<Row>& rows = m_rows[table];
        if (rows.empty()) return;
        std::vector<int> kept;
        for (const Row& row : rows)
            if (keeps(table, row)) kept.push_back(row.id);
        const auto query = m_database.createQuery(table, 0);
        const auto id = query->addColumn("rowid");
        query->addFilter("f");
        std::string error;
        std::string sql;
        const auto set = query->execute(nullptr, error, sql);
        ASSERT_FALSE(set.is_null()) << error << '\n' << sql;
        std::vector<int> read;
        for (; !set->atEnd(); set->next())
            read.push_back((*set->current())[id].get<int>());
        EXPECT_EQ(read, kept) << table << '\n' << m_tree.toText();
        if (kept != idsOf(rows)) {
            EXPECT_TRUE(m_registry->isFilterApplicable("f", table));
        }
    }

    // Over the columns that a table of series may be grouped by.
    void expectEvaluator(const std::string& table) {
        std::vector<std::string> columns;
        for (const char* column :
             {"dd_band::dd_thread", "dd_band::dd_track", "attr", "dd_category"})
            if (pick(0, 3) > 0) columns.emplace_back(column);
        sptr_t<storelink1::IFilterEvaluator> evaluator;
        const auto error =
            m_registry->createEvaluator(evaluator, "f", basekit2::make_iterator(columns), table);
        ASSERT_TRUE(error.succeeded());
        ASSERT_EQ(basekit2::is_success(error), !evaluator.is_null());
        const std::vector<Row>& rows = m_rows[table];
        const bool rejects = std::any_of(rows.begin(), rows.end(),
                                         [&](const Row& row) { return !keeps(table, row); });
        if (columns.size() == 4 && rejects && isTold(table)) {
            EXPECT_FALSE(evaluator.is_null());
        }
        if (evaluator.is_null()) return;
        EXPECT_TRUE(isAllTime());
        const auto query = m_database.createQuery(table, 0);
        for (const std::string& column : columns)
            query->addColumn(column);
        const auto set = query->execute();
        for (const Row& row : rows) {
            std::vector<variant_t> ids;
            for (std::size_t i = 0; i < columns.size(); ++i) {
                const variant_t& value = (*set->current())[static_cast<basekit2::u16_t>(i)];
                ids.emplace_back(value.is_null() ? -1 : value.get<int>());
            }
            EXPECT_EQ(evaluator->evaluate(basekit2::make_iterator(ids)), keeps(table, row));
            set->next();
        }
        ++m_evaluators;
    }

    int evaluators() const { return m_evaluators; }

private:
    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_random); }

    std::string traceText() {
        std::string text;
        const auto at = [&] { return std::to_string(pick(0, 80)); };
        const auto name = [&] {
            const std::vector<std::string> names = {"n1", "it's", "\"q\"", "\xF0\x9F\x99\x82", "%"};
            const std::vector<std::string> ends = {"", "*2", "@io", "@net"};
            return names[static_cast<std::size_t>(pick(0, 4))] +
                   ends[static_cast<std::size_t>(pick(0, 3))];
        };
        const auto span = [&] {
            const int start = pick(0, 80);
            return std::to_string(start) + ".." + std::to_string(start + pick(0, 20));
        };
        text += "process p0\nthread idle 0..1 start\n";
        for (int i = pick(5, 40); i > 0; --i) {
            const std::string thread = "t" + std::to_string(pick(0, 3));
            switch (pick(0, 6)) {
            case 0:
                text += "process p" + std::to_string(pick(0, 1)) + "\nthread x 3..4 n1\n";
                break;
            case 1: text += "track r" + at() + " " + span() + " " + name() + "\n"; break;
            case 2: text += "marker " + thread + " " + at() + " " + name() + "\n"; break;
            case 3: text += "flow " + thread + " 1 x 9 " + name() + "\n"; break;
            case 4: text += "counter c 0=" + at() + "\n"; break;
            default: text += "thread " + thread + " " + span() + " " + name() + "\n";
            }
        }
        return text + "alive idle 0..7\n";
    }

    static std::vector<int> idsOf(const std::vector<Row>& rows) {
        std::vector<int> ids;
        for (const Row& row : rows)
            ids.push_back(row.id);
        return ids;
    }

    sptr_t<dataface_1::IQuery> queryOf(const Attribute& attribute) {
        QueryFacts facts;
        facts.table = attribute.table;
        facts.path = attribute.path;
        facts.attr = attribute.suffix;
        const auto query = basekit2::make_object<FakeInfoQuery>(facts);
        if (pick(0, 3) > 0) return query;
        return dataface_1::IVectorQuery::pushBack(nullptr, query);
    }

    void fill(Tree& group, IQueryFilterBuilder& builder, int depth, bool hasSigns) {
        for (int i = pick(depth == 0 ? 1 : 0, 3); i > 0; --i) {
            group.members.emplace_back();
            Tree& member = group.members.back();
            const int what = pick(0, depth < 3 ? 4 : 1);
            if (what < 2) {
                addLeaf(member, builder, hasSigns);
            } else if (what == 2) {
                const auto nested = m_registry->createQueryFilterBuilder();
                member.kind = Tree::all;
                fill(member, *nested, depth + 1, true);
                builder.addFilter(nested->build());
            } else {
                const int kind = pick(0, 2);
                member.kind = kind == IQueryFilterBuilder::groupIncluded ? Tree::any : Tree::none;
                builder.beginGroup(kind);
                fill(member, builder, depth + 1, kind != IQueryFilterBuilder::groupExcluded);
                builder.endGroup();
            }
        }
    }

    void addLeaf(Tree& leaf, IQueryFilterBuilder& builder, bool hasSigns) {
        leaf.attribute =
            static_cast<std::size_t>(pick(0, static_cast<int>(attributes().size()) - 1));
        const Attribute& attribute = attributes()[leaf.attribute];
        const bool excluded = pick(0, 3) == 0;
        leaf.negates = excluded && hasSigns;
        variant_t value;
        if (pick(0, 1) == 0) {
            leaf.id = pick(attribute.path == "count" ? 0 : -1, 4);
            value = variant_t(*leaf.id);
        } else {
            leaf.text = someText(attribute);
            value = variant_t(leaf.text);
        }
        builder.addCondition(queryOf(attribute), excluded, value);
    }

    // Of a row that there is, mostly.
    std::string someText(const Attribute& attribute) {
        const auto& [table, column] = *attribute.columns.begin();
        const std::vector<Row>& rows = m_rows[table];
        if (rows.empty() || pick(0, 5) == 0) return "nobody";
        return rows[static_cast<std::size_t>(pick(0, static_cast<int>(rows.size()) - 1))].texts.at(
            column);
    }

    bool isAllTime() const { return m_from == 0; }
    bool touches(const Row& row) const { return row.end >= m_from && row.start < m_to; }

    // Whether series tell all that the filter asks of the table: only what is the same for a whole
    // band.
    bool isTold(const std::string& table) const {
        std::set<std::size_t> asked;
        m_tree.collect(asked);
        return isAllTime() && std::none_of(asked.begin(), asked.end(), [&](std::size_t i) {
                   const auto found = attributes()[i].columns.find(table);
                   return found != attributes()[i].columns.end() &&
                          found->second.rfind("dd_band", 0) != 0;
               });
    }

    bool keeps(const std::string& table, const Row& row) {
        if (m_tree.of(table, row) == Truth::no) return false;
        const bool isInstance =
            std::count(instanceTables().begin(), instanceTables().end(), table) > 0;
        if (isInstance) return touches(row);
        if (table == "dd_band") return touches(row) && keepsOnBand(row);
        if (table == "dd_task") return true;
        const std::string column = table == "dd_thread" ? "dd_thread" : "dd_thread.dd_process";
        std::set<std::size_t> asked;
        m_tree.collect(asked);
        const bool isTold = std::all_of(asked.begin(), asked.end(), [&](std::size_t i) {
            return attributes()[i].columns.count(table) > 0;
        });
        if (isTold && isAllTime()) return true;
        return leads(row.id, column) || (table == "dd_process" && leadsFromTrack(row.id));
    }

    bool leads(int id, const std::string& column) {
        const std::vector<Row>& bands = m_rows["dd_band"];
        return std::any_of(bands.begin(), bands.end(), [&](const Row& band) {
            return band.ids.at(column) == id && keeps("dd_band", band);
        });
    }

    bool leadsFromTrack(int process) {
        const auto query = m_database.createQuery("dd_band", 0);
        for (const char* column : {"dd_process", "dd_track.dd_process", "dd_counter.dd_process"})
            query->addColumn(column);
        const auto set = query->execute();
        for (const Row& band : m_rows["dd_band"]) {
            for (basekit2::u16_t i = 0; i < 3; ++i) {
                const variant_t& value = (*set->current())[i];
                if (!value.is_null() && value.get<int>() == process && keeps("dd_band", band))
                    return true;
            }
            set->next();
        }
        return false;
    }

    // What a filter asks of instances, for the bands of the types that hold such instances.
    bool keepsOnBand(const Row& band) {
        std::set<std::size_t> asked;
        m_tree.collect(asked);
        bool asksOfInstances = false;
        bool sameType = false;
        for (const std::string& table : instanceTables()) {
            const bool applies = std::any_of(asked.begin(), asked.end(), [&](std::size_t i) {
                const auto& columns = attributes()[i].columns;
                return columns.count("dd_band") == 0 && columns.count(table) > 0;
            });
            if (!applies || m_rows[table].empty()) continue;
            asksOfInstances = true;
            for (const Row& row : m_rows[table]) {
                if (row.band == band.id && keeps(table, row)) return true;
                sameType = sameType || typeOf(row.band) == typeOf(band.id);
            }
        }
        return !asksOfInstances || !sameType;
    }

    int typeOf(int band) {
        const std::vector<Row>& bands = m_rows["dd_band"];
        const auto found = std::find_if(bands.begin(), bands.end(),
                                        [&](const Row& row) { return row.id == band; });
        return found->ids.at("dd_thread") >= 0 ? 0 : found->ids.at("dd_track") >= 0 ? 1 : 2;
    }

    std::mt19937& m_random;
    TextResult m_result;
    storelink1::IDatabase& m_database;
    sptr_t<FilterRegistry> m_registry;
    std::map<std::string, std::vector<Row>> m_rows;
    Tree m_tree;
    basekit2::u64_t m_from = 0;
    basekit2::u64_t m_to = 0;
    int m_evaluators = 0;
};

TEST(FilterSql, KeepsWhatTheFilterKeepsByHand) {
    std::mt19937 random(lanefeed_test::randomSeed());
    int evaluators = 0;
    for (int i = 0; i < 8; ++i) {
        World world(random);
        for (int filter = 0; filter < 25; ++filter) {
            SCOPED_TRACE("result " + std::to_string(i) + ", filter " + std::to_string(filter));
            world.setRandomFilter();
            for (const std::string& table : instanceTables())
                world.expectRows(table);
            for (const char* table : {"dd_band", "dd_thread", "dd_process", "dd_task"})
                world.expectRows(table);
            world.expectEvaluator("slice_data");
            if (testing::Test::HasFailure()) return;
        }
        evaluators += world.evaluators();
    }
    EXPECT_GT(evaluators, 0);
}

}  // namespace
}  // namespace lanefeed_runtime
