// The walk along the levels of a row-by, shared by all requests that group by rows. Tested by
// tests/provider/binding_test.cpp and tests/provider/overtime_test.cpp.

#include "common/rowbywalk.h"

#include "dicerdatasource.h"

namespace lanefeed_1 {

RowByWalk::RowByWalk(const DicerDataSource* rowBy) {
    if (rowBy != nullptr) enter(rowBy->m_defaultQuery);
}

void RowByWalk::next() {
    if (!atEnd()) enter(m_query->getExpansionQuery());
}

basekit2::sptr_t<dataface_1::IInfoQuery> RowByWalk::info() const {
    return dataface_1::IInfoQuery::cast(m_query);
}

void RowByWalk::replaceQuery(const basekit2::sptr_t<dataface_1::IQuery>& query) {
    if (atEnd()) return;
    m_query = query;
    m_path.back() = query;
}

void RowByWalk::enter(const basekit2::sptr_t<dataface_1::IQuery>& query) {
    m_query = query;
    if (!m_query.is_null()) m_path.push_back(m_query);
}

}  // namespace lanefeed_1
