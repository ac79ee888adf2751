#pragma once

#include "store/instance_reader.h"
#include "timeline/grouped_instances.h"
#include "timeline/kept_time.h"
#include "timeline/nesting.h"

#include <basekit2/error_code.h>
#include <relay2/progress.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// One instance table in memory: its columns, read once, and the groupings of it that somebody asked
// for. Thread safe; what it hands out never changes. An error code tells of an unknown table or
// path and of a failed read, noResult of a cancelled one.
class InstanceTable {
public:
    // Columns to group by that are no paths.
    static constexpr const char* kBandColumn = "#band";
    static constexpr const char* kAttrColumn = "#attr";

    using Columns = std::vector<std::string>;
    template <class T>
    using Shared = std::shared_ptr<const T>;

    // Pieces of instances, grouped.
    struct Pieces {
        GroupedInstances all;
        GroupedInstances byLevel;                // with the level behind the ids
        std::vector<basekit2::u32_t> positions;  // of the instance of each piece
    };

    // Holds what passes all filters, with its true ends; `kept` is the time that they leave.
    InstanceTable(std::shared_ptr<InstanceReader> reader,
                  std::string name,
                  std::vector<NamedFilter> filters,
                  std::shared_ptr<const KeptTime> kept)
        : m_reader(std::move(reader)),
          m_name(std::move(name)),
          m_filters(std::move(filters)),
          m_kept(std::move(kept)) {}

    basekit2::error_code_t combinations(const Columns& columns,
                                        Shared<Combinations>& out,
                                        relay2::IProgress* progress);
    basekit2::error_code_t grouped(const Columns& columns,
                                   Shared<GroupedInstances>& out,
                                   relay2::IProgress* progress);
    // The unbroken stretches of kept time of each instance, all of one level.
    basekit2::error_code_t stretches(const Columns& columns,
                                     Shared<Pieces>& out,
                                     relay2::IProgress* progress);
    // Instances cut where their depth changes and where kept time ends. Nesting is that of each
    // band.
    basekit2::error_code_t split(const Columns& columns,
                                 Shared<Pieces>& out,
                                 relay2::IProgress* progress);
    // A column of plain values, by position.
    basekit2::error_code_t numbers(const std::string& path,
                                   Shared<std::vector<double>>& out,
                                   relay2::IProgress* progress);

    // As a reader does, of the instances that touch kept time.
    InstanceReader::Outcome readTouching(const KeptTime& kept,
                                         const InstanceRequest& request,
                                         InstanceColumns& columns,
                                         relay2::IProgress* progress,
                                         std::string& error);

    // By position, once any of the above has succeeded.
    basekit2::u32_t attr(std::size_t position) const { return m_base.attr[position]; }
    basekit2::s64_t count(std::size_t position) const { return m_base.count[position]; }
    // The row of the band's own type that the instance belongs to, as an attribute.
    basekit2::u32_t bandAttr(std::size_t position) const;

private:
    // All of them: with m_mutex held.
    InstanceReader::Outcome readMissing(const Columns& columns,
                                        const std::string& number,
                                        relay2::IProgress* progress,
                                        std::string& error);
    basekit2::error_code_t load(const Columns& columns,
                                const std::string& number,
                                relay2::IProgress* progress);
    void keepBase(InstanceColumns& columns, const Columns& bandTypes);
    Columns bandTypePaths() const;
    Combinations combined(const Columns& columns) const;

    const std::shared_ptr<InstanceReader> m_reader;
    const std::string m_name;
    const std::vector<NamedFilter> m_filters;
    const std::shared_ptr<const KeptTime> m_kept;
    std::mutex m_mutex;
    bool m_loaded = false;
    InstanceColumns m_base;
    std::vector<int> m_bandAttr;  // by row id of the band
    std::map<std::string, std::vector<int>> m_ids;
    std::map<std::string, Shared<std::vector<double>>> m_numbers;
    std::map<Columns, Shared<Combinations>> m_combinations;
    std::map<Columns, Shared<GroupedInstances>> m_grouped;
    std::map<Columns, Shared<Pieces>> m_stretches;
    std::map<Columns, Shared<Pieces>> m_split;
};

}  // namespace lanefeed_runtime
