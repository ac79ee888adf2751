#include "support/filter_words.h"

#include "support/fake_queries.h"

#include <sstream>

namespace lanefeed_test {

namespace {

using dataface_1::IQueryFilterBuilder;

basekit2::variant_t valueOf(const std::string& text) {
    if (text == "null") return {};
    if (text.front() == '\'') return text.substr(1, text.size() - 2);
    if (text.find('.') != std::string::npos) return std::stod(text);
    return static_cast<long long>(std::stoll(text));
}

class FilterReader {
public:
    FilterReader(dataface_1::IFilterRegistry& registry, const std::string& words)
        : m_registry(registry), m_words(words), m_time(registry.createTimeFilterBuilder()) {}

    // The members of a group, up to its end.
    void read(IQueryFilterBuilder& builder) {
        for (std::string word; m_words >> word && word != ")";) {
            hasQuery = hasQuery || word.front() != '@';
            if (word.front() == '@') {
                readTime(word.substr(1));
            } else if (word == "filter(") {
                const auto inner = m_registry.createQueryFilterBuilder();
                read(*inner);
                builder.addFilter(inner->build());
            } else if (word.back() == '(') {
                builder.beginGroup(word == "any("    ? IQueryFilterBuilder::groupIncluded
                                   : word == "none(" ? IQueryFilterBuilder::groupExcluded
                                                     : IQueryFilterBuilder::groupNegated);
                read(builder);
                builder.endGroup();
            } else {
                readCondition(builder, word);
            }
        }
    }

    basekit2::sptr_t<dataface_1::ITimeFilter> time() const { return m_time->build(); }

    bool hasQuery = false;
    bool hasTime = false;

private:
    void readTime(const std::string& word) {
        hasTime = true;
        const bool isCut = word.front() == '-';
        const std::size_t dots = word.find("..");
        m_time->addRange(std::stoull(word.substr(isCut ? 1 : 0)),
                         std::stoull(word.substr(dots + 2)), isCut);
    }

    static void readCondition(IQueryFilterBuilder& builder, const std::string& word) {
        const std::size_t equals = word.find('=');
        const bool isExcluded = word[equals - 1] == '!';
        const std::string path = word.substr(0, isExcluded ? equals - 1 : equals);
        const std::size_t colons = path.find("::");
        const std::size_t slash = path.find('/');
        QueryFacts facts;
        facts.table = path.substr(0, colons);
        facts.path = path.substr(colons + 2, slash - colons - 2);
        if (slash != std::string::npos) facts.attr = path.substr(slash + 1);
        builder.addCondition(infoQuery(facts), isExcluded, valueOf(word.substr(equals + 1)));
    }

    dataface_1::IFilterRegistry& m_registry;
    std::istringstream m_words;
    basekit2::sptr_t<dataface_1::ITimeFilterBuilder> m_time;
};

}  // namespace

bool setFilter(dataface_1::IFilterRegistry& registry,
               const std::string& name,
               const std::string& words) {
    FilterReader reader(registry, words);
    const auto builder = registry.createQueryFilterBuilder();
    reader.read(*builder);
    const auto query = builder->build();
    if (query.is_null()) return false;
    registry.removeFilter(name);
    if (reader.hasQuery) registry.setQueryFilter(name, query);
    if (reader.hasTime) registry.setTimeFilter(name, reader.time());
    return true;
}

}  // namespace lanefeed_test
