#pragma once

#include <map>
#include <store/result_writer.h>
#include <string>
#include <utility>

namespace lanefeed_bench {

// Takes all that a result writer takes and keeps nothing but the keys of rows, so that an import
// into it is the reading alone.
class NullWriter : public lanefeed_runtime::ResultWriter {
public:
    using Cell = lanefeed_runtime::Cell;
    using TableId = lanefeed_runtime::TableId;

    int attribute(TableId id,
                  std::string_view key,
                  const std::vector<Cell>& /*cells*/,
                  bool* added) override {
        const auto [place, isNew] = m_rows.try_emplace({id, std::string(key)}, m_last + 1);
        if (isNew) ++m_last;
        if (added) *added = isNew;
        return place->second;
    }
    int named(TableId id, std::string_view name) override {
        return attribute(id, name, {}, nullptr);
    }
    int find(TableId id, std::string_view key) const override {
        const auto found = m_rows.find({id, std::string(key)});
        return found == m_rows.end() ? -1 : found->second;
    }
    bool update(TableId, int, const Cell&) override { return true; }
    int band(TableId, int id) override { return id; }
    int addBand(TableId, int id, std::int64_t, std::int64_t) override { return id; }
    bool setBandSpan(int, std::int64_t, std::int64_t) override { return true; }
    std::int64_t addArgs(std::string_view) override { return ++m_args; }
    bool add(TableId, const lanefeed_runtime::InstanceRow& row) override {
        m_sum += row.end - row.begin;
        ++m_instances;
        return true;
    }
    bool addPause(std::int64_t, std::int64_t) override { return true; }
    bool cover(std::int64_t) override { return true; }
    bool setFact(std::string_view, std::string_view) override { return true; }
    bool finish(relay2::IProgress*) override { return true; }
    const lanefeed_runtime::StoreError& error() const override { return m_error; }
    std::uint64_t instanceCount() const override { return m_instances; }
    std::uint64_t droppedArgs() const override { return 0; }

    // Of the lengths of all rows, for the work not to be left out.
    std::int64_t sum() const { return m_sum; }

private:
    std::map<std::pair<TableId, std::string>, int> m_rows;
    int m_last = 0;
    std::int64_t m_args = 0;
    std::int64_t m_sum = 0;
    std::uint64_t m_instances = 0;
    lanefeed_runtime::StoreError m_error;
};

}  // namespace lanefeed_bench
