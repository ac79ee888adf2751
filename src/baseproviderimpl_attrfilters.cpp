// Filters on the value of an attribute: an object that was clicked on, one to dive into, and the
// values that a query is restricted to. The first two are also put in the registry, as the
// selection and as the dive; the old filter goes first, so a failure leaves none. Tested by
// tests/provider/selection_test.cpp.

#include "baseproviderimpl.h"

#include "common/check.h"
#include "common/names.h"
#include "common/tablepath.h"
#include "common/valuefilter.h"

namespace lanefeed_1 {

namespace {

using basekit2::sptr_t;
using dataface_1::IInfoQuery;
using dataface_1::IQueryFilter;

// What a click dives into; null when that is no attribute.
sptr_t<IInfoQuery> diveQueryOf(const DicerDataSource& ds) {
    return ds.m_infoQueries.empty() ? IInfoQuery::cast(ds.m_defaultQuery)
                                    : ds.m_infoQueries.front();
}

}  // namespace

bool BaseProviderImpl::filterOnAttrId(const DicerDataSource* ds,
                                      int attrId,
                                      bool dive,
                                      const std::string& attrName) {
    const auto filterRegistry = getFilterRegistry();
    if (!LF_CHECK(filterRegistry)) return false;
    const std::string filterName = dive ? names::kDiveFilter : names::kSelectionFilter;
    filterRegistry->clearFilter(filterName);
    filterRegistry->removeFilter(filterName);
    const auto qf =
        dive ? createDiveFilter(ds, attrId) : createAttributeFilter(ds, attrId, attrName);
    if (!LF_CHECK(qf)) return false;
    filterRegistry->setQueryFilter(filterName, qf);
    return true;
}

sptr_t<IQueryFilter> BaseProviderImpl::createAttributeFilter(const DicerDataSource* ds,
                                                             int attrId,
                                                             const std::string& /*attrName*/) {
    const auto filterRegistry = getFilterRegistry();
    if (!LF_CHECK(filterRegistry)) return {};
    const auto qfBuilder = filterRegistry->createQueryFilterBuilder();
    if (!LF_CHECK(qfBuilder)) return {};
    if (!LF_CHECK_AS(ds, "dds")) return {};
    const auto parts = splitPath(ds->m_path);
    if (!LF_CHECK(!parts.empty())) return {};
    const auto filterQuery =
        createInfoQuery("attrFilterQuery", "attrFilterQuery", ds->m_table, parts.front(), "");
    if (!LF_CHECK(filterQuery)) return {};
    qfBuilder->addCondition(filterQuery, false, attrId);
    return qfBuilder->build();
}

sptr_t<IQueryFilter> BaseProviderImpl::createDiveFilter(const DicerDataSource* ds, int attrId) {
    const auto filterRegistry = getFilterRegistry();
    if (!LF_CHECK(filterRegistry)) return {};
    const auto qfBuilder = filterRegistry->createQueryFilterBuilder();
    if (!LF_CHECK(qfBuilder)) return {};
    if (!LF_CHECK_AS(ds, "dds")) return {};
    const auto diveQuery = diveQueryOf(*ds);
    if (!LF_CHECK(diveQuery)) return {};
    DicerDataSource source;
    source.set(diveQuery->getAttributeTable(), diveQuery->getInstanceTable(),
               diveQuery->getAttributeName(), "");
    const auto val = getAttributeValue(&source, attrId);
    if (!LF_CHECK_AS(val.get_type() != basekit2::vtNull, "val.get_type() != bk2::vtNull"))
        return {};
    qfBuilder->addCondition(diveQuery, false, val);
    const auto qf = qfBuilder->build();
    return LF_CHECK(qf) ? qf : sptr_t<IQueryFilter>();
}

sptr_t<IQueryFilter> BaseProviderImpl::createRestrictionsFilter(
    const DicerDataSource::ExtraArgs& extra) const {
    return createRestrictionsFilter(extra.table, extra.path, extra.attr, extra.values);
}

sptr_t<IQueryFilter> BaseProviderImpl::createRestrictionsFilter(
    const std::string& table,
    const std::string& path,
    const std::string& attr,
    const std::vector<std::string>& values) const {
    const auto filterQuery = createInfoQuery("", "", table, path, attr);
    if (!LF_CHECK(filterQuery)) return {};
    const auto filterRegistry = getFilterRegistry();
    if (filterRegistry.is_null()) {
        throw basekit2::error_code_t::raise(basekit2::error::IsNot.Expected.Situation,
                                            "filterRegistry", __FILE__, __LINE__);
    }
    const auto qfBuilder = filterRegistry->createQueryFilterBuilder();
    if (!LF_CHECK(qfBuilder)) return {};
    return valueFilter(values, filterQuery, *qfBuilder);
}

void BaseProviderImpl::getTimelineFilterNames(std::string& base,
                                              std::string& area,
                                              std::string& full) const {
    base = "timeline_filter";
    if (!m_viewpointName.empty()) base += "_" + m_viewpointName;
    area = "area_" + std::to_string(m_areaIndex);
    full = base + "_" + area;
}

}  // namespace lanefeed_1
