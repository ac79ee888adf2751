#pragma once

#include "store/instance_reader.h"
#include "timeline/instance_table.h"
#include "timeline/kept_time.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// The instance tables of a timeline database by name, each read when it is first asked for. Thread
// safe.
class InstanceTables {
public:
    // Holds what passes all filters; `kept` is the time that they leave.
    InstanceTables(std::shared_ptr<InstanceReader> reader,
                   std::vector<NamedFilter> filters,
                   std::shared_ptr<const KeptTime> kept)
        : m_reader(std::move(reader)), m_filters(std::move(filters)), m_kept(std::move(kept)) {}

    // A table that does not exist fails when it is read.
    std::shared_ptr<InstanceTable> table(const std::string& name);
    InstanceReader& reader() const { return *m_reader; }

private:
    const std::shared_ptr<InstanceReader> m_reader;
    const std::vector<NamedFilter> m_filters;
    const std::shared_ptr<const KeptTime> m_kept;
    std::mutex m_mutex;  // never held during a read
    std::map<std::string, std::shared_ptr<InstanceTable>> m_tables;
};

// Reads the instances of other tables that touch kept time. They come from memory, where they are
// already or then stay, so that a filter on time alone costs no second read of the file.
std::shared_ptr<InstanceReader> makeTouchingReader(std::shared_ptr<InstanceTables> tables,
                                                   std::shared_ptr<const KeptTime> kept);

}  // namespace lanefeed_runtime
