// Filters as users write them. Values are looked up in the tables of the result, so that what is
// set are ids, and a name that nothing bears is told at once.
// Tested by tests/queries/filters_test.cpp.
#include "filter_text.h"

#include "open_result.h"
#include "store/attribute_retriever.h"
#include "store/filter_columns.h"
#include "store/filter_registry.h"
#include "store/filter_time.h"
#include "store/path_walk.h"
#include "store/result_facts.h"
#include "time_text.h"

#include <dataface_1/query_library.h>
#include <storelink1/utils.h>

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::s64_t;
using basekit2::sptr_t;
using dataface_1::IQueryFilterBuilder;

constexpr const char* kTimeColumn = "time";
constexpr std::size_t kMostListed = 10;
constexpr const char* kCommaAdvice = "; a comma that belongs to a value is written \\,";

std::string lowered(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

// A value: pieces between which anything may stand.
struct Pattern {
    std::string written;
    std::vector<std::string> pieces{""};

    bool fits(const std::string& text) const {
        const std::string& first = pieces.front();
        const std::string& last = pieces.back();
        if (pieces.size() == 1) return text == first;
        if (text.size() < first.size() + last.size() || text.compare(0, first.size(), first) != 0 ||
            text.compare(text.size() - last.size(), last.size(), last) != 0)
            return false;
        std::size_t at = first.size();
        for (std::size_t i = 1; i + 1 < pieces.size(); ++i) {
            at = text.find(pieces[i], at);
            if (at == std::string::npos) return false;
            at += pieces[i].size();
        }
        return at + last.size() <= text.size();
    }

    Pattern withoutCase() const {
        Pattern out = *this;
        for (std::string& piece : out.pieces)
            piece = lowered(piece);
        return out;
    }
};

std::vector<Pattern> patternsOf(const std::string& text) {
    std::vector<Pattern> out(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == ',') {
            out.emplace_back();
            continue;
        }
        out.back().written += c;
        if (c == '*') {
            out.back().pieces.emplace_back();
        } else if (c == '\\' && i + 1 < text.size()) {
            out.back().written += text[++i];
            out.back().pieces.back() += text[i];
        } else {
            out.back().pieces.back() += c;
        }
    }
    return out;
}

// One text, cut at its sign.
struct Parts {
    std::string column;
    bool excludes = false;
    std::string values;
};

bool cut(const std::string& text, Parts& parts, std::string& error) {
    const std::size_t sign = text.find('=');
    parts.excludes = sign != std::string::npos && sign > 0 && text[sign - 1] == '!';
    parts.column = text.substr(0, sign == std::string::npos ? 0 : sign - (parts.excludes ? 1 : 0));
    if (parts.column.empty()) {
        error = "no COLUMN=VALUE; write as in thread=main,worker* or name!=idle";
        return false;
    }
    parts.values = text.substr(sign + 1);
    return true;
}

class TextReader {
public:
    TextReader(const sptr_t<dataface_1::IInputData>& result,
               const sptr_t<FilterRegistry>& filters,
               std::shared_ptr<const ResultFacts> facts)
        : m_session(filters->session()),
          m_facts(std::move(facts)),
          m_columns(filterColumnsOf(m_session->catalog)) {
        dataface_1::lookup(result, m_library);
    }

    bool read(const std::string& text, std::string& error) {
        m_notes.clear();
        Parts parts;
        if (!cut(text, parts, error)) return false;
        if (lowered(parts.column) == kTimeColumn) return readTime(parts, error);
        const std::vector<FilterTarget> targets = targetsOf(parts.column);
        if (!targets.empty()) return addTargets(targets, parts, error);
        return addQuery(parts, error);
    }

    // What the text that was read last leaves out without effect.
    const std::vector<std::string>& notes() const { return m_notes; }

    NamedFilter filter() const {
        NamedFilter out;
        if (!m_root.groups.empty()) out.query = basekit2::make_object<QueryFilter>(m_root);
        if (isAllTime(m_kept)) return out;
        std::vector<TimeFilter::Range> ranges;
        for (const storelink1::time_interval_t& span : m_kept)
            ranges.push_back({span, false});
        if (ranges.empty()) ranges.emplace_back();  // keeps no time
        out.time = basekit2::make_object<TimeFilter>(std::move(ranges));
        return out;
    }

private:
    bool readTime(const Parts& parts, std::string& error) {
        const TimeScale scale{m_facts->ticksPerSecond, m_facts->lastTick - m_facts->firstTick + 1};
        TickSpan span;
        if (!readTimeSpan(parts.values, scale, span, error)) return false;
        TickSpans kept = {{m_facts->firstTick + span.start, m_facts->firstTick + span.end}};
        if (parts.excludes)
            kept = timeBetween(kept, {0, std::numeric_limits<basekit2::u64_t>::max()});
        m_kept = commonTime(m_kept, kept);
        return true;
    }

    std::vector<FilterTarget> targetsOf(const std::string& column) const {
        for (const FilterColumnDef& def : m_columns)
            if (def.name == lowered(column)) return def.targets;
        return {};
    }

    // A group for each target, all of which have to hold.
    bool addTargets(const std::vector<FilterTarget>& targets,
                    const Parts& parts,
                    std::string& error) {
        const std::vector<Pattern> patterns = patternsOf(parts.values);
        std::vector<std::set<s64_t>> ids(targets.size());
        for (const Pattern& pattern : patterns) {
            bool isFound = false;
            for (std::size_t i = 0; i < targets.size(); ++i)
                isFound = addRows(targets[i], pattern, ids[i]) || isFound;
            if (isFound) continue;
            const std::string lack = "the result holds no " + lowered(parts.column) + " '" +
                                     pattern.written + "'" + known(targets) +
                                     (patterns.size() > 1 ? kCommaAdvice : "");
            if (parts.excludes) {
                m_notes.push_back(lack);
                continue;
            }
            error = lack;
            return false;
        }
        for (std::size_t i = 0; i < targets.size(); ++i) {
            QueryFilter::Group group;
            group.kind = parts.excludes ? IQueryFilterBuilder::groupExcluded
                                        : IQueryFilterBuilder::groupIncluded;
            if (ids[i].empty()) addNoInstance(targets[i], group.kind);
            if (ids[i].empty()) continue;
            for (const std::string& path : targets[i].paths)
                for (const s64_t id : ids[i])
                    group.conditions.push_back({targets[i].table, path, "", false, id});
            m_root.groups.push_back(std::move(group));
        }
        return true;
    }

    // Nothing is called so in the tables of this target: they keep nothing, or all when it is left
    // out. No row bears 0. It is asked of the instances and not of what they refer to, which may
    // be the rows that others stand on.
    void addNoInstance(const FilterTarget& target, int kind) {
        for (const std::string& table : target.tables) {
            QueryFilter::Group group;
            group.kind = kind;
            group.conditions.push_back({table, "", "", false, s64_t{0}});
            m_root.groups.push_back(std::move(group));
        }
    }

    // Rows with a text that fits; where none does, without regard to case.
    bool addRows(const FilterTarget& target, const Pattern& pattern, std::set<s64_t>& ids) {
        const Pattern withoutCase = pattern.withoutCase();
        for (const bool ignoresCase : {false, true}) {
            bool isFound = false;
            for (const std::string& column : target.texts) {
                const std::vector<std::string>& texts = textsOf(target.leafTable + "." + column);
                for (std::size_t row = 1; row < texts.size(); ++row) {
                    const bool fits = ignoresCase ? withoutCase.fits(lowered(texts[row]))
                                                  : pattern.fits(texts[row]);
                    if (fits) ids.insert(static_cast<s64_t>(row));
                    isFound = isFound || fits;
                }
            }
            if (isFound) return true;
        }
        return false;
    }

    const std::vector<std::string>& textsOf(const std::string& path) {
        const auto [held, isNew] = m_texts.try_emplace(path);
        if (!isNew) return held->second;
        const auto column = readAttributeColumn(*m_session, path);
        if (column == nullptr) return held->second;
        for (const basekit2::variant_t& value : column->values)
            held->second.push_back(storelink1::utils::variantToString(value));
        return held->second;
    }

    std::string known(const std::vector<FilterTarget>& targets) {
        std::set<std::string> texts;
        for (const FilterTarget& target : targets) {
            const std::vector<std::string>& all =
                textsOf(target.leafTable + "." + target.texts.front());
            for (std::size_t row = 1; row < all.size() && texts.size() <= kMostListed; ++row)
                texts.insert(all[row]);
        }
        std::string list;
        for (const std::string& text : texts)
            list += (list.empty() ? "; there are " : ", ") + text;
        return texts.size() > kMostListed ? list + ", ..." : list;
    }

    // An attribute that a query of the library stands for, by the id of the query.
    bool addQuery(const Parts& parts, std::string& error) {
        const auto query =
            m_library.is_null() ? nullptr : m_library->findQuery(parts.column, nullptr);
        const auto info = dataface_1::IInfoQuery::cast(query);
        StorePath path;
        const int table = info.is_null() ? -1 : m_session->catalog.find(info->getInstanceTable());
        if (table < 0 || !resolvePath(m_session->catalog, table, info->getAttributeTable(), path)) {
            error = "'" + parts.column + "' is no column of the result; the columns are " + names();
            return false;
        }
        FilterTarget target{m_session->catalog.table(path.leafTable).name,
                            {info->getAttributeName().empty() ? std::string(columns::kName)
                                                              : info->getAttributeName()},
                            info->getInstanceTable(),
                            {info->getAttributeTable()},
                            {}};
        if (path.kind == ValueKind::id) return addTargets({target}, parts, error);
        QueryFilter::Group group;
        group.kind = parts.excludes ? IQueryFilterBuilder::groupExcluded
                                    : IQueryFilterBuilder::groupIncluded;
        for (const Pattern& pattern : patternsOf(parts.values)) {
            if (pattern.pieces.size() > 1) {
                error = "'" + parts.column +
                        "' is a column of values, not of names; write one in " + "place of '" +
                        pattern.written + "'";
                return false;
            }
            group.conditions.push_back(
                {target.table, target.paths.front(), "", false, pattern.pieces.front()});
        }
        m_root.groups.push_back(std::move(group));
        return true;
    }

    std::string names() const {
        std::string list;
        for (const FilterColumnDef& def : m_columns)
            list += def.name + ", ";
        return list + kTimeColumn;
    }

    const std::shared_ptr<StoreSession> m_session;
    const std::shared_ptr<const ResultFacts> m_facts;
    const std::vector<FilterColumnDef> m_columns;
    sptr_t<dataface_1::IQueryLibrary> m_library;
    std::map<std::string, std::vector<std::string>> m_texts;
    std::vector<std::string> m_notes;
    QueryFilter::Group m_root;
    TickSpans m_kept = keptTime(nullptr);
};

sptr_t<FilterRegistry> registryOf(const sptr_t<dataface_1::IInputData>& result) {
    sptr_t<dataface_1::IFilterRegistry> filters;
    dataface_1::lookup(result, filters);
    return sptr_t<FilterRegistry>(dynamic_cast<FilterRegistry*>(filters.get()));
}

}  // namespace

bool readFilterTexts(const sptr_t<dataface_1::IInputData>& result,
                     const std::vector<std::string>& texts,
                     const std::string& name,
                     std::string& error,
                     std::vector<std::string>* notes) {
    const sptr_t<FilterRegistry> filters = registryOf(result);
    const std::shared_ptr<const ResultFacts> facts = resultFacts(result);
    if (filters.is_null() || filters->session() == nullptr || facts == nullptr) {
        error = "filters can be applied to results that were opened here alone";
        return false;
    }
    TextReader reader(result, filters, facts);
    for (const std::string& text : texts) {
        if (!reader.read(text, error)) {
            error.insert(0, text + ": ");
            return false;
        }
        if (notes == nullptr) continue;
        for (const std::string& note : reader.notes()) {
            notes->push_back(text);
            notes->back().append(": ").append(note);
        }
    }
    filters->setFilter(name, reader.filter());
    return true;
}

std::vector<FilterColumn> filterColumns(const sptr_t<dataface_1::IInputData>& result) {
    std::vector<FilterColumn> out;
    const sptr_t<FilterRegistry> filters = registryOf(result);
    if (filters.is_null() || filters->session() == nullptr) return out;
    for (const FilterColumnDef& def : filterColumnsOf(filters->session()->catalog)) {
        std::string help;
        for (const FilterTarget& target : def.targets)
            help += (help.empty() ? "" : ", ") + target.leafTable + "." + target.texts.front();
        out.push_back({def.name, help});
    }
    out.push_back({kTimeColumn, "A..B from the first tick, as in 1.2s..3.4s or 10%..20%"});
    return out;
}

}  // namespace lanefeed_runtime
