// Definition elements to query objects.
// Attributes and children are looked up in tables of names and readers; a name that no table has is
// an error, so that a misspelt one is told instead of being ignored. Children may be queries again,
// as links of a chain or members of a list.
// Tested by tests/queries/query_definitions_test.cpp.
#include "query_builder.h"

#include "display_attributes.h"
#include "expressions.h"
#include "formulas.h"
#include "query_chains.h"
#include "query_objects.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::sptr_t;
using basekit2::variant_bag_t;
using basekit2::variant_t;
using dataface_1::IQuery;

constexpr const char* kPathSeparator = "::";

bool isData(QueryKind kind) {
    return kind == QueryKind::data || kind == QueryKind::time || kind == QueryKind::count ||
           kind == QueryKind::instanceCount;
}

bool holdsMembers(QueryKind kind) {
    return kind == QueryKind::vector || kind == QueryKind::derived;
}

int defaultUnit(QueryKind kind) {
    if (kind == QueryKind::time) return unitPercent;
    return kind == QueryKind::count || kind == QueryKind::instanceCount ? unitCount : unitNone;
}

// Reads one definition element.
class Builder {
public:
    Builder(const variant_bag_t& element, const BuildContext& context, int depth)
        : m_element(element), m_context(context), m_depth(depth) {}

    sptr_t<IQuery> build(std::string& error) {
        sptr_t<IQuery> query = read();
        if (query.is_null()) error = m_error;
        return query;
    }

private:
    using Reader = bool (Builder::*)(const std::string& text);
    struct NamedReader {
        std::string_view name;
        Reader read;
    };

    template <class Readers>
    static std::string listed(const Readers& readers) {
        std::string names;
        for (const NamedReader& reader : readers)
            names += (names.empty() ? "" : ", ") + std::string(reader.name);
        return names;
    }

    sptr_t<IQuery> read() {
        if (m_depth > kMaxChainLength)
            return refuse("definitions stand inside each other too deeply");
        if (m_element.get_name() == kReferenceElement) return readReference();
        if (!kindOfElement(m_element.get_name(), m_traits.kind))
            return refuse("<" + m_element.get_name() + "> defines no query; write " +
                          queryElements());
        m_traits.unitKind = defaultUnit(m_traits.kind);
        m_traits.hasColumn = m_context.hasColumn;
        m_traits.definition = std::make_shared<const variant_bag_t>(m_element);
        if (!readAttributes() || !readChildren() || !finish()) return {};
        sptr_t<IQuery> query = makeQuery(std::move(m_traits));
        if (chainLength(query, kMaxChainLength + 1) > kMaxChainLength)
            return refuse("its chain of expansions has more than " +
                          std::to_string(kMaxChainLength) + " links; shorten it");
        return query;
    }

    sptr_t<IQuery> readReference() {
        const std::string id = elementText(m_element);
        sptr_t<IQuery> query = m_context.find ? m_context.find(id) : sptr_t<IQuery>();
        if (query.is_null()) fail("refers to \"" + id + "\", which is no query that can be used");
        return query;
    }

    bool readAttributes() {
        static constexpr std::array<NamedReader, 7> kReaders = {
            {{"id", &Builder::takeId},
             {"displayName", &Builder::takeName},
             {"help", &Builder::takeHelp},
             {"unit", &Builder::takeUnit},
             {"flatGrouping", &Builder::takeFlatGrouping},
             {"grouping", &Builder::takeGrouping},
             {"globalGrouping", &Builder::takeGlobalGrouping}}};
        for (auto it = m_element.begin<variant_t>(); !it.at_end(); it.next()) {
            const std::string& name = it.get_name();
            if (name == "#text") return fail("text stands between its elements; take it out");
            const auto* reader = std::find_if(kReaders.begin(), kReaders.end(),
                                              [&](const NamedReader& r) { return r.name == name; });
            if (reader == kReaders.end())
                return fail("unknown attribute \"" + name + "\"; write " + listed(kReaders));
            if (!(this->*reader->read)(entryText(m_element, name))) return false;
        }
        return true;
    }

    bool readChildren() {
        for (auto it = m_element.begin<variant_bag_t>(); !it.at_end(); it.next())
            if (!readChild(it.get_name(), it.get_value())) return false;
        return true;
    }

    bool readChild(const std::string& name, const variant_bag_t& child) {
        static constexpr std::array<NamedReader, 7> kReaders = {
            {{"dbPath", &Builder::takePath},
             {"displayDbPathSuffix", &Builder::takeSuffix},
             {"displayDbPath", &Builder::takeDisplayPath},
             {"valueType", &Builder::takeValueType},
             {"minExpression", &Builder::takeMin},
             {"maxExpression", &Builder::takeMax},
             {"formula", &Builder::takeFormula}}};
        const auto* reader = std::find_if(kReaders.begin(), kReaders.end(),
                                          [&](const NamedReader& r) { return r.name == name; });
        if (reader != kReaders.end()) return (this->*reader->read)(elementText(child));
        if (name == "values") return readValues(child);
        if (name == "expand") return readExpansion(child);
        if (name == "displayAttributes") return readDisplay(child);
        if (isQueryElement(name) && holdsMembers(m_traits.kind)) return readMember(child);
        return fail("unknown element <" + name + ">; write " + listed(kReaders) +
                    ", values, expand or displayAttributes");
    }

    bool takeId(const std::string& text) {
        m_traits.id = text;
        return true;
    }
    bool takeName(const std::string& text) {
        m_traits.name = text;
        return true;
    }
    bool takeHelp(const std::string& text) {
        m_traits.help = text;
        return true;
    }
    bool takeUnit(const std::string& text) {
        static constexpr std::array<std::pair<std::string_view, int>, 4> kUnits = {
            {{"none", unitNone},
             {"percent", unitPercent},
             {"count", unitCount},
             {"value", unitValue}}};
        const auto* unit = std::find_if(kUnits.begin(), kUnits.end(),
                                        [&](const auto& entry) { return entry.first == text; });
        if (unit == kUnits.end())
            return fail("unknown unit \"" + text + "\"; write percent, count, value or none");
        m_traits.unitKind = unit->second;
        return true;
    }
    bool takeFlatGrouping(const std::string& text) {
        m_traits.flatGrouping = text;
        return true;
    }
    bool takeGrouping(const std::string& text) {
        m_traits.grouping = text;
        return true;
    }
    bool takeGlobalGrouping(const std::string& text) {
        m_traits.globalGrouping = text == "true";
        return m_traits.globalGrouping || text == "false" ||
               fail("globalGrouping is \"" + text + "\"; write true or false");
    }

    // The table ends at the first "::"; a path without one is a table alone.
    bool takePath(const std::string& text) {
        const std::size_t separator = text.find(kPathSeparator);
        m_traits.instanceTable = text.substr(0, separator);
        if (separator != std::string::npos) m_traits.attributeTable = text.substr(separator + 2);
        return true;
    }
    bool takeSuffix(const std::string& text) {
        m_traits.attributeName = text;
        return true;
    }
    bool takeDisplayPath(const std::string& text) {
        m_traits.displayText = text;
        return true;
    }
    bool takeValueType(const std::string& text) {
        m_traits.attributes["valueType"] = variant_t(text);
        return true;
    }
    bool takeMin(const std::string& text) {
        return takeExpression("minExpression", text, m_traits.minExpression);
    }
    bool takeMax(const std::string& text) {
        return takeExpression("maxExpression", text, m_traits.maxExpression);
    }
    bool takeExpression(const char* name,
                        const std::string& text,
                        sptr_t<dataface_1::IExpression>& out) {
        std::string error;
        out = parseExpression(text, error);
        return !out.is_null() || fail(std::string("<") + name + "> " + text + ": " + error);
    }
    bool takeFormula(const std::string& text) {
        if (m_traits.kind != QueryKind::derived) return fail("only a derivedQuery has a <formula>");
        m_formula = text;
        return true;
    }

    bool readValues(const variant_bag_t& values) {
        if (m_traits.kind != QueryKind::info) return fail("only an infoQuery has <values>");
        for (auto it = values.begin<variant_bag_t>(); !it.at_end(); it.next()) {
            if (it.get_name() != "value")
                return fail("unknown element <" + it.get_name() + "> in <values>; write <value>");
            m_traits.values.emplace_back(elementText(it.get_value()));
        }
        return !m_traits.values.empty() || fail("<values> holds no <value>TEXT</value>");
    }

    // Several queries follow each other in the chain; the last one keeps the chain that it has.
    bool readExpansion(const variant_bag_t& expand) {
        std::vector<sptr_t<IQuery>> links;
        for (auto it = expand.begin<variant_bag_t>(); !it.at_end(); it.next()) {
            links.push_back(readNested(it.get_value()));
            if (links.back().is_null()) return false;
        }
        if (links.empty()) return fail("<expand> names no query; write a <queryRef> into it");
        m_traits.expansion = links.back();
        for (auto link = links.rbegin() + 1; link != links.rend(); ++link)
            m_traits.expansion = withExpansion(*link, m_traits.expansion);
        return true;
    }

    bool readMember(const variant_bag_t& member) {
        m_traits.members.push_back(readNested(member));
        if (m_traits.members.back().is_null()) return false;
        m_traits.memberLevels =
            std::max(m_traits.memberLevels, traitsOf(m_traits.members.back())->memberLevels + 1);
        return m_traits.memberLevels <= kMaxChainLength ||
               fail("its members have members in more than " + std::to_string(kMaxChainLength) +
                    " levels; take some out");
    }

    sptr_t<IQuery> readNested(const variant_bag_t& element) {
        std::string error;
        sptr_t<IQuery> query = Builder(element, m_context, m_depth + 1).build(error);
        if (query.is_null()) fail(error);
        return query;
    }

    bool readDisplay(const variant_bag_t& element) {
        std::string error;
        return readDisplayAttributes(element, m_traits.attributes, error) || fail(error);
    }

    bool finish() {
        if (m_traits.name.empty()) m_traits.name = m_traits.id;
        if (m_traits.displayText.empty()) m_traits.displayText = m_traits.attributeTable;
        if (isData(m_traits.kind) && m_traits.instanceTable.empty())
            return fail("it needs a table; write <dbPath>TABLE</dbPath>");
        if (holdsMembers(m_traits.kind) && m_traits.members.empty())
            return fail("it has no member; write a <queryRef> or a definition into it");
        return m_traits.kind != QueryKind::derived || finishFormula();
    }

    // The formula may stand before the members that it names.
    bool finishFormula() {
        if (m_formula.empty()) return fail("it needs a <formula>");
        if (!m_traits.expansion.is_null())
            return fail("a derivedQuery is expanded as its members are; write <expand> into those");
        std::string error;
        return readFormula(m_formula, m_traits, error) || fail(error);
    }

    bool fail(const std::string& what) {
        if (m_error.empty()) m_error = what;
        return false;
    }
    sptr_t<IQuery> refuse(const std::string& what) {
        fail(what);
        return {};
    }

    const variant_bag_t& m_element;
    const BuildContext& m_context;
    const int m_depth;
    QueryTraits m_traits;
    std::string m_formula;
    std::string m_error;
};

void collectReferences(const variant_bag_t& element, std::vector<std::string>& ids, int depth) {
    if (depth > 2 * kMaxChainLength) return;  // deeper ones are refused when they are built
    if (element.get_name() == kReferenceElement) ids.push_back(elementText(element));
    for (auto it = element.begin<variant_bag_t>(); !it.at_end(); it.next())
        collectReferences(it.get_value(), ids, depth + 1);
}

}  // namespace

bool isQueryElement(const std::string& name) {
    QueryKind kind = QueryKind::info;
    return name == kReferenceElement || kindOfElement(name, kind);
}

sptr_t<IQuery> buildQuery(const variant_bag_t& element,
                          const BuildContext& context,
                          std::string& error) {
    return Builder(element, context, 1).build(error);
}

std::vector<std::string> referredIds(const variant_bag_t& element) {
    std::vector<std::string> ids;
    collectReferences(element, ids, 0);
    return ids;
}

std::string entryText(const variant_bag_t& bag, const std::string& name) {
    const auto* value = bag.get<variant_t>(name);
    if (value == nullptr) return {};
    variant_t text;
    basekit2::print_variant(*value, text, false);
    return text.get<std::string>();
}

std::string elementText(const variant_bag_t& element) {
    constexpr const char* kBlanks = " \t\r\n";
    const std::string text = entryText(element, "#text");
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace lanefeed_runtime
