// Small questions to the store: which tables and bands a result holds, the last table of a path,
// the clock, the range of ticks; and the operations that drop what is held. Asked by the viewpoint
// parser, the filters and the client. Tested by tests/provider/binding_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"
#include "common/names.h"
#include "common/tablepath.h"

#include <mutex>

namespace lanefeed_1 {

bool DbiProviderImpl::updateSBFilterData() {
    m_cachedPauseRanges.reset();
    return true;
}

bool DbiProviderImpl::isBandTableExist(const std::string& band) {
    const auto db = getDb(m_result);
    if (db.is_null()) return false;
    const auto query = db->createQuery(names::kBandTable, 2);
    if (!LF_CHECK(query)) return false;
    const auto idx =
        query->addColumn(std::string(names::kBandTable) + names::kTableSeparator + band);
    if (!LF_CHECK_AS(storelink1::InvalidColIdx != idx, "sl1::InvalidColIdx != idx")) return false;
    {
        const storelink1::QueryMutexHolder lock(db.get());
        const auto rs = query->execute();
        if (rs.is_null() || rs->atEnd()) return false;
    }
    return isTableExist(band);
}

bool DbiProviderImpl::isInstanceDataExist(const std::string& instanceTable,
                                          const std::string& /*attributeTable*/) {
    const auto db = getDb(m_result);
    return !db.is_null() && db->isTableExist(instanceTable);
}

bool DbiProviderImpl::isBandTypeSupported(const std::string& band) {
    const auto db = getDb(m_result);
    int kind = 0;
    return !db.is_null() && db->getBandKind(band, kind);
}

bool DbiProviderImpl::isTableExist(const std::string& table) {
    const auto db = getDb(m_result);
    return !db.is_null() && db->isTableExist(getLeafTable(table));
}

int DbiProviderImpl::getBandType(const std::string& band) {
    constexpr int kOtherType = 5;
    const auto db = getDb(m_result);
    int kind = 0;
    if (db.is_null() || !db->getBandKind(band, kind)) return kOtherType;
    switch (kind) {
    case 0: return 2;
    case 2: return 3;
    case 4: return 1;
    case 5: return 4;
    case 7: return 0;
    default: return kOtherType;
    }
}

std::string DbiProviderImpl::getLeafTable(const DicerDataSource* ds) {
    return ds != nullptr ? getLeafTable(ds->m_path) : std::string();
}

std::string DbiProviderImpl::getLeafTable(const std::string& table) {
    const auto db = getDb(m_result);
    if (db.is_null()) return {};
    const auto retriever = db->createAttributeRetriever(table, false);
    std::string rowByAttrTable;
    const bool ret = !retriever.is_null() && retriever->getLeafTable(rowByAttrTable);
    if (!LF_CHECK(ret && !rowByAttrTable.empty())) return {};
    return rowByAttrTable;
}

bool DbiProviderImpl::isGroupingByBand(const DicerDataSource* ds) {
    if (ds == nullptr || ds->m_table != names::kBandTable) return false;
    if (splitPath(ds->m_path).size() != 1) return false;
    // Bands are the leaves of the row chain.
    return ds->m_defaultQuery.is_null() || ds->m_defaultQuery->getExpansionQuery().is_null();
}

basekit2::u64_t DbiProviderImpl::ticksInMs() {
    const auto db = getDb(m_result);
    return LF_CHECK(db) ? db->getTicksPerSecond() / 1000 : 0;
}

bool DbiProviderImpl::getResultTscRange(basekit2::u64_t& start,
                                        basekit2::u64_t& end,
                                        basekit2::u64_t& ticksPerSecond) {
    const auto db = getDb(m_result);
    if (!LF_CHECK(db)) return false;
    ticksPerSecond = db->getTicksPerSecond();
    return db->getTimeRange(start, end, 0);
}

void DbiProviderImpl::clearCaches() {
    m_bandMaps.clear();
    if (m_result.is_null()) return;
    basekit2::sptr_t<storelink1::IPerfDatabase> perfDb;
    const bool ret = dataface_1::lookup(m_result, perfDb);
    if (!LF_CHECK(ret && perfDb)) return;
    const auto db = perfDb->getDatabase(m_result);
    if (!db.is_null()) db->clearCaches();
}

void DbiProviderImpl::filterChanged(const std::string& filterName) {
    if (filterName != names::kGlobalFilter) return;
    const std::lock_guard<tbb::spin_mutex> guard(m_filteredDbLock);
    if (!LF_CHECK(m_result)) return;
    const auto db = getDb(m_result);
    if (!LF_CHECK(db)) return;
    m_filteredDb = db->getFilteredTimelineDatabase();
}

}  // namespace lanefeed_1
