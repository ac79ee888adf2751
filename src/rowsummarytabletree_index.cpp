// The index of rows; the only place that knows how it is stored. Tested by
// tests/unit/rowsummary_build_test.cpp.

#include "rowsummarytabletree_index.h"

#include <boost/bimap.hpp>
#include <boost/bimap/multiset_of.hpp>

namespace lanefeed_1 {

struct RowIndex::Entries {
    boost::bimap<boost::bimaps::multiset_of<LevelIndexPair>, int> map;
};

RowIndex::RowIndex() : m_entries(std::make_unique<Entries>()) {}

RowIndex::~RowIndex() = default;

void RowIndex::insert(LevelIndexPair place, int summaryId) {
    m_entries->map.insert({place, summaryId});
}

int RowIndex::findId(LevelIndexPair place) const {
    // Equal places stand in the order in which they came.
    const auto found = m_entries->map.left.lower_bound(place);
    const bool isPlace = found != m_entries->map.left.end() && !(place < found->first);
    return isPlace ? found->second : kNoRow;
}

int RowIndex::findDbIndex(int summaryId) const {
    const auto found = m_entries->map.right.find(summaryId);
    return found != m_entries->map.right.end() ? found->second.dbIndex : -1;
}

int RowIndex::maxLevel() const {
    return m_entries->map.empty() ? 0 : m_entries->map.left.rbegin()->first.level;
}

}  // namespace lanefeed_1
