// Splits records into series by the values of attributes. The values of each level are read once;
// after that a record costs one table read and one multiply-add per level. A restricted level
// filters both the read of its values and the query of the records, by a filter that is registered
// under a name of this helper. Asked by DbiProviderImpl::applyExpansionHelper. Tested by
// tests/provider/expansions_test.cpp.

#include "expansionhelper.h"

#include "common/check.h"
#include "common/seriesname.h"
#include "common/tablepath.h"
#include "dbiproviderimpl.h"

#include <basekit2/error_code.h>
#include <storelink1/database.h>
#include <storelink1/utils.h>

#include <cstdint>

namespace lanefeed_1 {

namespace {

using basekit2::s32_t;
using basekit2::sptr_t;
using basekit2::u16_t;
using basekit2::u32_t;
using basekit2::u64_t;
using dataface_1::IQueryFilter;
using storelink1::IQuery;
using storelink1::OverTimeDataSeriesMetadata;

constexpr int kAttributeMode = 2;  // of createQuery
constexpr s32_t kUnknown = -1;

// Null also where the result has no registry.
sptr_t<IQueryFilter> restrictionsFilter(const DbiProviderImpl& provider,
                                        const ExpansionLevel& level) {
    try {
        return provider.createRestrictionsFilter(level.table, level.path, level.attr,
                                                 level.restrictions);
    } catch (const basekit2::error_code_t&) {
        return {};
    }
}

// Place of a value; kUnknown for one that the level has not.
s32_t positionOf(const ExpansionLevel& level, int id) {
    // One test for both ends: a negative id is beyond any size.
    const auto at = static_cast<u32_t>(id);
    return at < level.positions.size() ? level.positions[at] : kUnknown;
}

// Next combination, the last level first; behind the last one comes the first again.
void advance(std::vector<std::size_t>& counters, const std::vector<ExpansionLevel>& levels) {
    for (std::size_t i = counters.size(); i-- > 0;) {
        if (++counters[i] < levels[i].values.size()) return;
        counters[i] = 0;
    }
}

}  // namespace

void ExpansionLevel::addValue(int id, const std::string& name) {
    const auto at = static_cast<std::size_t>(id);
    values.push_back({id, name});
    if (at >= positions.size()) positions.resize(at + 1, kUnknown);
    positions[at] = static_cast<s32_t>(values.size() - 1);
}

std::string getExpansionPath(const ExpansionLevel& level) {
    return joinTablePath(level.table, level.path);
}

ExpansionHelper::ExpansionHelper(const sptr_t<storelink1::IDatabase>& db, DbiProviderImpl* provider)
    : m_db(db), m_provider(provider) {}

bool ExpansionHelper::addExpansion(const std::string& table,
                                   const std::string& path,
                                   const std::string& attr,
                                   const std::vector<std::string>& restrictions) {
    ExpansionLevel level{table, path, attr, restrictions, {}, {}};
    std::string nameColumnPath = path;
    concatPaths(nameColumnPath, attr);
    const std::vector<std::string> parts = splitPath(path);
    if (!LF_CHECK(!parts.empty())) return false;
    if (m_db.is_null()) return false;
    const sptr_t<IQuery> query = m_db->createQuery(parts[0], kAttributeMode);
    if (!LF_CHECK(query)) return false;

    const u16_t id = query->addColumn(path);
    if (!LF_CHECK_AS(storelink1::InvalidColIdx != id, "sl1::InvalidColIdx != id")) return false;
    const bool ret = query->addOrderBy(path, false) && query->addKeyColumn(path);
    if (!LF_CHECK(ret)) return false;
    const u16_t nameId = query->addColumn(nameColumnPath);
    if (!LF_CHECK_AS(storelink1::InvalidColIdx != nameId, "sl1::InvalidColIdx != nameId"))
        return false;
    if (!restrict(level, *query) || !readValues(*query, id, nameId, level)) return false;
    m_levels.push_back(std::move(level));
    return true;
}

// Lets only the values of the level pass; any value where it has no restrictions.
bool ExpansionHelper::restrict(const ExpansionLevel& level, IQuery& query) const {
    if (level.restrictions.empty()) return true;
    const sptr_t<IQueryFilter> qf = restrictionsFilter(*m_provider, level);
    if (!LF_CHECK(qf)) return false;
    const auto filterRegistry = m_provider->getFilterRegistry();
    if (!LF_CHECK(filterRegistry)) return false;
    const auto address = reinterpret_cast<std::uintptr_t>(this);
    const std::string name = "restrictions_filter_" + level.path + "_" + std::to_string(address);
    // An earlier helper at the same address may have left one.
    filterRegistry->removeFilter(name);
    filterRegistry->setQueryFilter(name, qf);
    query.addFilter(name);
    return true;
}

bool ExpansionHelper::readValues(IQuery& query,
                                 u16_t id,
                                 u16_t nameId,
                                 ExpansionLevel& level) const {
    const storelink1::QueryMutexHolder lock(m_db.get());
    std::string error;
    std::string sql;
    const auto rs = query.execute(nullptr, error, sql);
    if (!LF_CHECK_AS(rs && !rs->atEnd(), "rs && !rs->atEnd()",
                     "Failed to get expansion rowset. Error: " + error + ", SQL: " + sql))
        return false;
    for (; !rs->atEnd(); rs->next()) {
        const storelink1::IConstRecord& record = *rs->current();
        const int index = storelink1::utils::variantToIndex(record[id]);
        if (index >= 0) level.addValue(index, storelink1::utils::variantToString(record[nameId]));
    }
    return true;
}

bool ExpansionHelper::applyExpansions(const sptr_t<IQuery>& query) {
    m_seriesNum = 1;
    m_columns.clear();
    m_emptySeries.clear();
    for (const ExpansionLevel& level : m_levels) {
        if (!query.is_null()) {
            const u16_t id = query->addColumn(getExpansionPath(level));
            if (!LF_CHECK_AS(storelink1::InvalidColIdx != id, "sl1::InvalidColIdx != id"))
                return false;
            m_columns.push_back(id);
            if (!restrict(level, *query)) return false;
        }
        m_seriesNum *= level.values.size();
    }
    makeEmptySeries();
    makeStrides();
    return true;
}

void ExpansionHelper::makeEmptySeries() {
    if (m_levels.empty()) {
        m_emptySeries.push_back({m_defaultSeriesName, {}, {}});
        return;
    }
    m_emptySeries.reserve(m_seriesNum);
    std::vector<std::size_t> counters(m_levels.size(), 0);
    for (u64_t i = 0; i < m_seriesNum; ++i) {
        OverTimeDataSeriesMetadata series;
        for (std::size_t level = 0; level < m_levels.size(); ++level) {
            const ExpansionLevel::value_t& value = m_levels[level].values[counters[level]];
            series.nameParts.push_back(value.name);
            series.idParts.push_back(value.id);
        }
        series.name = seriesName(series.nameParts);
        m_emptySeries.push_back(std::move(series));
        advance(counters, m_levels);
    }
}

void ExpansionHelper::makeStrides() {
    m_strides.assign(m_levels.size(), 1);
    u32_t stride = 1;
    for (std::size_t i = m_levels.size(); i-- > 0;) {
        m_strides[i] = stride;
        stride *= static_cast<u32_t>(m_levels[i].values.size());
    }
}

bool ExpansionHelper::getSeriesIdx(const storelink1::IConstRecord* record,
                                   unsigned long& index) const {
    index = 0;
    if (m_columns.size() != m_levels.size()) return false;  // applied to no query
    bool isKnown = true;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        const int expansionId = storelink1::utils::variantToIndex((*record)[m_columns[i]]);
        if (!LF_CHECK_AS(storelink1::Index::NoValue != expansionId,
                         "sl1::Index::NoValue != expansionId"))
            return false;
        const s32_t position = positionOf(m_levels[i], expansionId);
        // The levels behind an unknown value are looked at all the same: one without is reported.
        isKnown = isKnown && position >= 0;
        index += m_strides[i] * static_cast<u64_t>(position);
    }
    if (!isKnown) return false;
    const unsigned long seriesIndex = index;
    return LF_CHECK(seriesIndex < m_emptySeries.size());
}

bool ExpansionHelper::getSeriesIdx(const std::vector<int>& ids, unsigned long& index) const {
    index = 0;
    for (std::size_t j = 0; j < ids.size(); ++j) {
        const int expansionId = ids[j];
        if (!LF_CHECK_AS(storelink1::Index::NoValue != expansionId,
                         "sl1::Index::NoValue != expansionId"))
            return false;
        const s32_t position =
            j < m_levels.size() ? positionOf(m_levels[j], expansionId) : kUnknown;
        if (position < 0) return false;
        index += m_strides[j] * static_cast<u64_t>(position);
    }
    const unsigned long seriesIndex = index;
    return LF_CHECK(seriesIndex < m_emptySeries.size());
}

void ExpansionHelper::getEmptySeries(std::vector<OverTimeDataSeriesMetadata>& out) const {
    LF_CHECK_AS(!m_emptySeries.empty(), "m_emptySeries.size()");
    if (&out != &m_emptySeries) out = m_emptySeries;
}

}  // namespace lanefeed_1
