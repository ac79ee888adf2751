// Definitions that refer to each other, in an order in which they can be built.
// A walk along the references, depth first and without recursion, since a file may hold any number
// of definitions: a definition that is met again while it is still being walked closes a circle.
// Tested by tests/queries/query_definitions_test.cpp.
#include "definition_linker.h"

#include <utility>

namespace lanefeed_runtime {
namespace {

enum class State { waiting, walking, done };

struct Node {
    const Definition* definition = nullptr;
    State state = State::waiting;
};

struct Step {
    Node* node = nullptr;
    std::vector<std::string> references;
    std::size_t next = 0;
    bool inCircle = false;
};

class Linker {
public:
    Linker(const std::vector<Definition>& definitions,
           const std::shared_ptr<const ColumnTest>& hasColumn,
           std::vector<std::string>& errors)
        : m_errors(errors) {
        for (const Definition& definition : definitions)
            m_nodes[definition.id].definition = &definition;
        m_context.hasColumn = hasColumn;
        m_context.find = [this](const std::string& id) {
            const auto found = m_queries.find(id);
            return found == m_queries.end() ? basekit2::sptr_t<dataface_1::IQuery>()
                                            : found->second;
        };
    }

    // In the order of the definitions, so that errors come in that order too.
    void linkAll(const std::vector<Definition>& definitions) {
        for (const Definition& definition : definitions)
            walkFrom(m_nodes[definition.id]);
    }
    QueriesById takeQueries() { return std::move(m_queries); }

private:
    void walkFrom(Node& first) {
        enter(first);
        while (!m_path.empty()) {
            Step& step = m_path.back();
            if (step.next < step.references.size()) {
                const auto found = m_nodes.find(step.references[step.next++]);
                if (found != m_nodes.end()) follow(found->second);
            } else {
                if (!step.inCircle) build(*step.node->definition);
                step.node->state = State::done;
                m_path.pop_back();
            }
        }
    }

    void enter(Node& node) {
        if (node.state != State::waiting) return;
        node.state = State::walking;
        m_path.push_back({&node, referredIds(node.definition->element)});
    }

    void follow(Node& node) {
        if (node.state == State::walking)
            refuseCircle(node);
        else
            enter(node);
    }

    // The definitions from the one that is met again up to the present one make the circle.
    void refuseCircle(const Node& met) {
        std::string circle;
        bool inside = false;
        for (const Step& step : m_path) {
            inside = inside || step.node == &met;
            if (inside) circle += step.node->definition->id + " -> ";
        }
        Step& closing = m_path.back();
        closing.inCircle = true;
        m_errors.push_back(definitionError(
            *closing.node->definition,
            "meets itself: " + circle + met.definition->id + "; break this circle"));
    }

    void build(const Definition& definition) {
        std::string error;
        auto query = buildQuery(definition.element, m_context, error);
        if (query.is_null())
            m_errors.push_back(definitionError(definition, error));
        else
            m_queries[definition.id] = std::move(query);
    }

    std::map<std::string, Node> m_nodes;
    std::vector<Step> m_path;
    QueriesById m_queries;
    BuildContext m_context;
    std::vector<std::string>& m_errors;
};

}  // namespace

QueriesById linkDefinitions(const std::vector<Definition>& definitions,
                            const std::shared_ptr<const ColumnTest>& hasColumn,
                            std::vector<std::string>& errors) {
    Linker linker(definitions, hasColumn, errors);
    linker.linkAll(definitions);
    return linker.takeQueries();
}

}  // namespace lanefeed_runtime
