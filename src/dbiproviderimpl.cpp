// Binds a provider to a result and to the rows of an area, and tells which row-bys there are. The
// leaf table of the rows is that of the last choice, the attribute that of the principal one.
// Tested by tests/provider/binding_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"
#include "common/rowbywalk.h"
#include "rowsummarytabletree.h"

#include <algorithm>

namespace lanefeed_1 {

DbiProviderImpl::DbiProviderImpl() {
    m_mode = 2;
}

DbiProviderImpl::~DbiProviderImpl() = default;

void DbiProviderImpl::setResult(int areaIndex,
                                basekit2::sptr_t<dataface_1::IInputData> result,
                                TLViewpointParser::RowSet* rowSet,
                                const std::string& viewpointName,
                                int principalRowByIndex) {
    m_areaIndex = areaIndex;
    m_result = std::move(result);
    dataface_1::lookup(m_result, m_queryLibrary);
    m_perfDb.reset();
    m_bandMaps.clear();
    dataface_1::lookup(m_result, m_perfDb);

    const auto db = getDb(m_result);
    if (db.is_null()) return;
    db->getTimeRange(m_timeBase, m_resultEnd, 0);
    m_duration = subtractBase(m_resultEnd) - subtractBase(m_timeBase);
    if (rowSet == nullptr) {
        m_rowCount = 1;
        return;
    }

    const DicerDataSource* principal = takeRowBys(*rowSet, principalRowByIndex);
    m_gridQuery = rowSet->gridQuery;
    if (!m_gridQuery.is_null()) m_requiredData = rowSet->requiredData;
    if (principal == nullptr) {
        m_rowCount = 1;
        return;
    }
    m_viewpointName = viewpointName;
    if (!LF_CHECK(!m_rowByAttrTable.empty())) return;
    m_rowByAttr = principal->m_attr;
}

const DicerDataSource* DbiProviderImpl::takeRowBys(const TLViewpointParser::RowSet& rowSet,
                                                   int principalRowByIndex) {
    const DicerDataSource* principal = nullptr;
    int rowByIndex = -1;
    for (const TLViewpointParser::RowBy& rowBy : rowSet.rowBys) {
        if (rowBy.continuesGroup) {
            addJoinDS(rowByIndex, rowBy.ds);
        } else {
            addRowByChoice(rowBy.ds);
            // A choice is compared with its own joins only.
            m_rowByAttrTable.clear();
            ++rowByIndex;
        }
        if (!rowBy.valid || !addRowByDS(&rowBy.ds)) continue;
        if (rowByIndex == principalRowByIndex && principal == nullptr) principal = &rowBy.ds;
    }
    m_rowByJoins.resize(m_rowByOptions.size());
    return principal;
}

bool DbiProviderImpl::openDataFile(const std::string& /*fileName*/) {
    LF_ALERT("DbiProviderImpl::openDataFile not implemented");
    return false;
}

basekit2::generic_iterator_t<DicerDataSource> DbiProviderImpl::getRowByChoices() {
    return basekit2::make_ref_iterator(m_rowByOptions);
}

basekit2::generic_iterator_t<DicerDataSource> DbiProviderImpl::getRowByJoins(
    int principalRowByIndex) {
    if (!LF_CHECK_AS(
            principalRowByIndex >= 0 && principalRowByIndex < static_cast<int>(m_rowByJoins.size()),
            "principalRowByIndex >= 0 && principalRowByIndex < (int)m_rowByJoins.size()"))
        return {};
    return basekit2::make_ref_iterator(m_rowByJoins[static_cast<std::size_t>(principalRowByIndex)]);
}

DicerDataSource DbiProviderImpl::getRowByUsingQuery(int principalRowByIndex,
                                                    basekit2::sptr_t<dataface_1::IQuery> query) {
    if (!LF_CHECK_AS(
            principalRowByIndex >= 0 &&
                principalRowByIndex < static_cast<int>(m_rowByOptions.size()),
            "principalRowByIndex >= 0 && principalRowByIndex < (int)m_rowByOptions.size()"))
        return {};
    const auto choice = static_cast<std::size_t>(principalRowByIndex);
    std::vector<DicerDataSource> allDs{m_rowByOptions[choice]};
    if (!m_rowByJoins.empty()) {
        if (!LF_CHECK_AS(choice < m_rowByJoins.size(),
                         "principalRowByIndex < (int)m_rowByJoins.size()"))
            return {};
        const auto& joins = m_rowByJoins[choice];
        allDs.insert(allDs.end(), joins.begin(), joins.end());
    }
    if (!LF_CHECK(!allDs.empty()) || m_gridQuery.is_null()) return {};
    const auto rowBy = m_gridQuery->getRowByQuery(query, principalRowByIndex);
    if (rowBy.is_null()) return {};
    const auto found = std::find_if(allDs.begin(), allDs.end(), [&](const DicerDataSource& ds) {
        return ds.m_defaultQuery == rowBy;
    });
    return found != allDs.end() ? *found : DicerDataSource();
}

bool DbiProviderImpl::addRowByChoice(const DicerDataSource& choice) {
    m_rowByOptions.push_back(choice);
    return true;
}

void DbiProviderImpl::setProgress(relay2::IProgress* progress) {
    m_progress = progress;
}

void DbiProviderImpl::setFilterProgress(relay2::IProgress* progress) {
    m_filterProgress = progress;
}

relay2::IProgress* DbiProviderImpl::getProgress() {
    return m_progress;
}

bool DbiProviderImpl::isCanceled() {
    return m_progress != nullptr && m_progress->isCanceled();
}

void DbiProviderImpl::setMasterTableMgr(basekit2::sptr_t<IMasterTableMgr> mgr) {
    m_masterTableMgr = std::move(mgr);
}

void DbiProviderImpl::setRowByRestriction(const basekit2::sptr_t<dataface_1::IInfoQuery>& query) {
    m_rowByRestriction = query;
}

basekit2::sptr_t<storelink1::IDatabase> DbiProviderImpl::getDb(
    const basekit2::sptr_t<dataface_1::IInputData>& input) const {
    if (!LF_CHECK(!m_perfDb.is_null())) return {};
    return m_perfDb->getDatabase(input);
}

bool DbiProviderImpl::getApplicableRowBy(const QueryParam& param, std::vector<QueryPath>& paths) {
    if (param.rowByDS == nullptr) {
        paths.emplace_back();
        return true;
    }
    for (RowByWalk walk(param.rowByDS); !walk.atEnd(); walk.next())
        if (isApplicableRowByLevel(param, walk.level())) paths.push_back(walk.path());
    return true;
}

}  // namespace lanefeed_1
