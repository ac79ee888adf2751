#include "support/faulty_database.h"

namespace lanefeed_test {

using basekit2::sptr_t;
using basekit2::u16_t;
using storelink1::IConstRecord;
using storelink1::IGenericRecordset;

namespace {

class FaultyQuery : public storelink1::IQuery {
public:
    FaultyQuery(const sptr_t<storelink1::IQuery>& inner, const std::shared_ptr<CallFault>& fault)
        : m_inner(inner), m_fault(fault) {}

    using IQuery::addColumn;
    using IQuery::execute;

    void useFilters() override { m_inner->useFilters(); }
    void addFilter(const std::string& name) override { m_inner->addFilter(name); }
    u16_t addColumn(const std::string& name,
                    int kind,
                    const basekit2::generic_iterator_t<std::string>& values,
                    bool flag1,
                    bool flag2,
                    std::string& text) override {
        if (m_fault->failsNow()) return storelink1::InvalidColIdx;
        return m_inner->addColumn(name, kind, values, flag1, flag2, text);
    }
    u16_t addCondition(const std::string& column,
                       int op,
                       const basekit2::variant_t& value) override {
        if (m_fault->failsNow()) return storelink1::InvalidCondIdx;
        return m_inner->addCondition(column, op, value);
    }
    bool addOrderBy(const std::string& column, bool descending) override {
        return !m_fault->failsNow() && m_inner->addOrderBy(column, descending);
    }
    bool addKeyColumn(const std::string& column) override {
        return !m_fault->failsNow() && m_inner->addKeyColumn(column);
    }
    sptr_t<IGenericRecordset<IConstRecord>> execute(relay2::IProgress* progress,
                                                    std::string& error,
                                                    std::string& sql) override {
        if (!m_fault->failsNow()) return m_inner->execute(progress, error, sql);
        error = "made to fail";
        sql = "no SQL";
        return nullptr;
    }

private:
    sptr_t<storelink1::IQuery> m_inner;
    std::shared_ptr<CallFault> m_fault;
};

class FaultyRetriever : public storelink1::IAttributeDataRetriever {
public:
    FaultyRetriever(const sptr_t<storelink1::IAttributeDataRetriever>& inner,
                    const std::shared_ptr<CallFault>& fault)
        : m_inner(inner), m_fault(fault) {}

    bool getValue(int id, basekit2::variant_t& value) override {
        return !m_fault->failsNow() && m_inner->getValue(id, value);
    }
    bool getLeafTable(std::string& table) override {
        return !m_fault->failsNow() && m_inner->getLeafTable(table);
    }

private:
    sptr_t<storelink1::IAttributeDataRetriever> m_inner;
    std::shared_ptr<CallFault> m_fault;
};

}  // namespace

sptr_t<storelink1::IQuery> FaultyDatabase::createQuery(const std::string& table, int mode) {
    if (m_fault->failsNow()) return nullptr;
    const sptr_t<storelink1::IQuery> query = m_inner->createQuery(table, mode);
    if (query.is_null()) return nullptr;
    return basekit2::make_object<FaultyQuery>(query, m_fault);
}

sptr_t<storelink1::ITimelineQuery> FaultyDatabase::createTimelineQuery() {
    return m_fault->failsNow() ? nullptr : m_inner->createTimelineQuery();
}

sptr_t<storelink1::IAttributeDataRetriever> FaultyDatabase::createAttributeRetriever(
    const std::string& table, bool cache) {
    if (m_fault->failsNow()) return nullptr;
    const auto retriever = m_inner->createAttributeRetriever(table, cache);
    if (retriever.is_null()) return nullptr;
    return basekit2::make_object<FaultyRetriever>(retriever, m_fault);
}

bool FaultyDatabase::getTimeRange(basekit2::u64_t& start, basekit2::u64_t& end, int reserved) {
    return !m_fault->failsNow() && m_inner->getTimeRange(start, end, reserved);
}

bool FaultyDatabase::getBandKind(const std::string& band, int& kind) {
    return !m_fault->failsNow() && m_inner->getBandKind(band, kind);
}

FaultyInput::FaultyInput(const sptr_t<dataface_1::IInputData>& inner,
                         const sptr_t<storelink1::IDatabase>& database,
                         const std::shared_ptr<CallFault>& fault)
    : m_inner(inner), m_database(basekit2::make_object<FaultyDatabase>(database, fault)) {}

unsigned int FaultyInput::get_type() const {
    return basekit2::type_id_t<dataface_1::IInputData>::id();
}

basekit2::notype_ptr_t FaultyInput::adapt_to_pointer(unsigned int type) {
    basekit2::notype_ptr_t own = IPerfDatabase::adapt_to_pointer(type);
    if (!own.is_null()) return own;
    return m_inner.is_null() ? IInputData::adapt_to_pointer(type) : m_inner->adapt_to_pointer(type);
}

sptr_t<storelink1::IDatabase> FaultyInput::getDatabase(const sptr_t<dataface_1::IInputData>&) {
    return m_database;
}

}  // namespace lanefeed_test
