// One pass over the instances of a table. A record costs no memory unless it is drawn: rows are
// found by the hash of their database indexes, a narrow instance by the bin of its row, depth and
// series. Nesting is that of all instances, also of those outside the window. Asked by
// DbiProviderImpl::getIntervalDataForRowLevel. Tested by tests/provider/intervals_test.cpp and
// tests/agreement/intervals_test.cpp.

#include "intervalreader.h"

#include "common/names.h"
#include "common/tablefill.h"
#include "expansionhelper.h"

#include <storelink1/utils.h>

#include <boost/functional/hash.hpp>
#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index_container.hpp>

#include <utility>

namespace lanefeed_1 {

namespace {

using basekit2::s32_t;
using basekit2::u32_t;
using basekit2::u64_t;
using basekit2::variant_t;
using storelink1::IConstRecord;

// Of the instances that share a row, those drawn below it; the others are only counted.
constexpr s32_t kMostChildren = 4;

// Places of the columns in a table.
constexpr std::size_t kDuplicateCount = 3;

struct OverTimeDataInternal {
    std::vector<int> rowIndexes;
    int index = -1;  // position among the rows met
};

using RowContainer = boost::multi_index_container<
    OverTimeDataInternal,
    boost::multi_index::indexed_by<boost::multi_index::hashed_unique<
        boost::multi_index::
            member<OverTimeDataInternal, std::vector<int>, &OverTimeDataInternal::rowIndexes>,
        boost::hash<std::vector<int>>>>>;

std::unique_ptr<TableFill> newTable(BaseProviderImpl& provider) {
    return std::make_unique<TableFill>(
        provider,
        std::initializer_list<TableFill::Column>{{IDicerProvider::startTime, names::kTickValueType},
                                                 {IDicerProvider::endTime, names::kTickValueType},
                                                 {IDicerProvider::dbAttrIdx, ""},
                                                 {IDicerProvider::duplicateCount, ""},
                                                 {IDicerProvider::seriesIdx, ""},
                                                 {IDicerProvider::depth, ""},
                                                 {IDicerProvider::name, ""}});
}

}  // namespace

struct IntervalReader::RowHash {
    RowHash() { rows.max_load_factor(1); }
    RowContainer rows;
};

struct IntervalReader::Row {
    std::vector<int> dbIndexes;
    NestingDepth nesting;
    std::unique_ptr<TableFill> table;  // null before the first instance in the window
};

struct IntervalReader::Instance {
    u64_t start = 0;
    u64_t end = 0;
    s32_t attr = 0;
    std::size_t row = 0;
    unsigned long series = 0;
    int depth = 0;
};

IntervalReader::IntervalReader(BaseProviderImpl& provider,
                               const QueryParam& param,
                               IntervalColumns columns,
                               const ExpansionHelper& series,
                               basekit2::sptr_t<dataface_1::IManipulatorMapper> mapper)
    : m_provider(provider),
      m_columns(std::move(columns)),
      m_series(series),
      m_mapper(std::move(mapper)),
      m_taskMode(param.taskMode),
      m_bins(param.startTime, param.endTime, param.binCount),
      m_noName(""),
      m_rowHash(std::make_unique<RowHash>()),
      m_rows(m_columns.rows.empty() ? 1 : 0),
      m_rowIndexes(m_columns.rows.size()) {}

IntervalReader::~IntervalReader() = default;

void IntervalReader::add(const IConstRecord& record) {
    Instance instance;
    if (!locate(record, instance)) {
        m_hasEmptyRefs = true;
        return;
    }
    Row& row = m_rows[instance.row];
    if (m_taskMode) instance.depth = row.nesting.enter(instance.start, instance.end);
    if (!m_bins.touches(instance.start, instance.end)) return;
    if (row.table == nullptr) row.table = newTable(m_provider);
    place(instance, record);
}

bool IntervalReader::locate(const IConstRecord& record, Instance& instance) {
    instance.start = m_provider.subtractBase(record[m_columns.start].get<u64_t>());
    instance.end = m_provider.subtractBase(record[m_columns.end].get<u64_t>());
    const variant_t& attr = record[m_columns.attr];
    if (attr.is_null()) return false;
    instance.attr = attr.get<s32_t>();
    if (!m_columns.rows.empty() && !findRow(record, instance.row)) return false;
    return m_series.getSeriesIdx(&record, instance.series);
}

bool IntervalReader::findRow(const IConstRecord& record, std::size_t& row) {
    for (std::size_t i = 0; i < m_columns.rows.size(); ++i) {
        m_rowIndexes[i] = storelink1::utils::variantToIndex(record[m_columns.rows[i]]);
        if (m_rowIndexes[i] == storelink1::Index::NoValue) return false;
    }
    auto found = m_rowHash->rows.find(m_rowIndexes);
    if (found == m_rowHash->rows.end()) {
        found = m_rowHash->rows.insert({m_rowIndexes, static_cast<int>(m_rows.size())}).first;
        m_rows.emplace_back().dbIndexes = m_rowIndexes;
    }
    row = static_cast<std::size_t>(found->index);
    return true;
}

void IntervalReader::place(const Instance& instance, const IConstRecord& record) {
    const int bin = m_bins.binOf(instance.start, instance.end);
    if (bin < 0)
        draw(instance, record, nullptr);
    else
        placeInCell(instance, bin, record);
}

void IntervalReader::placeInCell(const Instance& instance, int bin, const IConstRecord& record) {
    IntervalCell& cell =
        m_cells.at(instance.row, static_cast<std::size_t>(instance.depth), instance.series, bin);
    if (cell.row == nullptr) {
        cell.row = draw(instance, record, nullptr).get();
        return;
    }
    if (cell.further < kMostChildren) draw(instance, record, cell.row);
    ++cell.further;  // written by finish: most are counted only, and need not touch their row
}

IntervalReader::TableRow IntervalReader::draw(const Instance& instance,
                                              const IConstRecord& record,
                                              const TableRow& parent) {
    TableRow row = m_rows[instance.row].table->addRow(
        {instance.start, instance.end, instance.attr, s32_t{0}, static_cast<u32_t>(instance.series),
         s32_t{instance.depth}, nameOf(record)},
        parent);
    variant_t color;
    if (!m_mapper.is_null() &&
        basekit2::is_success(m_mapper->map(record[m_columns.color], color,
                                           dataface_1::IManipulatorMapper::modeColor)))
        row->setContent(nullptr, dataface_1::ccStyle, color);
    return row;
}

variant_t IntervalReader::nameOf(const IConstRecord& record) const {
    if (!m_taskMode) return m_noName;
    const variant_t& name = record[m_columns.name];
    // A text is its own printed form, and is shared.
    return name.get_type() == basekit2::vtString
               ? name
               : variant_t(storelink1::utils::variantToString(name));
}

void IntervalReader::finish(std::vector<DbiProviderImpl::InstanceDataInternal>& result) const {
    m_cells.forEach([this](std::size_t row, const IntervalCell& cell) {
        if (cell.further > 0) m_rows[row].table->setCell(*cell.row, kDuplicateCount, cell.further);
    });
    const std::size_t first = m_columns.rows.empty() ? 0 : result.size();
    result.resize(first + m_rows.size());
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        auto& entry = result[first + i];
        entry.rowIndexes = m_rows[i].dbIndexes;
        entry.table = m_rows[i].table == nullptr ? nullptr : m_rows[i].table->table();
    }
}

}  // namespace lanefeed_1
