// Filters as text. Tested by tests/queries/filters_test.cpp.
#include "filter_description.h"

#include "store/attribute_retriever.h"
#include "store/filter_registry.h"
#include "store/path_walk.h"

#include <storelink1/utils.h>

#include <map>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

namespace lanefeed_runtime {
namespace {

using Condition = QueryFilter::Condition;
using Group = QueryFilter::Group;
using dataface_1::IQueryFilterBuilder;

std::string inQuotes(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

class Teller {
public:
    explicit Teller(std::shared_ptr<StoreSession> session) : m_session(std::move(session)) {}

    std::string members(const Group& group, const char* link, bool hasSigns) {
        std::string text;
        std::set<std::string> told;  // one row may be reached in several ways
        const auto add = [&](const std::string& part) {
            if (told.insert(part).second) text += (text.empty() ? "" : link) + part;
        };
        for (const Condition& condition : group.conditions)
            add(this->condition(condition, hasSigns && condition.excluded));
        for (const auto& filter : group.filters)
            add("(" + members(filter->root(), " and ", true) + ")");
        for (const Group& inner : group.groups)
            add(this->group(inner));
        return text.empty() ? "everything" : text;
    }

private:
    std::string group(const Group& group) {
        const bool isEmpty =
            group.conditions.empty() && group.filters.empty() && group.groups.empty();
        const bool isAny = group.kind == IQueryFilterBuilder::groupIncluded;
        if (isEmpty) return isAny ? "nothing" : "everything";
        const bool hasSigns = group.kind != IQueryFilterBuilder::groupExcluded;
        return (isAny ? "(" : "not (") + members(group, " or ", hasSigns) + ")";
    }

    std::string condition(const Condition& condition, bool isNegated) {
        return attribute(condition) + (isNegated ? " != " : " = ") + value(condition);
    }

    // The table at the end of the path, "" where it ends in a plain column.
    std::string leafTable(const Condition& condition) const {
        if (m_session == nullptr) return {};
        const Catalog& catalog = m_session->catalog;
        const int table = catalog.find(condition.table);
        StorePath path;
        const std::string text = condition.path.empty() ? "rowid" : condition.path;
        const bool isRow =
            table >= 0 && resolvePath(catalog, table, text, path) && path.kind == ValueKind::id;
        return isRow ? catalog.table(path.leafTable).name : std::string();
    }

    std::string attribute(const Condition& condition) const {
        const std::string leaf = leafTable(condition);
        if (leaf.compare(0, 3, "dd_") == 0) return leaf.substr(3);
        return condition.table + (condition.path.empty() ? "" : "::") + condition.path;
    }

    std::string value(const Condition& condition) {
        std::string text = storelink1::utils::variantToString(condition.value);
        if (condition.value.is_null() || text == "-1") return "none";
        if (condition.value.can_get<const char*>()) return inQuotes(text);
        const std::string leaf = leafTable(condition);
        if (leaf.empty() || leaf == "dd_band") return text;
        if (text == "0") return "nothing";
        const std::string suffix = condition.suffix.empty() ? "name" : condition.suffix;
        const Texts& texts = textsOf(leaf + "." + suffix);
        const auto row = static_cast<std::size_t>(condition.value.get<basekit2::s64_t>());
        const bool isKnown = texts.column != nullptr && row < texts.column->values.size() &&
                             texts.column->exists[row];
        if (!isKnown) return text;
        const std::string known = storelink1::utils::variantToString(texts.column->values[row]);
        // A text of several does not tell which is meant.
        return inQuotes(known) + (texts.uses.at(known) > 1 ? " #" + text : std::string());
    }

    // What the rows of a column are called, and how many bear each text.
    struct Texts {
        std::shared_ptr<const AttributeColumn> column;
        std::unordered_map<std::string, int> uses;
    };

    const Texts& textsOf(const std::string& path) {
        const auto [place, isNew] = m_texts.try_emplace(path);
        Texts& texts = place->second;
        if (!isNew) return texts;
        texts.column = readAttributeColumn(*m_session, path);
        for (std::size_t i = 0; texts.column != nullptr && i < texts.column->values.size(); ++i)
            if (texts.column->exists[i])
                ++texts.uses[storelink1::utils::variantToString(texts.column->values[i])];
        return texts;
    }

    const std::shared_ptr<StoreSession> m_session;
    std::map<std::string, Texts> m_texts;
};

}  // namespace

std::string filterDescription(const FilterRegistry& filters, const QueryFilter& filter) {
    return Teller(filters.session()).members(filter.root(), " and ", true);
}

}  // namespace lanefeed_runtime
