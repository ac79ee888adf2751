// Tested by tests/store/result_database_test.cpp.
#include "store/result_database.h"

#include "store/instance_reader.h"
#include "store/record_query.h"
#include "store/schema.h"

#include <utility>

namespace lanefeed_runtime {

using basekit2::sptr_t;
using storelink1::IAttributeDataRetriever;
using storelink1::IDatabase;
using storelink1::ITimelineDatabase;
using storelink1::ITimelineQuery;
using storelink1::time_interval_t;

namespace {

constexpr int kInstanceKind = 1;
const char* const kGlobalFilter = "global";

}  // namespace

ResultDatabase::ResultDatabase(std::shared_ptr<StoreSession> session,
                               std::shared_ptr<const ResultFacts> facts,
                               std::shared_ptr<InstanceReader> instances,
                               sptr_t<FilterRegistry> filters)
    : m_session(std::move(session)),
      m_facts(std::move(facts)),
      m_instances(std::move(instances)),
      m_filters(std::move(filters)),
      m_lookup([registry = m_filters](const std::string& name) { return registry->filter(name); }),
      m_timeline(openTimelineDatabase(m_instances, m_facts)) {}

unsigned int ResultDatabase::get_type() const {
    return basekit2::type_id_t<IDatabase>::id();
}

basekit2::notype_ptr_t ResultDatabase::adapt_to_pointer(unsigned int type) {
    const basekit2::notype_ptr_t found = IDatabase::adapt_to_pointer(type);
    return found.is_null() ? IPerfDatabase::adapt_to_pointer(type) : found;
}

sptr_t<IDatabase> ResultDatabase::getDatabase(const sptr_t<dataface_1::IInputData>&) {
    return sptr_t<IDatabase>(this);
}

sptr_t<storelink1::IQuery> ResultDatabase::createQuery(const std::string& table, int) {
    return makeRecordQuery(m_session, m_filters, table);
}

sptr_t<ITimelineQuery> ResultDatabase::createTimelineQuery() {
    return makeTimelineQuery(m_timeline, m_lookup);
}

sptr_t<IAttributeDataRetriever> ResultDatabase::createAttributeRetriever(const std::string& table,
                                                                         bool cache) {
    return makeAttributeRetriever(m_session, table, cache ? &m_attributes : nullptr);
}

bool ResultDatabase::getTimeRange(basekit2::u64_t& start, basekit2::u64_t& end, int) {
    start = m_facts->firstTick;
    end = m_facts->lastTick;
    return true;
}

basekit2::u64_t ResultDatabase::getTicksPerSecond() {
    return m_facts->ticksPerSecond;
}

sptr_t<storelink1::IFilterRegistry> ResultDatabase::getFilterRegistry() {
    return m_filters;
}

// Bands and the types of bands have their kinds; every instance table can carry a layer.
bool ResultDatabase::getBandKind(const std::string& band, int& kind) {
    const Catalog& catalog = m_session->catalog;
    const int table = catalog.find(band);
    if (table < 0) return false;
    const TableDef* def = findTable(band);
    const CatalogTable& bands = catalog.table(catalog.bands());
    const int column = bands.column(band);
    const bool isType =
        column >= 0 && bands.columns[static_cast<std::size_t>(column)].references == table;
    const bool isInstance = catalog.table(table).role == TableRole::instance;
    if (table != catalog.bands() && !isType && !isInstance) return false;
    kind = isInstance || def == nullptr ? kInstanceKind : def->bandKind;
    return true;
}

bool ResultDatabase::isTableExist(const std::string& table) {
    const int position = m_session->catalog.find(table);
    return position >= 0 && m_session->catalog.table(position).inFile;
}

sptr_t<ITimelineDatabase> ResultDatabase::getTimelineDatabase() {
    return m_timeline;
}

// One object for each state of "global"; without that filter, the unfiltered one.
sptr_t<ITimelineDatabase> ResultDatabase::getFilteredTimelineDatabase() {
    return filteredTimelineDatabase(m_timeline, kGlobalFilter, m_lookup);
}

basekit2::generic_iterator_t<time_interval_t> ResultDatabase::getPausedIntervals() {
    // Kept with their last tick, handed out half open like the buckets that they are compared with.
    std::vector<time_interval_t> pauses = m_facts->pauses;
    for (time_interval_t& pause : pauses)
        ++pause.end;
    return basekit2::make_iterator(std::move(pauses));
}

void ResultDatabase::clearCaches() {
    const std::lock_guard<std::recursive_mutex> lock(m_session->mutex);
    m_attributes.clear();
}

}  // namespace lanefeed_runtime
