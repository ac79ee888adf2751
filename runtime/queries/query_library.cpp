// The query library of a result: definitions by id, and queries for what viewpoints and generated
// bags ask.
// An element of a viewpoint names queries in its attribute "query" and in its children; what it
// names but nobody knows stays in the answer as a query that has an id and nothing else, so that
// the viewpoint parser can say which one it was. Tested by
// tests/queries/query_definitions_test.cpp.
#include "query_library.h"

#include "definition_linker.h"
#include "display_attributes.h"
#include "messages/built_in_documents.h"
#include "messages/runtime_log.h"
#include "query_builder.h"
#include "query_objects.h"

#include <platkit_2_18/strings.h>

#include <algorithm>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::make_object;
using basekit2::sptr_t;
using basekit2::variant_bag_t;
using basekit2::variant_t;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;

// Stands for an id that no definition has: a query of no kind.
class UnknownQuery : public IQuery {
public:
    explicit UnknownQuery(std::string id) : m_id(std::move(id)) {}

    std::string getId() const override { return m_id; }
    std::string getName() const override { return m_id; }
    sptr_t<IQuery> getExpansionQuery() const override { return {}; }
    void getAttribute(const std::string& /*name*/, variant_t& out) const override {
        out = variant_t();
    }
    int getUnitKind() const override { return unitNone; }

private:
    const std::string m_id;
};

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

class QueryLibrary : public dataface_1::IQueryLibrary {
public:
    QueryLibrary(QueriesById queries, const std::shared_ptr<const ColumnTest>& hasColumn)
        : m_queries(std::move(queries)) {
        m_context.hasColumn = hasColumn;
        m_context.find = [this](const std::string& id) { return findQuery(id, nullptr); };
    }

    sptr_t<IVectorQuery> resolveQuery(const variant_bag_t& element,
                                      relay2::IMessenger* /*messenger*/) override {
        QueryTraits traits;
        traits.kind = QueryKind::vector;
        std::size_t known = 0;
        const auto add = [&](const sptr_t<IQuery>& query, const std::string& id) {
            known += query.is_null() ? 0 : 1;
            traits.members.push_back(query.is_null() ? make_object<UnknownQuery>(id) : query);
        };
        if (isQueryElement(element.get_name())) {
            add(build(element), element.get_name());
        } else {
            for (const std::string& id :
                 platkit_2_18::strings::split_string(entryText(element, "query"), ","))
                add(findQuery(trimmed(id), nullptr), trimmed(id));
            for (auto it = element.begin<variant_bag_t>(); !it.at_end(); it.next())
                if (isQueryElement(it.get_name())) add(build(it.get_value()), idOf(it.get_value()));
            readOverrides(element, traits.attributes);
        }
        return known == 0 ? sptr_t<IVectorQuery>()
                          : IVectorQuery::cast(makeQuery(std::move(traits)));
    }

    sptr_t<IQuery> findQuery(const std::string& id, relay2::IMessenger* /*messenger*/) override {
        const auto found = m_queries.find(id);
        return found == m_queries.end() ? sptr_t<IQuery>() : found->second;
    }

    bool createQuery(const variant_bag_t& bag,
                     sptr_t<IQuery>& out,
                     relay2::IMessenger* /*messenger*/) override {
        const sptr_t<IQuery> query = build(bag);
        if (query.is_null()) return false;
        out = query;
        return true;
    }

private:
    static std::string idOf(const variant_bag_t& element) {
        return element.get_name() == kReferenceElement ? elementText(element)
                                                       : entryText(element, "id");
    }

    // Null for a definition with errors, which are logged: its place is in a viewpoint or in a
    // program, where nobody else would tell.
    sptr_t<IQuery> build(const variant_bag_t& element) const {
        std::string error;
        sptr_t<IQuery> query = buildQuery(element, m_context, error);
        if (query.is_null())
            logError("<" + element.get_name() + "> \"" + idOf(element) + "\": " + error);
        return query;
    }

    // Display attributes of the element itself; they go before those of the query.
    static void readOverrides(const variant_bag_t& element, DisplayAttributes& attributes) {
        const auto* overrides = element.get<variant_bag_t>("displayAttributes");
        std::string error;
        if (overrides != nullptr && !readDisplayAttributes(*overrides, attributes, error))
            logError("<" + element.get_name() + ">: " + error);
    }

    const QueriesById m_queries;
    BuildContext m_context;
};

}  // namespace

std::vector<DefinitionText> shippedDefinitions() {
    std::vector<DefinitionText> documents;
    for (const BuiltInDocument& document : builtInDocuments())
        if (document.folder == "definitions")
            documents.push_back({std::string(document.name), std::string(document.text)});
    return documents;
}

sptr_t<dataface_1::IQueryLibrary> loadQueryLibrary(const std::vector<DefinitionText>& documents,
                                                   const ColumnTest& hasColumn,
                                                   std::vector<std::string>& errors,
                                                   ValueStyles* styles) {
    Definitions definitions;
    for (const DefinitionText& document : documents)
        readDefinitions(document, definitions, errors);
    const auto columns = hasColumn ? std::make_shared<const ColumnTest>(hasColumn) : nullptr;
    QueriesById queries = linkDefinitions(definitions.queries, columns, errors);
    ValueStyles read = readValueStyles(definitions.valueStyles, queries, errors);
    if (styles != nullptr) *styles = std::move(read);
    return make_object<QueryLibrary>(std::move(queries), columns);
}

}  // namespace lanefeed_runtime
