#pragma once

#include "common/intervalcells.h"
#include "dbiproviderimpl.h"

#include <dataface_1/manipulator.h>
#include <storelink1/query.h>

#include <memory>
#include <vector>

namespace lanefeed_1 {

class ExpansionHelper;
class TableFill;

// Where the fields of an instance stand in a record.
struct IntervalColumns {
    basekit2::u16_t start = storelink1::InvalidFieldId;
    basekit2::u16_t end = storelink1::InvalidFieldId;
    basekit2::u16_t attr = storelink1::InvalidFieldId;
    basekit2::u16_t name = storelink1::InvalidFieldId;   // of tasks only
    basekit2::u16_t color = storelink1::InvalidFieldId;  // of a request with colours only
    std::vector<basekit2::u16_t> rows;  // database indexes, outermost first; none: one row for all
};

// Turns records of instances, given one after the other, into one table for each row: a table row
// for each instance that can be seen by itself, and one for all that lie in the same bin, with the
// first few of them below it and their number. Lives for one request on its thread. What it is
// given outlives it.
class IntervalReader {
public:
    // mapper: colours by attribute value; may be null.
    IntervalReader(BaseProviderImpl& provider,
                   const QueryParam& param,
                   IntervalColumns columns,
                   const ExpansionHelper& series,
                   basekit2::sptr_t<dataface_1::IManipulatorMapper> mapper);
    ~IntervalReader();
    IntervalReader(const IntervalReader&) = delete;
    IntervalReader& operator=(const IntervalReader&) = delete;

    // False when the window has fewer ticks than bins: nothing can be placed then.
    bool canPlace() const { return !m_bins.isEmpty(); }
    void add(const storelink1::IConstRecord& record);
    // Records were left out because they refer to nothing.
    bool hasEmptyRefs() const { return m_hasEmptyRefs; }
    // Appends the rows that were met, in that order; without row columns it fills the first entry.
    // Tables are null for rows without an instance in the window.
    void finish(std::vector<DbiProviderImpl::InstanceDataInternal>& result) const;

private:
    using TableRow = basekit2::sptr_t<facekit_1_x::IWriteableTableRow>;
    struct RowHash;
    struct Row;
    struct Instance;

    // False when the record refers to nothing.
    bool locate(const storelink1::IConstRecord& record, Instance& instance);
    bool findRow(const storelink1::IConstRecord& record, std::size_t& row);
    void place(const Instance& instance, const storelink1::IConstRecord& record);
    void placeInCell(const Instance& instance, int bin, const storelink1::IConstRecord& record);
    TableRow draw(const Instance& instance,
                  const storelink1::IConstRecord& record,
                  const TableRow& parent);
    basekit2::variant_t nameOf(const storelink1::IConstRecord& record) const;

    BaseProviderImpl& m_provider;
    const IntervalColumns m_columns;
    const ExpansionHelper& m_series;
    const basekit2::sptr_t<dataface_1::IManipulatorMapper> m_mapper;
    const bool m_taskMode;
    const IntervalBins m_bins;
    const basekit2::variant_t m_noName;
    std::unique_ptr<RowHash> m_rowHash;
    std::vector<Row> m_rows;
    std::vector<int> m_rowIndexes;  // of the record at hand
    IntervalCells m_cells;
    bool m_hasEmptyRefs = false;
};

}  // namespace lanefeed_1
