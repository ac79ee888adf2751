// Tables by name, and tables made of other tables.
//
// A filter on time alone chooses among the columns that the database without it holds, in one pass
// in memory; instances keep their true ends and their order.
// Tested by tests/timeline/bucket_query_test.cpp.

#include "timeline/instance_tables.h"

#include <utility>

namespace lanefeed_runtime {

std::shared_ptr<InstanceTable> InstanceTables::table(const std::string& name) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::shared_ptr<InstanceTable>& kept = m_tables[name];
    if (kept == nullptr) kept = std::make_shared<InstanceTable>(m_reader, name, m_filters, m_kept);
    return kept;
}

namespace {

class TouchingReader : public InstanceReader {
public:
    TouchingReader(std::shared_ptr<InstanceTables> tables, std::shared_ptr<const KeptTime> kept)
        : m_tables(std::move(tables)), m_kept(std::move(kept)) {}

    Outcome read(const InstanceRequest& request,
                 InstanceColumns& columns,
                 relay2::IProgress* progress,
                 std::string& error) override {
        return m_tables->table(request.table)
            ->readTouching(*m_kept, request, columns, progress, error);
    }
    basekit2::u64_t rowCount(const std::string& table) override { return source().rowCount(table); }
    bool knowsPath(const std::string& table, const std::string& path) override {
        return source().knowsPath(table, path);
    }
    std::string leafTable(const std::string& table, const std::string& path) override {
        return source().leafTable(table, path);
    }
    std::vector<std::string> texts(const std::string& path) override {
        return source().texts(path);
    }

private:
    InstanceReader& source() const { return m_tables->reader(); }

    const std::shared_ptr<InstanceTables> m_tables;
    const std::shared_ptr<const KeptTime> m_kept;
};

}  // namespace

std::shared_ptr<InstanceReader> makeTouchingReader(std::shared_ptr<InstanceTables> tables,
                                                   std::shared_ptr<const KeptTime> kept) {
    return std::make_shared<TouchingReader>(std::move(tables), std::move(kept));
}

}  // namespace lanefeed_runtime
