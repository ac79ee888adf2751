// Which layers can be shown with the data that a result holds. A layer whose query was not resolved
// has an empty source and fails here; that is how a failure of the parse takes effect. Tested by
// tests/agreement/shipped_viewpoints_test.cpp and tests/viewpoint/parser_test.cpp.

#include "viewpointparser.h"

#include "common/check.h"
#include "idicerprovider.h"

#include <slicekit_1_0/prerequisites.h>

namespace lanefeed_1 {

namespace {

bool holdsInstances(const DicerDataSource& ds, IDicerProvider& provider) {
    return provider.isInstanceDataExist(ds.m_table, ds.m_path) &&
           provider.isBandTypeSupported(ds.m_table);
}

bool holdsMembers(const DicerDataSource& ds,
                  const basekit2::sptr_t<dataface_1::IInputData>& input) {
    using slicekit_1_0::PrerequisiteHelper;
    PrerequisiteHelper prerequisites;
    prerequisites.addPrerequisiteQuery(
        input, dataface_1::IVectorQuery::pushBack(nullptr, ds.m_derivedQuery),
        PrerequisiteHelper::group_and);
    return prerequisites.arePrerequisitesValid();
}

bool holdsExtras(const DicerDataSource& ds, IDicerProvider& provider) {
    for (const DicerDataSource::ExtraArgs& extra : ds.m_extras) {
        const auto info = dataface_1::IInfoQuery::cast(extra.query);
        if (info && !provider.isTableExist(extra.path)) return false;
    }
    return true;
}

}  // namespace

// A lifetime pair needs nothing. A table that only the tooltip needs counts like one that is drawn.
// NOLINTNEXTLINE(readability-make-member-function-const): as hosts know it
bool TLViewpointParser::isApplicable(const LayerInfo& layer, IDicerProvider* provider) {
    const DicerDataSource& ds = layer.drawBy.ds;
    if (layer.drawBy.isLifetime) return true;
    if (!LF_CHECK(provider)) return false;
    const bool holdsData = ds.m_dataType == DicerDataSource::dsDerived
                               ? holdsMembers(ds, m_result)
                               : holdsInstances(ds, *provider);
    return holdsData && holdsExtras(ds, *provider) && holdsExtras(layer.tooltipBy.ds, *provider);
}

// Without queries to prepare the manager serves no request, and the provider asks the store.
bool TLViewpointParser::configureMasterMgr(IMasterTableMgr* /*mgr*/, IDicerProvider* /*provider*/) {
    return true;
}

}  // namespace lanefeed_1
