// Tested by tests/store/open_store_test.cpp (damaged files).
#include "store/store_session.h"

#include "store/dialect.h"

#include <log4cplus/logger.h>

namespace lanefeed_runtime {

bool StoreSession::hasBandsOfType(int instanceTable, int bandColumn) {
    const CatalogTable& bands = catalog.table(catalog.bands());
    const auto [known, isNew] = m_bandTypes.try_emplace(instanceTable, bands.columns.size(), true);
    std::vector<bool>& types = known->second;
    if (!isNew) return types[static_cast<std::size_t>(bandColumn)];
    std::string sql;
    for (const CatalogColumn& column : bands.columns)
        sql += (sql.empty() ? "select max(" : ", max(") + dialect::quoted(column.name) + ")";
    sql += " from " + dialect::quoted(bands.name) + " where \"rowid\" in (select " +
           dialect::quoted(columns::kBand) + " from " +
           dialect::quoted(catalog.table(instanceTable).name) + ")";
    Statement greatest = connection->prepare(sql);
    if (greatest && greatest.step() == Statement::Step::row) {
        for (std::size_t i = 0; i < types.size(); ++i)
            types[i] = !greatest.isNull(static_cast<int>(i));
    } else {
        reportBrokenRead(*this, sql);
    }
    return types[static_cast<std::size_t>(bandColumn)];
}

void reportBrokenRead(const StoreSession& session,
                      const std::string& sql,
                      const std::string& reason) {
    const std::string why = reason.empty() ? session.connection->message() : reason;
    session.brokenReads->add(why);
    const log4cplus::Logger logger = log4cplus::Logger::getInstance("lanefeed");
    const auto log = [&logger](log4cplus::LogLevel level, const std::string& text) {
        if (logger.isEnabledFor(level)) logger.forcedLog(level, text, __FILE__, __LINE__);
    };
    log(log4cplus::ERROR_LOG_LEVEL,
        session.file + ": a read broke off, what was shown of it is not all: " + why +
            "; import the trace again if the file is damaged");
    log(log4cplus::DEBUG_LOG_LEVEL, "the read that broke off: " + sql);
}

}  // namespace lanefeed_runtime
