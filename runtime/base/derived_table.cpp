// Tables of derived queries out of tables of series. The columns of a source are told apart by
// their queries; those of an expanded input by the values that their nested columns stand for, its
// path. One derived column stands for each path, and one for a query without expanded inputs. Each
// cell of a source row is read once, whatever number of derived columns it goes into.
// Tested by tests/base/derived_table_test.cpp.
#include <facekit_1_x/conversions.h>
#include <facekit_1_x/table_building.h>
#include <facekit_1_x/table_helpers.h>
#include <slicekit_1_0/rpn_processor.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace facekit_1_x {
namespace {

using basekit2::error_code_t;
using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IColumnInfo;
using dataface_1::IDerivedQuery;
using dataface_1::IQuery;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using dataface_1::IVectorQuery;
using slicekit_1_0::IRpnProgram;

constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kNoColumn = static_cast<std::size_t>(-1);
constexpr int kRowsPerPoll = 256;

error_code_t invalid(const char* expression, int line) {
    return error_code_t::raise(basekit2::error::IsNot.Valid.Argument, expression, __FILE__, line);
}

// Values along the levels of an expansion; the last part tells apart those that are named alike.
using Path = std::vector<std::string>;

// A column of the source that holds values of an input; of an expanded one the innermost.
struct SourceColumn {
    sptr_t<IColumnInfo> column;
    Path path;
};

struct SourceInput {
    bool isExpanded = false;
    std::map<Path, std::size_t> columnOf;  // place among all source columns
    std::vector<Path> paths;               // in the order of the source
};

std::string textOf(const sptr_t<IQuery>& columnQuery) {
    const sptr_t<IVectorQuery> vector = IVectorQuery::cast(columnQuery);
    const sptr_t<IQuery> query = vector.is_null() ? columnQuery : vector->getDefaultQuery();
    const auto info = dataface_1::IInfoQuery::cast(query);
    if (info.is_null()) return query.is_null() ? std::string() : query->getName();
    const auto values = info->getValues(0);
    return values.at_end() ? info->getName() : variantToString(values.current());
}

// The columns of a source, by the inputs whose values they hold.
class Source {
public:
    Source(const sptr_t<ITableTree>& table, const std::vector<sptr_t<IQuery>>& inputQueries) {
        for (const sptr_t<IQuery>& query : inputQueries) {
            inputs.emplace_back();
            inputs.back().isExpanded = !query->getExpansionQuery().is_null();
        }
        for (auto it = table->getColumns(nullptr); !it.at_end(); it.next()) {
            const sptr_t<IColumnInfo> column = it.current();
            if (column->getType() == dataface_1::timeBinColumn) {
                if (timeBin.is_null()) timeBin = column;
                continue;
            }
            const auto input = std::find_if(
                inputQueries.begin(), inputQueries.end(), [&](const sptr_t<IQuery>& query) {
                    return IQuery::areEqual(column->getQuery(), query, true, false);
                });
            if (input != inputQueries.end())
                addColumn(column, {},
                          inputs[static_cast<std::size_t>(input - inputQueries.begin())]);
        }
    }

    sptr_t<IColumnInfo> timeBin;
    std::vector<SourceInput> inputs;
    std::vector<SourceColumn> columns;

private:
    void addColumn(const sptr_t<IColumnInfo>& column, Path path, SourceInput& input) {
        generic_iterator_t<sptr_t<IColumnInfo>> children;
        const bool walks = column->getChildren(children, nullptr, false) != IColumnInfo::ecsfError;
        if (walks && !children.at_end()) {
            input.isExpanded = true;
            for (; !children.at_end(); children.next()) {
                Path below = path;
                below.push_back(textOf(children.current()->getQuery()));
                addColumn(children.current(), std::move(below), input);
            }
            return;
        }
        path.emplace_back();
        for (int again = 2; input.columnOf.count(path) != 0; ++again)
            path.back() = std::to_string(again);
        input.columnOf[path] = columns.size();
        input.paths.push_back(path);
        columns.push_back({column, std::move(path)});
    }
};

// A derived query and where its inputs stand among those of all.
struct Derived {
    sptr_t<IDerivedQuery> query;
    sptr_t<IRpnProgram> program;
    std::vector<std::size_t> inputs;
};

// A column of the derived table.
struct DerivedColumn {
    const Derived* derived = nullptr;
    std::vector<std::size_t> sources;            // for each input its source column, or kNoColumn
    std::vector<bool> isOwn;                     // which of them make a value one of this column
    std::vector<sptr_t<IWriteableColumn>> nest;  // outermost first; all answer alike
};

// Makes one derived table.
class Derivation {
public:
    Derivation(const Source& source, const std::vector<Derived>& derived)
        : m_source(source), m_tree(createTableTree()) {
        m_timeBin = copyOf(source.timeBin, source.timeBin->getQuery(), nullptr);
        for (const Derived& one : derived)
            addColumns(one);
    }

    // False on a cancel.
    bool addRows(const sptr_t<ITableTree>& table, relay2::IProgress* progress) {
        int sincePoll = 0;
        for (auto it = table->getRows(nullptr); !it.at_end(); it.next()) {
            if (sincePoll++ % kRowsPerPoll == 0 && progress != nullptr && progress->isCanceled())
                return false;
            addRow(it.current());
        }
        return true;
    }
    const sptr_t<IDPIHelperTableTree>& tree() const { return m_tree; }

private:
    sptr_t<IWriteableColumn> copyOf(const sptr_t<IColumnInfo>& column,
                                    const sptr_t<IQuery>& query,
                                    const sptr_t<IColumnInfo>& parent) {
        sptr_t<IWriteableColumn> copy = createColumn(column->getType(), query, m_tree);
        for (const auto property : {dataface_1::ccStyle, dataface_1::ccId}) {
            variant_t value;
            if (column->getContent(property, value)) copy->setProperty(property, value);
        }
        m_tree->addColumn(copy, parent, 0);
        return copy;
    }

    void addColumns(const Derived& derived) {
        std::set<Path> known;
        for (const std::size_t input : derived.inputs) {
            if (!m_source.inputs[input].isExpanded) continue;
            for (const Path& path : m_source.inputs[input].paths)
                if (known.insert(path).second) addColumn(derived, &path);
        }
        if (known.empty()) addColumn(derived, nullptr);
    }

    void addColumn(const Derived& derived, const Path* path) {
        DerivedColumn column;
        column.derived = &derived;
        sptr_t<IColumnInfo> innermost;
        for (const std::size_t index : derived.inputs) {
            const SourceInput& input = m_source.inputs[index];
            std::size_t place = kNoColumn;
            if (!input.isExpanded) {
                if (!input.paths.empty()) place = input.columnOf.at(input.paths.front());
            } else if (path != nullptr) {
                const auto found = input.columnOf.find(*path);
                if (found != input.columnOf.end()) place = found->second;
            }
            column.sources.push_back(place);
            column.isOwn.push_back(place != kNoColumn && (path == nullptr || input.isExpanded));
            if (column.isOwn.back() && innermost.is_null())
                innermost = m_source.columns[place].column;
        }
        nestColumns(innermost, path != nullptr, column);
        m_columns.push_back(std::move(column));
    }

    // The derived query above copies of the columns that are nested in that of an input.
    void nestColumns(const sptr_t<IColumnInfo>& innermost, bool isExpanded, DerivedColumn& column) {
        const auto top = createColumn(
            columnSeries, IVectorQuery::pushBack(nullptr, column.derived->query), m_tree);
        m_tree->addColumn(top, nullptr, 0);
        column.nest.push_back(top);
        if (!isExpanded) return;
        std::vector<sptr_t<IColumnInfo>> levels;
        for (auto level = innermost; !level->getParent().is_null(); level = level->getParent())
            levels.insert(levels.begin(), level);
        for (const sptr_t<IColumnInfo>& level : levels)
            column.nest.push_back(copyOf(level, level->getQuery(), column.nest.back()));
    }

    void addRow(const sptr_t<ITableRow>& row) {
        m_values.clear();
        for (const SourceColumn& source : m_source.columns) {
            variant_t value;
            const bool isThere = row->getContent(source.column, dataface_1::ccValue, value) &&
                                 value.can_get<double>();
            m_values.push_back(isThere ? value.get<double>() : kNoValue);
        }
        sptr_t<IWriteableTableRow> made;
        for (const DerivedColumn& column : m_columns) {
            const double value = valueOf(column);
            if (!std::isfinite(value)) continue;
            if (made.is_null()) made = makeRow(row);
            for (const auto& nested : column.nest)
                made->setContent(nested, dataface_1::ccValue, value);
        }
        if (!made.is_null()) m_tree->addRow(made, nullptr);
    }

    sptr_t<IWriteableTableRow> makeRow(const sptr_t<ITableRow>& row) {
        sptr_t<IWriteableTableRow> made = createSparseRow(row->getQuery(), m_tree);
        variant_t bin;
        if (row->getContent(m_source.timeBin, dataface_1::ccValue, bin))
            made->setContent(m_timeBin, dataface_1::ccValue, bin);
        return made;
    }

    double valueOf(const DerivedColumn& column) {
        const bool isExpanded = column.nest.size() > 1;
        bool hasData = false;
        m_inputs.clear();
        for (std::size_t i = 0; i < column.sources.size(); ++i) {
            const std::size_t place = column.sources[i];
            const double value = place == kNoColumn ? kNoValue : m_values[place];
            hasData =
                hasData || (column.isOwn[i] && !std::isnan(value) && (!isExpanded || value != 0));
            m_inputs.push_back(std::isnan(value) ? 0 : value);
        }
        return hasData ? column.derived->program->evaluate(m_inputs) : kNoValue;
    }

    const Source& m_source;
    sptr_t<IDPIHelperTableTree> m_tree;
    sptr_t<IWriteableColumn> m_timeBin;
    std::vector<DerivedColumn> m_columns;
    std::vector<double> m_values;  // of the row at hand, for each source column
    std::vector<double> m_inputs;  // of the formula at hand
};

class DerivedTableTreeHelper : public IDerivedTableTreeHelper {
public:
    void init(error_code_t& error,
              const sptr_t<ITableTree>& tree,
              const sptr_t<IVectorQuery>& queries,
              const sptr_t<slicekit_1_0::IRpnProcessor>& processor,
              int mode) override {
        m_derived.clear();
        m_inputs.clear();
        m_tree = tree;
        error = read(queries, processor, mode);
        if (!error.succeeded()) m_derived.clear();
    }

    void getInputColumnBy(error_code_t& error,
                          sptr_t<IVectorQuery>& queries,
                          double /*scale*/) override {
        error = m_derived.empty() ? notReady(__LINE__) : error_code_t();
        if (m_derived.empty()) return;
        sptr_t<IVectorQuery> inputs;
        for (const sptr_t<IQuery>& input : m_inputs)
            inputs = IVectorQuery::pushBack(inputs, input);
        queries = inputs;
    }

    error_code_t derive(sptr_t<ITableTree>& out,
                        const sptr_t<ITableTree>& source,
                        relay2::IProgress* progress,
                        int /*reserved*/) override {
        if (m_derived.empty()) return notReady(__LINE__);
        const sptr_t<ITableTree>& table = source.is_null() ? m_tree : source;
        if (table.is_null()) return invalid("source", __LINE__);
        const Source columns(table, m_inputs);
        if (columns.timeBin.is_null()) return invalid("time-bin column of the source", __LINE__);
        Derivation derivation(columns, m_derived);
        if (!derivation.addRows(table, progress)) {
            return error_code_t::raise(basekit2::error::IsNot.Expected.Situation, "cancelled",
                                       __FILE__, __LINE__);
        }
        out = derivation.tree();
        return error_code_t::success;
    }

private:
    static error_code_t notReady(int line) {
        return error_code_t::raise(basekit2::error::IsNot.Expected.Situation,
                                   "derived table helper initialised", __FILE__, line);
    }

    error_code_t read(const sptr_t<IVectorQuery>& queries,
                      const sptr_t<slicekit_1_0::IRpnProcessor>& processor,
                      int mode) {
        if (mode != modeSeries) return invalid("mode == 3", __LINE__);
        if (processor.is_null()) return invalid("processor", __LINE__);
        if (queries.is_null() || queries->getCount() == 0) return invalid("queries", __LINE__);
        for (auto it = queries->getQueries(); !it.at_end(); it.next()) {
            Derived derived;
            derived.query = IDerivedQuery::cast(it.current());
            if (derived.query.is_null()) return invalid("derived query", __LINE__);
            error_code_t err = processor->getProgram(derived.query, derived.program);
            if (!err.succeeded()) return err;
            for (auto input = derived.program->getInputs(); !input.at_end(); input.next())
                derived.inputs.push_back(placeOf(input.current()));
            m_derived.push_back(std::move(derived));
        }
        return error_code_t::success;
    }

    std::size_t placeOf(const sptr_t<IQuery>& input) {
        const auto known =
            std::find_if(m_inputs.begin(), m_inputs.end(), [&](const sptr_t<IQuery>& other) {
                return IQuery::areEqual(other, input, true, false);
            });
        if (known != m_inputs.end()) return static_cast<std::size_t>(known - m_inputs.begin());
        m_inputs.push_back(input);
        return m_inputs.size() - 1;
    }

    sptr_t<ITableTree> m_tree;
    std::vector<Derived> m_derived;
    std::vector<sptr_t<IQuery>> m_inputs;  // of all derived queries
};

}  // namespace

sptr_t<IDerivedTableTreeHelper> createDerivedTableTreeHelper() {
    return basekit2::make_object<DerivedTableTreeHelper>();
}

}  // namespace facekit_1_x
