#include "support/fake_queries.h"

namespace lanefeed_test {

namespace {

std::string textOf(const basekit2::variant_bag_t* bag, const char* name) {
    const auto* value = bag != nullptr ? bag->get<basekit2::variant_t>(name) : nullptr;
    return value != nullptr ? value->get<std::string>() : std::string();
}

}  // namespace

QueryFacts factsAt(const std::string& path) {
    QueryFacts facts;
    const std::size_t colons = path.find("::");
    facts.table = path.substr(0, colons);
    facts.path = path.substr(colons + 2);
    const std::size_t last = facts.path.rfind('.') + 1;
    if (facts.path.compare(last, 3, "dd_") == 0) return facts;
    facts.attr = facts.path.substr(last);
    facts.path.resize(last > 0 ? last - 1 : 0);
    return facts;
}

Query namedQuery(const std::string& name) {
    QueryFacts facts;
    facts.id = facts.name = name;
    return infoQuery(facts);
}

basekit2::notype_ptr_t FakeDerivedQuery::adapt_to_pointer(unsigned int type) {
    class Formula : public slicekit_1_0::IRpnFormula {
    public:
        explicit Formula(std::vector<slicekit_1_0::rpn_step_t> steps) : m_steps(std::move(steps)) {}
        std::vector<slicekit_1_0::rpn_step_t> getSteps() const override { return m_steps; }

    private:
        const std::vector<slicekit_1_0::rpn_step_t> m_steps;
    };
    if (facts.formula.empty() || type != basekit2::type_id_t<slicekit_1_0::IRpnFormula>::id())
        return FakeQuery::adapt_to_pointer(type);
    return basekit2::notype_ptr_t(basekit2::make_object<Formula>(facts.formula).get());
}

basekit2::sptr_t<dataface_1::IVectorQuery> vectorOf(
    QueryList members, const std::map<std::string, basekit2::variant_t>& attributes) {
    QueryFacts facts;
    facts.id = "vector";
    facts.attributes = attributes;
    return basekit2::make_object<FakeVectorQuery>(std::move(members), facts);
}

basekit2::sptr_t<dataface_1::IVectorQuery> FakeLibrary::resolveQuery(
    const basekit2::variant_bag_t& element, relay2::IMessenger* messenger) {
    const std::string name = textOf(&element, "query");
    resolved.push_back(element.get_name() + " " + name);
    messengers.insert(messenger);
    const auto found = vectors.find(name);
    return found != vectors.end() ? found->second : nullptr;
}

Query FakeLibrary::findQuery(const std::string& id, relay2::IMessenger* /*messenger*/) {
    const auto found = known.find(id);
    return found != known.end() ? found->second : nullptr;
}

bool FakeLibrary::createQuery(const basekit2::variant_bag_t& bag,
                              Query& out,
                              relay2::IMessenger* /*messenger*/) {
    created.push_back(bag);
    if (refuses) return false;
    QueryFacts facts;
    facts.id = textOf(&bag, "id");
    facts.name = textOf(&bag, "displayName");
    const std::string path = textOf(bag.get<basekit2::variant_bag_t>("dbPath"), "#text");
    const std::size_t colons = path.find("::");
    facts.table = path.substr(0, colons);
    if (colons != std::string::npos) facts.path = path.substr(colons + 2);
    facts.attr = textOf(bag.get<basekit2::variant_bag_t>("displayDbPathSuffix"), "#text");
    out = bag.get_name() == "instanceCountQuery"
              ? makeQuery<FakeDataQuery<dataface_1::IInstanceCountQuery>>(facts)
              : infoQuery(facts);
    return true;
}

}  // namespace lanefeed_test
