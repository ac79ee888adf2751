// Single attribute values by row id, for tooltips, names and bands.
// Tested by tests/store/path_test.cpp.
#include "store/attribute_retriever.h"

#include "store/record_set.h"
#include "store/sql_text.h"

#include <utility>

namespace lanefeed_runtime {

using basekit2::variant_t;

namespace {

// Row ids are dense; a file whose ids are scattered is read row by row instead.
constexpr basekit2::s64_t kMostCachedIds = basekit2::s64_t{1} << 24;

struct AttributePath {
    int table = -1;
    bool isKnown = false;  // the rest of the path
    StorePath path;
};

AttributePath parse(const Catalog& catalog, const std::string& text) {
    AttributePath out;
    const std::size_t end = text.find_first_of(".:");
    out.table = catalog.find(text.substr(0, end));
    if (out.table < 0) return out;
    const std::size_t rest = end == std::string::npos ? end : text.find_first_not_of(".:", end);
    const std::string path =
        rest == std::string::npos ? std::string(columns::kRowId) : text.substr(rest);
    out.isKnown = resolvePath(catalog, out.table, path, out.path);
    return out;
}

SelectText selectOf(const Catalog& catalog, const AttributePath& path) {
    SelectText select(catalog, path.table);
    StorePath row;
    resolvePath(catalog, path.table, columns::kRowId, row);
    select.addField(row);
    select.addField(path.path);
    return select;
}

// A path that ends at the row itself is the field of the row id.
int valueField(const AttributePath& path) {
    return path.path.hops.empty() && path.path.column == StorePath::kRowIdColumn ? 0 : 1;
}

class Retriever : public storelink1::IAttributeDataRetriever {
public:
    Retriever(std::shared_ptr<StoreSession> session,
              AttributePath path,
              std::shared_ptr<const AttributeColumn> column)
        : m_session(std::move(session)), m_path(std::move(path)), m_column(std::move(column)) {
        if (m_path.isKnown) m_sql = selectOf(m_session->catalog, m_path).rowText();
    }

    ~Retriever() override {
        const std::lock_guard<std::recursive_mutex> lock(m_session->mutex);
        m_statement = Statement();
    }

    bool getValue(int id, variant_t& value) override {
        const auto at = static_cast<std::size_t>(id);
        if (id < 0 || !m_path.isKnown) return false;
        if (m_column == nullptr) return readValue(id, value);
        if (at >= m_column->exists.size() || !m_column->exists[at]) return false;
        value = m_column->values[at];
        return true;
    }

    bool getLeafTable(std::string& table) override {
        if (!m_path.isKnown) return false;
        table = m_session->catalog.table(m_path.path.leafTable).name;
        return true;
    }

private:
    bool readValue(int id, variant_t& value) {
        const std::lock_guard<std::recursive_mutex> lock(m_session->mutex);
        if (!m_session->catalog.table(m_path.table).inFile) return false;
        if (!m_statement) m_statement = m_session->connection->prepare(m_sql);
        if (!m_statement) return false;
        m_statement.bind(1, basekit2::s64_t{id});
        const Statement::Step step = m_statement.step();
        const bool found = step == Statement::Step::row;
        if (found) readVariant(m_statement, valueField(m_path), m_path.path.kind, value);
        if (step == Statement::Step::failed) reportBrokenRead(*m_session, m_sql);
        m_statement.reset();
        return found;
    }

    std::shared_ptr<StoreSession> m_session;
    AttributePath m_path;
    std::shared_ptr<const AttributeColumn> m_column;
    std::string m_sql;
    Statement m_statement;
};

std::shared_ptr<const AttributeColumn> readColumn(StoreSession& session,
                                                  const AttributePath& path) {
    auto column = std::make_shared<AttributeColumn>();
    if (!session.catalog.table(path.table).inFile) return column;
    const SelectText select = selectOf(session.catalog, path);
    const std::string sql = select.text();
    Statement rows = session.connection->prepare(sql);
    if (!rows) return nullptr;
    Statement::Step step = rows.step();
    for (; step == Statement::Step::row; step = rows.step()) {
        const basekit2::s64_t id = rows.integer(0);
        if (id < 0) continue;
        if (id >= kMostCachedIds) return nullptr;
        const auto at = static_cast<std::size_t>(id);
        column->values.resize(at + 1);
        column->exists.resize(at + 1, false);
        readVariant(rows, valueField(path), path.path.kind, column->values[at]);
        column->exists[at] = true;
    }
    if (step == Statement::Step::done) return column;
    reportBrokenRead(session, sql);
    return nullptr;
}

bool mayBeCached(const CatalogTable& table) {
    return table.role == TableRole::attribute || table.role == TableRole::band;
}

}  // namespace

std::shared_ptr<const AttributeColumn> readAttributeColumn(StoreSession& session,
                                                           const StorePath& path) {
    const std::lock_guard<std::recursive_mutex> lock(session.mutex);
    return readColumn(session, {path.table, true, path});
}

std::shared_ptr<const AttributeColumn> readAttributeColumn(StoreSession& session,
                                                           const std::string& path) {
    const std::lock_guard<std::recursive_mutex> lock(session.mutex);
    const AttributePath parsed = parse(session.catalog, path);
    return parsed.isKnown ? readColumn(session, parsed) : nullptr;
}

basekit2::sptr_t<storelink1::IAttributeDataRetriever> makeAttributeRetriever(
    const std::shared_ptr<StoreSession>& session, const std::string& path, AttributeCache* cache) {
    const std::lock_guard<std::recursive_mutex> lock(session->mutex);
    AttributePath parsed = parse(session->catalog, path);
    if (parsed.table < 0) return nullptr;
    std::shared_ptr<const AttributeColumn> column;
    if (cache != nullptr && parsed.isKnown && mayBeCached(session->catalog.table(parsed.table))) {
        std::shared_ptr<const AttributeColumn>& held = (*cache)[path];
        if (held == nullptr) held = readColumn(*session, parsed);
        column = held;
    }
    return basekit2::make_object<Retriever>(session, std::move(parsed), std::move(column));
}

}  // namespace lanefeed_runtime
