// One instance table in memory.
//
// The first question reads the whole table through the store's reader, with the paths that it
// needs; a path that is asked for later costs one more read. Everything derived is kept by the list
// of columns that it was made for. One lock per table: whoever comes second waits for the read of
// the first. Tested by tests/timeline/timeline_database_test.cpp.

#include "timeline/instance_table.h"

#include "store/schema.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace lanefeed_runtime {

using basekit2::error_code_t;

namespace {

// Beyond this a timeline of pieces would not fit into memory.
constexpr std::size_t kMaxPieces = 200'000'000;

error_code_t errorOf(InstanceReader::Outcome outcome, const std::string& error) {
    using basekit2::error::IsNot;
    switch (outcome) {
    case InstanceReader::Outcome::done: return error_code_t::success;
    case InstanceReader::Outcome::cancelled: return error_code_t::noResult;
    case InstanceReader::Outcome::unknownPath:
    case InstanceReader::Outcome::noTable:
        return error_code_t::raise(IsNot.Valid.Argument, error.c_str(), __FILE__, __LINE__);
    default:
        return error_code_t::raise(IsNot.Expected.Situation, error.c_str(), __FILE__, __LINE__);
    }
}

bool isPath(const std::string& column) {
    return !column.empty() && column.front() != '#';
}

using Positions = std::vector<std::size_t>;

template <class T>
std::vector<T> chosen(const std::vector<T>& column, const Positions& positions) {
    std::vector<T> out;
    out.reserve(positions.size());
    for (const std::size_t position : positions)
        out.push_back(column[position]);
    return out;
}

std::shared_ptr<const InstanceTable::Pieces> groupPieces(SplitPieces pieces,
                                                         const Combinations& ofInstances) {
    auto made = std::make_shared<InstanceTable::Pieces>();
    Combinations groups;
    groups.keys = ofInstances.keys;
    std::vector<int> number;
    number.reserve(pieces.position.size());
    for (const basekit2::u32_t position : pieces.position) {
        groups.of.push_back(ofInstances.of[position]);
        number.push_back(static_cast<int>(groups.of.back()));
    }
    // Numbers rise with their keys, so keys with the level behind them are in order as well.
    Combinations levels = combine({&number, &pieces.level}, number.size());
    for (std::vector<int>& key : levels.keys) {
        const int level = key.back();
        key = groups.keys[static_cast<std::size_t>(key.front())];
        key.push_back(level);
    }
    made->all = GroupedInstances(pieces.start, pieces.end, std::move(groups));
    made->byLevel = GroupedInstances(pieces.start, pieces.end, std::move(levels));
    made->positions = std::move(pieces.position);
    return made;
}

}  // namespace

InstanceReader::Outcome InstanceTable::readMissing(const Columns& columns,
                                                   const std::string& number,
                                                   relay2::IProgress* progress,
                                                   std::string& error) {
    InstanceRequest request;
    request.table = m_name;
    request.filters = m_filters;
    const Columns bandTypes = m_loaded ? Columns() : bandTypePaths();
    request.ids = bandTypes;
    for (const std::string& column : columns) {
        if (!isPath(column) || m_ids.count(column) != 0) continue;
        if (std::find(request.ids.begin(), request.ids.end(), column) == request.ids.end())
            request.ids.push_back(column);
    }
    if (!number.empty() && m_numbers.count(number) == 0) request.number = number;
    if (m_loaded && request.ids.empty() && request.number.empty())
        return InstanceReader::Outcome::done;

    request.counts = !m_loaded;
    InstanceColumns read;
    const InstanceReader::Outcome outcome = m_reader->read(request, read, progress, error);
    if (outcome != InstanceReader::Outcome::done) return outcome;
    for (std::size_t i = 0; i < request.ids.size(); ++i)
        m_ids[request.ids[i]] = std::move(read.ids[i]);
    if (!request.number.empty())
        m_numbers[request.number] =
            std::make_shared<const std::vector<double>>(std::move(read.number));
    if (!m_loaded) keepBase(read, bandTypes);
    return outcome;
}

error_code_t InstanceTable::load(const Columns& columns,
                                 const std::string& number,
                                 relay2::IProgress* progress) {
    std::string error;
    return errorOf(readMissing(columns, number, progress, error), error);
}

void InstanceTable::keepBase(InstanceColumns& columns, const Columns& bandTypes) {
    m_ids[kBandColumn] = columns.band;
    m_ids[kAttrColumn].assign(columns.attr.begin(), columns.attr.end());
    for (const std::string& path : bandTypes) {
        const std::vector<int>& ids = m_ids[path];
        for (std::size_t i = 0; i < ids.size(); ++i) {
            if (ids[i] < 0 || columns.band[i] < 0) continue;
            const auto band = static_cast<std::size_t>(columns.band[i]);
            if (band >= m_bandAttr.size()) m_bandAttr.resize(band + 1, -1);
            m_bandAttr[band] = ids[i];
        }
    }
    m_base = std::move(columns);
    m_base.ids.clear();
    m_base.number = {};
    m_loaded = true;
}

InstanceTable::Columns InstanceTable::bandTypePaths() const {
    Columns paths;
    const TableDef& band = table(TableId::band);
    for (const ColumnDef& column : band.columns) {
        if (!isBandType(column.name)) continue;
        const std::string path = std::string(band.name) + "::" + std::string(column.name);
        if (m_reader->knowsPath(m_name, path)) paths.push_back(path);
    }
    return paths;
}

Combinations InstanceTable::combined(const Columns& columns) const {
    std::vector<const std::vector<int>*> ids;
    ids.reserve(columns.size());
    for (const std::string& column : columns)
        ids.push_back(&m_ids.at(column));
    return combine(ids, m_base.start.size());
}

error_code_t InstanceTable::combinations(const Columns& columns,
                                         Shared<Combinations>& out,
                                         relay2::IProgress* progress) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    error_code_t err = load(columns, {}, progress);
    if (!basekit2::is_success(err)) return err;
    Shared<Combinations>& kept = m_combinations[columns];
    if (kept == nullptr) kept = std::make_shared<const Combinations>(combined(columns));
    out = kept;
    return err;
}

error_code_t InstanceTable::grouped(const Columns& columns,
                                    Shared<GroupedInstances>& out,
                                    relay2::IProgress* progress) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    error_code_t err = load(columns, {}, progress);
    if (!basekit2::is_success(err)) return err;
    Shared<GroupedInstances>& kept = m_grouped[columns];
    if (kept == nullptr)
        kept =
            std::make_shared<const GroupedInstances>(m_base.start, m_base.end, combined(columns));
    out = kept;
    return err;
}

error_code_t InstanceTable::stretches(const Columns& columns,
                                      Shared<Pieces>& out,
                                      relay2::IProgress* progress) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    error_code_t err = load(columns, {}, progress);
    if (!basekit2::is_success(err)) return err;
    Shared<Pieces>& kept = m_stretches[columns];
    if (kept == nullptr) {
        SplitPieces pieces;
        pieces.start = m_base.start;
        pieces.end = m_base.end;
        pieces.position.resize(pieces.start.size());
        std::iota(pieces.position.begin(), pieces.position.end(), 0U);
        pieces.level.resize(pieces.start.size(), 0);
        keepPieces(*m_kept, pieces);
        kept = groupPieces(std::move(pieces), combined(columns));
    }
    out = kept;
    return err;
}

error_code_t InstanceTable::split(const Columns& columns,
                                  Shared<Pieces>& out,
                                  relay2::IProgress* progress) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    error_code_t err = load(columns, {}, progress);
    if (!basekit2::is_success(err)) return err;
    Shared<Pieces>& kept = m_split[columns];
    if (kept == nullptr) {
        const GroupedInstances byBand(m_base.start, m_base.end, combined({kBandColumn}));
        SplitPieces pieces;
        if (!splitByLevel(byBand, kMaxPieces, pieces))
            return error_code_t::raise(basekit2::error::IsNot.Expected.Situation,
                                       "too many overlapping instances to split", __FILE__,
                                       __LINE__);
        if (!m_kept->keepsAll()) keepPieces(*m_kept, pieces);
        kept = groupPieces(std::move(pieces), combined(columns));
    }
    out = kept;
    return err;
}

error_code_t InstanceTable::numbers(const std::string& path,
                                    Shared<std::vector<double>>& out,
                                    relay2::IProgress* progress) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    error_code_t err = load({}, path, progress);
    if (basekit2::is_success(err)) out = m_numbers.at(path);
    return err;
}

InstanceReader::Outcome InstanceTable::readTouching(const KeptTime& kept,
                                                    const InstanceRequest& request,
                                                    InstanceColumns& columns,
                                                    relay2::IProgress* progress,
                                                    std::string& error) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    columns = InstanceColumns();
    const auto outcome = readMissing(request.ids, request.number, progress, error);
    if (outcome != InstanceReader::Outcome::done) return outcome;
    Positions positions;
    for (std::size_t i = 0; i < m_base.start.size(); ++i)
        if (kept.touches(m_base.start[i], m_base.end[i])) positions.push_back(i);
    columns.start = chosen(m_base.start, positions);
    columns.end = chosen(m_base.end, positions);
    columns.attr = chosen(m_base.attr, positions);
    columns.band = chosen(m_base.band, positions);
    for (const std::string& path : request.ids)
        columns.ids.push_back(chosen(m_ids.at(path), positions));
    if (!request.number.empty()) columns.number = chosen(*m_numbers.at(request.number), positions);
    if (request.counts) columns.count = chosen(m_base.count, positions);
    return outcome;
}

basekit2::u32_t InstanceTable::bandAttr(std::size_t position) const {
    const int band = m_base.band[position];
    if (band < 0 || static_cast<std::size_t>(band) >= m_bandAttr.size())
        return InstanceColumns::kNoAttr;
    return static_cast<basekit2::u32_t>(m_bandAttr[static_cast<std::size_t>(band)]);
}

}  // namespace lanefeed_runtime
