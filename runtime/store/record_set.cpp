// Streams the rows of a statement, forward only: numbers into the same variants for every record,
// ids that are looked up to the values held in memory, texts only when somebody asks for them.
// Tested by tests/store/record_query_test.cpp and record_join_test.cpp.
#include "store/record_set.h"

#include "store/instance_check.h"

#include <relay2/progress.h>

#include <set>
#include <utility>

namespace lanefeed_runtime {

using basekit2::variant_t;
using storelink1::IConstRecord;
using storelink1::IGenericRecordset;

namespace {

const variant_t kNone;

// A column of the current record. `place` is its value, null while a text has not been read.
struct Cell {
    RecordColumn from;
    variant_t own;
    const variant_t* place = &kNone;
};

// A row id, or a reference to a row; in a damaged file the column may hold anything else.
bool isId(const Statement::Number& read) {
    return read.type == Statement::Type::integer && read.integer >= 0 &&
           read.integer == static_cast<basekit2::s32_t>(read.integer);
}

std::int64_t tickOf(const variant_t& value) {
    return value.get_type() == basekit2::vtU64 ? value.get<basekit2::s64_t>()
                                               : InstanceCheck::kNoTick;
}

const variant_t* lookUp(const Statement& statement, const RecordColumn& from) {
    const auto& values = from.lookup->values;
    const Statement::Number read = statement.number(from.field);
    const auto id = static_cast<std::uint64_t>(read.integer);
    return read.type == Statement::Type::integer && id < values.size()
               ? &values[static_cast<std::size_t>(id)]
               : &kNone;
}

class StoreRecordSet : public IGenericRecordset<IConstRecord>, private IConstRecord {
public:
    StoreRecordSet(std::shared_ptr<StoreSession> session,
                   Statement statement,
                   RecordPlan plan,
                   relay2::IProgress* progress)
        : m_session(std::move(session)),
          m_plan(std::move(plan)),
          m_progress(progress),
          m_statement(std::move(statement)) {
        for (const RecordColumn& column : m_plan.columns)
            m_cellOf.push_back(addCell(column));
        if (m_plan.hasKey) m_key = addCell(m_plan.key);
    }

    ~StoreRecordSet() override {
        const std::lock_guard<std::recursive_mutex> lock(m_session->mutex);
        m_statement = Statement();
    }

    // False when the first record could not be read.
    bool start() {
        advance();
        return !m_hasFailed;
    }

    std::string told() const { return m_statement.told(); }
    // Why it has failed.
    std::string reason() const {
        return m_isDamaged ? InstanceCheck::reason(m_plan.instanceTable)
                           : m_session->connection->message();
    }

    bool atEnd() override { return m_atEnd; }
    void next() override {
        if (m_atEnd) return;
        advance();
        if (m_hasFailed) reportBrokenRead(*m_session, m_statement.told(), reason());
    }
    IConstRecord* current() override { return m_atEnd ? nullptr : this; }

private:
    const variant_t& getField(basekit2::u16_t column) const override {
        if (m_atEnd || column >= m_cellOf.size()) return kNone;
        return valueOf(m_cells[m_cellOf[column]]);
    }

    // Columns that ask for the same value share it.
    std::size_t addCell(const RecordColumn& column) {
        std::size_t at = 0;
        while (at < m_cells.size() && !(m_cells[at].from == column))
            ++at;
        if (at == m_cells.size()) m_cells.push_back({column, {}, &kNone});
        return at;
    }

    const variant_t& valueOf(Cell& cell) const {
        return cell.place != nullptr ? *cell.place : readText(cell);
    }

    const variant_t& readText(Cell& cell) const {
        const std::lock_guard<std::recursive_mutex> lock(m_session->mutex);
        readVariant(m_statement, cell.from.field, cell.from.kind, cell.own);
        cell.place = &cell.own;
        return cell.own;
    }

    void advance() {
        const std::lock_guard<std::recursive_mutex> lock(m_session->mutex);
        do {
            step();
            if (!m_atEnd) readCells();
            checkInstance();
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

    void readCells() {
        for (Cell& cell : m_cells) {
            if (cell.from.lookup != nullptr) {
                cell.place = lookUp(m_statement, cell.from);
            } else if (cell.from.kind == ValueKind::text) {
                cell.place = nullptr;
            } else {
                readVariant(m_statement, cell.from.field, cell.from.kind, cell.own);
                cell.place = &cell.own;
            }
        }
    }

    void checkInstance() {
        if (m_atEnd || m_plan.instanceTable.empty()) return;
        m_isDamaged = !m_check.holds(tickOf(m_cells[m_cellOf[m_plan.start]].own),
                                     tickOf(m_cells[m_cellOf[m_plan.end]].own));
        m_hasFailed = m_atEnd = m_isDamaged;
    }

    bool isRepeatedKey() {
        if (!m_plan.hasKey) return false;
        const variant_t& key = valueOf(m_cells[m_key]);
        if (!m_plan.isKeyOrdered) return !m_keys.insert(key).second;
        const bool repeated = m_hasKey && key == m_lastKey;
        m_lastKey = key;
        m_hasKey = true;
        return repeated;
    }

    std::shared_ptr<StoreSession> m_session;
    RecordPlan m_plan;
    relay2::IProgress* m_progress;
    std::vector<std::size_t> m_cellOf;  // by column id
    std::size_t m_key = 0;
    mutable std::vector<Cell> m_cells;
    Statement m_statement;
    std::set<variant_t> m_keys;
    variant_t m_lastKey;
    bool m_hasKey = false;
    bool m_atEnd = true;
    bool m_hasFailed = false;
    InstanceCheck m_check;
    bool m_isDamaged = false;
};

}  // namespace

void readVariant(const Statement& statement, int field, ValueKind kind, variant_t& out) {
    const Statement::Number read = statement.number(field);
    if (read.type == Statement::Type::null || (kind == ValueKind::id && !isId(read))) {
        out = variant_t();
    } else if (kind == ValueKind::text || read.type == Statement::Type::text) {
        out = variant_t(std::string(statement.text(field)));
    } else if (read.type == Statement::Type::real) {
        out = variant_t(read.real);
    } else if (kind == ValueKind::real) {
        out = variant_t(static_cast<double>(read.integer));
    } else if (kind == ValueKind::id) {
        out = variant_t(static_cast<basekit2::s32_t>(read.integer));
    } else if (kind == ValueKind::ticks && read.integer >= 0) {
        out = variant_t(static_cast<basekit2::u64_t>(read.integer));
    } else {
        out = variant_t(read.integer);
    }
}

basekit2::sptr_t<IGenericRecordset<IConstRecord>> makeRecordSet(
    const std::shared_ptr<StoreSession>& session,
    Statement statement,
    RecordPlan plan,
    relay2::IProgress* progress,
    std::string& error,
    std::string& sql) {
    auto set = basekit2::make_object<StoreRecordSet>(session, std::move(statement), std::move(plan),
                                                     progress);
    const bool started = set->start();
    if (set->atEnd()) sql = set->told();
    if (started) return set;
    session->brokenReads->add(set->reason());
    error = session->file + ": " + set->reason();
    return nullptr;
}

}  // namespace lanefeed_runtime
