#pragma once

#include <basekit2/object.h>
#include <dataface_1/query_kinds.h>

#include <vector>

namespace lanefeed_1 {

class DicerDataSource;

// Cursor over the levels of a row-by, from the outermost grouping (level 0) down. Without a row-by,
// or with one that has no query, it stands at its end.
class RowByWalk {
public:
    // rowBy: may be null; needed here only.
    explicit RowByWalk(const DicerDataSource* rowBy);

    bool atEnd() const { return m_query.is_null(); }
    void next();

    int level() const { return static_cast<int>(m_path.size()) - 1; }
    const basekit2::sptr_t<dataface_1::IQuery>& query() const { return m_query; }
    // Null when the query of the level is no info query.
    basekit2::sptr_t<dataface_1::IInfoQuery> info() const;
    // Queries of the levels from 0 to the current one.
    const std::vector<basekit2::sptr_t<dataface_1::IQuery>>& path() const { return m_path; }
    // Takes another query for this level; the walk goes on with what expands that one.
    void replaceQuery(const basekit2::sptr_t<dataface_1::IQuery>& query);

private:
    void enter(const basekit2::sptr_t<dataface_1::IQuery>& query);

    basekit2::sptr_t<dataface_1::IQuery> m_query;
    std::vector<basekit2::sptr_t<dataface_1::IQuery>> m_path;
};

}  // namespace lanefeed_1
