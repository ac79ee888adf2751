// Streams the rows of a statement, forward only, into the same variants for every record.
// Tested by tests/store/record_query_test.cpp.
#include "store/record_set.h"

#include <relay2/progress.h>

#include <limits>
#include <set>
#include <utility>

namespace lanefeed_runtime {

using basekit2::variant_t;
using storelink1::IConstRecord;
using storelink1::IGenericRecordset;

namespace {

class StoreRecordSet : public IGenericRecordset<IConstRecord>, private IConstRecord {
public:
    StoreRecordSet(std::shared_ptr<StoreSession> session,
                   Statement statement,
                   RecordPlan plan,
                   relay2::IProgress* progress)
        : m_session(std::move(session)),
          m_plan(std::move(plan)),
          m_progress(progress),
          m_values(m_plan.kinds.size()),
          m_statement(std::move(statement)) {}

    ~StoreRecordSet() override {
        const std::lock_guard<std::recursive_mutex> lock(m_session->mutex);
        m_statement = Statement();
    }

    // False when the first record could not be read.
    bool start() {
        advance();
        return !m_hasFailed;
    }

    bool atEnd() override { return m_atEnd; }
    void next() override {
        if (m_atEnd) return;
        advance();
        if (m_hasFailed) reportBrokenRead(*m_session, m_plan.sql);
    }
    IConstRecord* current() override { return m_atEnd ? nullptr : this; }

private:
    const variant_t& getField(basekit2::u16_t column) const override {
        static const variant_t none;
        if (m_atEnd || column >= m_plan.fields.size()) return none;
        return m_values[static_cast<std::size_t>(m_plan.fields[column])];
    }

    void advance() {
        const std::lock_guard<std::recursive_mutex> lock(m_session->mutex);
        do {
            step();
            if (!m_atEnd) readFields();
        } while (!m_atEnd && isRepeatedKey());
    }

    void step() {
        if (m_progress != nullptr) m_session->connection->watch(m_progress);
        const Statement::Step step = m_statement.step();
        if (m_progress != nullptr) m_session->connection->watch(nullptr);
        m_atEnd = step != Statement::Step::row;
        m_hasFailed =
            step == Statement::Step::failed && !(m_progress != nullptr && m_progress->isCanceled());
    }

    void readFields() {
        for (std::size_t i = 0; i < m_values.size(); ++i)
            readVariant(m_statement, static_cast<int>(i), m_plan.kinds[i], m_values[i]);
    }

    bool isRepeatedKey() {
        if (m_plan.key < 0) return false;
        const variant_t& key = m_values[static_cast<std::size_t>(m_plan.key)];
        if (!m_plan.isKeyOrdered) return !m_keys.insert(key).second;
        const bool repeated = m_hasKey && key == m_lastKey;
        m_lastKey = key;
        m_hasKey = true;
        return repeated;
    }

    std::shared_ptr<StoreSession> m_session;
    RecordPlan m_plan;
    relay2::IProgress* m_progress;
    std::vector<variant_t> m_values;  // by field
    Statement m_statement;
    std::set<variant_t> m_keys;
    variant_t m_lastKey;
    bool m_hasKey = false;
    bool m_atEnd = true;
    bool m_hasFailed = false;
};

}  // namespace

void readVariant(const Statement& statement, int field, ValueKind kind, variant_t& out) {
    if (statement.isNull(field)) {
        out = variant_t();
        return;
    }
    if (kind == ValueKind::text || statement.isText(field)) {
        out = variant_t(std::string(statement.text(field)));
        return;
    }
    if (kind == ValueKind::real || statement.isReal(field)) {
        out = variant_t(statement.real(field));
        return;
    }
    const basekit2::s64_t number = statement.integer(field);
    const bool fits = number == static_cast<basekit2::s32_t>(number);
    if (kind == ValueKind::id && fits) {
        out = variant_t(static_cast<basekit2::s32_t>(number));
    } else if (kind == ValueKind::ticks && number >= 0) {
        out = variant_t(static_cast<basekit2::u64_t>(number));
    } else {
        out = variant_t(number);
    }
}

basekit2::sptr_t<IGenericRecordset<IConstRecord>> makeRecordSet(
    const std::shared_ptr<StoreSession>& session,
    Statement statement,
    RecordPlan plan,
    relay2::IProgress* progress) {
    auto set = basekit2::make_object<StoreRecordSet>(session, std::move(statement), std::move(plan),
                                                     progress);
    if (!set->start()) return nullptr;
    return set;
}

}  // namespace lanefeed_runtime
