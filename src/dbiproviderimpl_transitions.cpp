// Lines that arrive at one row, with the row that each comes from. One pass over what arrives on
// the bands of the row; a map that is read once turns the band where a line leaves into a row. A
// line between rows of different parents, or from a row to itself, is not drawn. What falls on the
// same cell of the grid of bins, three by three, is one line that counts the others and keeps the
// first four, so that the lines of two rows are bounded by the bins. Cancelled between two records,
// with what was read as the answer. Tested by tests/provider/transitions_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"
#include "common/names.h"
#include "common/rowbywalk.h"
#include "rowsummarytabletree.h"
#include "transition.h"

#include <storelink1/utils.h>

#include <boost/multi_index/composite_key.hpp>
#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index_container.hpp>

#include <optional>

namespace lanefeed_1 {

namespace {

namespace mi = boost::multi_index;

using basekit2::s16_t;
using basekit2::s32_t;
using basekit2::u16_t;
using basekit2::u64_t;
using storelink1::utils::variantToIndex;

constexpr s32_t kBinsPerCell = 3;

// The window of a request and its bins.
struct LineWindow {
    u64_t start;
    u64_t end;
    u64_t binWidth;  // 0: nothing is shown

    static LineWindow of(const QueryParam& param) {
        const u64_t span = param.endTime - param.startTime;
        return {param.startTime, param.endTime, param.binCount != 0 ? span / param.binCount : 0};
    }
    bool shows(u64_t leaves, u64_t arrives) const {
        const bool before = leaves < start && arrives < start;
        const bool after = leaves > end && arrives > end;
        return !before && !after;
    }
    // First bin of the cell. A tick before the window wraps around, and what doesn't fit into the
    // narrow types is cut: this is a key, and no place on the screen.
    s16_t cell(u64_t tick) const {
        const auto bin = static_cast<s32_t>((tick - start) / binWidth);
        return static_cast<s16_t>(bin - bin % kBinsPerCell);
    }
};

// The answer, and which of its lines stands for a cell between two rows.
class LineCells {
public:
    explicit LineCells(std::vector<Transition>& lines) : m_lines(lines) {}

    void add(Transition line) {
        line.index = static_cast<int>(m_lines.size());
        const auto [place, isNew] = m_cells.insert(line);
        if (isNew) {
            m_lines.push_back(line);
            return;
        }
        Transition& first = m_lines[static_cast<std::size_t>(place->index)];
        if (first.duplicateCount < Transition::kKeptDuplicates)
            first.duplicates[first.duplicateCount] = {line.start, line.end, line.attr};
        ++first.duplicateCount;
    }

private:
    using Key = mi::composite_key<Transition,
                                  mi::member<Transition, s16_t, &Transition::startBin>,
                                  mi::member<Transition, s16_t, &Transition::endBin>,
                                  mi::member<Transition, int, &Transition::startRow>,
                                  mi::member<Transition, int, &Transition::endRow>>;

    std::vector<Transition>& m_lines;
    mi::multi_index_container<Transition, mi::indexed_by<mi::hashed_unique<Key>>> m_cells;
};

// The rows that stand for bands: their level, and the column of the store that tells bands apart.
// Without such a grouping the level is the last one, -1 where there is none at all.
struct BandLevel {
    int level = -1;
    std::string column;
};

BandLevel findBandLevel(const DicerDataSource* rowBy) {
    BandLevel found;
    for (RowByWalk walk(rowBy); !walk.atEnd(); walk.next()) {
        found.level = walk.level();
        const auto info = walk.info();
        if (info.is_null() || info->getInstanceTable() != names::kBandTable) continue;
        const std::string type = info->getAttributeTable();
        if (type.find(names::kPathSeparator) != std::string::npos) continue;
        found.column = names::kBandTable + (names::kTableSeparator + type);
        break;
    }
    return found;
}

struct LineColumns {
    u16_t arrival;
    u16_t attr;
    u16_t departure;
    u16_t sourceBand;
};

// Adds the columns of a line and keeps to those that arrive on the bands of one thing.
std::optional<LineColumns> selectLines(storelink1::IQuery& query,
                                       const std::string& attrPath,
                                       const std::string& bandColumn,
                                       int bandObject) {
    const LineColumns columns{query.addColumn(names::kEndColumn), query.addColumn(attrPath),
                              query.addColumn(names::kSourceStartColumn),
                              query.addColumn(names::kSourceBandColumn)};
    for (const u16_t attrId :
         {columns.arrival, columns.attr, columns.departure, columns.sourceBand})
        if (!LF_CHECK_AS(storelink1::InvalidColIdx != attrId, "sl1::InvalidColIdx != attrId"))
            return std::nullopt;
    const u16_t condIdx = query.addCondition(bandColumn, 1, bandObject);
    if (!LF_CHECK_AS(storelink1::InvalidCondIdx != condIdx, "sl1::InvalidCondIdx != condIdx"))
        return std::nullopt;
    return columns;
}

// Turns records into the lines of one row.
class LineReader {
public:
    // target: the row where they arrive. bandToAttr: what the rows of the level are told apart by,
    // for each band. All but the columns are kept by reference.
    LineReader(const BaseProviderImpl& provider,
               const RowSummaryTableTree& rows,
               RowSummaryTableRow& target,
               const std::vector<int>& bandToAttr,
               const LineColumns& columns)
        : m_provider(provider),
          m_rows(rows),
          m_target(target),
          m_bandToAttr(bandToAttr),
          m_columns(columns) {}

    void take(const storelink1::IConstRecord& record, const LineWindow& window, LineCells& cells) {
        const int band = variantToIndex(record[m_columns.sourceBand]);
        RowSummaryTableRow* const source = rowOfBand(band);
        if (source == nullptr) {
            m_unmatched += std::to_string(band) + ", ";
            return;
        }
        if (!isDrawnFrom(*source)) return;
        Transition line;
        line.start = tick(record, m_columns.departure);
        line.end = tick(record, m_columns.arrival);
        if (!window.shows(line.start, line.end)) return;
        line.attr = variantToIndex(record[m_columns.attr]);
        line.startRow = source->getSummaryId();
        line.endRow = m_target.getSummaryId();
        line.startBin = window.cell(line.start);
        line.endBin = window.cell(line.end);
        cells.add(line);
    }

    // Bands that no row stands for, as far as lines leave from them.
    void reportUnmatched() const {
        if (m_unmatched.empty() || !isLogged(logError)) return;
        logText(logError,
                "Unmatched data rows while getting transitions for bands: (" + m_unmatched + ")",
                LF_HERE);
    }

private:
    RowSummaryTableRow* rowOfBand(int band) const {
        const auto at = static_cast<std::size_t>(band);
        if (band < 0 || at >= m_bandToAttr.size()) return nullptr;
        return m_rows.getRowByDbId(m_target.getLevel(), m_bandToAttr[at]);
    }
    bool isDrawnFrom(RowSummaryTableRow& source) const {
        return source.getParent().get() == m_target.getParent().get() &&
               source.getSummaryId() != m_target.getSummaryId();
    }
    u64_t tick(const storelink1::IConstRecord& record, u16_t column) const {
        return m_provider.subtractBase(record[column].get<u64_t>());
    }

    const BaseProviderImpl& m_provider;
    const RowSummaryTableTree& m_rows;
    RowSummaryTableRow& m_target;
    const std::vector<int>& m_bandToAttr;
    LineColumns m_columns;
    std::string m_unmatched;
};

}  // namespace

bool DbiProviderImpl::getTransitionData(const QueryParam& param,
                                        std::vector<Transition>& transitions) {
    const DicerDataSource* const rowByDS = param.rowByDS;
    if (!LF_CHECK(rowByDS) || !LF_CHECK(m_rowSummaryTable)) return false;
    const DicerDataSource* const dds = param.dds;
    if (!LF_CHECK(dds)) return false;
    const auto window = LineWindow::of(param);
    if (window.binWidth == 0) return true;
    const auto db = getDb(m_result);
    if (db.is_null()) return false;
    const auto query = db->createQuery(dds->m_table, 0);
    if (!LF_CHECK(query)) return false;
    query->useFilters();
    query->addFilter(names::kGlobalFilter);
    const auto [level, bandColumn] = findBandLevel(rowByDS);
    if (!LF_CHECK(level >= 0 && level <= m_rowSummaryTable->getRowMaxLevel())) return false;
    std::vector<int>& bandToAttr = m_bandMaps[bandColumn];
    if (bandToAttr.empty()) {
        if (!readBandMap(names::kBandTable, bandColumn, "Failed to get band->attr mapping.",
                         bandToAttr))
            return isCanceled();
        if (isCanceled()) {
            bandToAttr.clear();  // it may be cut
            return true;
        }
    }
    RowSummaryTableRow* const summaryRow = m_rowSummaryTable->getRow(param.rowLevel);
    if (!LF_CHECK(summaryRow)) return false;
    if (summaryRow->getLevel() != level) return true;
    const auto columns = selectLines(*query, dds->m_path, bandColumn, summaryRow->getDbIndex());
    if (!columns) return false;

    const storelink1::QueryMutexHolder lock(db.get());
    std::string error;
    std::string sql;
    const auto rs = query->execute(m_progress, error, sql);
    if (isCanceled()) return true;
    if (!LF_CHECK_AS(rs, "rs",
                     "Failed to get transition data." + (" Error: " + error) + ", SQL: " + sql))
        return false;
    LineReader reader(*this, *m_rowSummaryTable, *summaryRow, bandToAttr, *columns);
    LineCells cells(transitions);
    for (; !rs->atEnd() && !isCanceled(); rs->next())
        reader.take(*rs->current(), window, cells);
    reader.reportUnmatched();
    return true;
}

}  // namespace lanefeed_1
