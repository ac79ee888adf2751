#pragma once

#include "dbiproviderimpl.h"

#include <map>
#include <string>
#include <vector>

namespace lanefeed_1 {

// The usual provider: draws bands from the timeline database, all else as its base.
//   life, the replaced requests             timelinedbproviderimpl.cpp
//   merging of forests                      timelinedbproviderimpl_forest.cpp
class TimelineDbProviderImpl : public DbiProviderImpl {
public:
    // One value of an expanded attribute.
    struct ExpansionInfo {
        int id = 0;
        std::string name;
    };
    // Combinations of expansion values, the last level fastest, and the grouping of each level.
    struct ExpansionData {
        std::vector<std::vector<ExpansionInfo>> expansions;
        std::vector<std::string> groupings;
    };

    TimelineDbProviderImpl();
    ~TimelineDbProviderImpl() override;

    // A source of several queries gives the merged forests of all of them.
    bool getOverTimeData(const QueryParam& param, overtime_type_t type, Forest& forest) override;

protected:
    friend class IntervalsFunctor;
    friend class IntervalsTableTree;

    // The read of the base, which the entry above would hide.
    using DbiProviderImpl::getOverTimeData;

    // --- merging of forests (timelinedbproviderimpl_forest.cpp)
    void mergeForest(Forest& target, const Forest& source);
    // Null only when both are, or when the merging fails.
    basekit2::sptr_t<dataface_1::ITableTree> mergeTrees(
        const basekit2::sptr_t<dataface_1::ITableTree>& first,
        const basekit2::sptr_t<dataface_1::ITableTree>& second);

    // --- state
    std::map<std::vector<DicerDataSource::ExtraArgs>, ExpansionData>
        m_expansionDataCache;   // only grows
    bool m_useLevelDb = false;  // kind of timeline database that the environment asks for
    std::map<std::string, basekit2::variant_t> m_colorNames;  // automatic styles by value name
};

}  // namespace lanefeed_1
