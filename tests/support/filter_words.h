#pragma once

#include "support/fake_queries.h"

#include <dataface_1/filters.h>

#include <sstream>
#include <string>

namespace lanefeed_test {

// Reads the words of a filter, see setFilter.
class FilterReader {
public:
    FilterReader(dataface_1::IFilterRegistry& registry, const std::string& words)
        : time(registry.createTimeFilterBuilder()), m_registry(registry), m_words(words) {}

    // The members of a group, up to its end.
    void read(dataface_1::IQueryFilterBuilder& builder) {
        using Builder = dataface_1::IQueryFilterBuilder;
        for (std::string word; m_words >> word && word != ")";) {
            (word.front() == '@' ? hasTime : hasQuery) = true;
            if (word.front() == '@') {
                const bool isCut = word[1] == '-';
                const std::size_t dots = word.find("..");
                time->addRange(std::stoull(word.substr(isCut ? 2 : 1)),
                               std::stoull(word.substr(dots + 2)), isCut);
            } else if (word == "filter(") {
                const auto inner = m_registry.createQueryFilterBuilder();
                read(*inner);
                builder.addFilter(inner->build());
            } else if (word.back() == '(') {
                builder.beginGroup(word == "any("    ? Builder::groupIncluded
                                   : word == "none(" ? Builder::groupExcluded
                                                     : Builder::groupNegated);
                read(builder);
                builder.endGroup();
            } else {
                readCondition(builder, word);
            }
        }
    }

    basekit2::sptr_t<dataface_1::ITimeFilterBuilder> time;
    bool hasQuery = false;
    bool hasTime = false;

private:
    static void readCondition(dataface_1::IQueryFilterBuilder& builder, const std::string& word) {
        const std::size_t equals = word.find('=');
        const bool isExcluded = word[equals - 1] == '!';
        const std::string path = word.substr(0, isExcluded ? equals - 1 : equals);
        const std::string text = word.substr(equals + 1);
        const std::size_t colons = path.find("::");
        const std::size_t slash = path.find('/');
        QueryFacts facts;
        facts.table = path.substr(0, colons);
        facts.path = path.substr(colons + 2, slash - colons - 2);
        if (slash != std::string::npos) facts.attr = path.substr(slash + 1);
        basekit2::variant_t value;
        if (text.front() == '\'')
            value = text.substr(1, text.size() - 2);
        else if (text.find('.') != std::string::npos)
            value = std::stod(text);
        else if (text != "null")
            value = static_cast<long long>(std::stoll(text));
        builder.addCondition(infoQuery(facts), isExcluded, value);
    }

    dataface_1::IFilterRegistry& m_registry;
    std::istringstream m_words;
};

// Sets a filter out of words parted by blanks; no words remove it:
//
//   dd_band::dd_thread=2            the index at the end of a path; -1 or "null" for none
//   slice_data::dd_task/name='a'    the text behind the suffix "name"; reals have a point
//   slice_data::dd_task!=2          excluded
//   any( .. )  none( .. )  not( .. )  filter( .. )    groups, and a filter inside of this one
//   @5..9 @-7..8                    time that is kept, and that is cut out, in absolute ticks
//
// False when the filter can't be built; then the registry is left alone.
inline bool setFilter(dataface_1::IFilterRegistry& registry,
                      const std::string& name,
                      const std::string& words) {
    FilterReader reader(registry, words);
    const auto builder = registry.createQueryFilterBuilder();
    reader.read(*builder);
    const auto query = builder->build();
    if (query.is_null()) return false;
    registry.removeFilter(name);
    if (reader.hasQuery) registry.setQueryFilter(name, query);
    if (reader.hasTime) registry.setTimeFilter(name, reader.time->build());
    return true;
}

}  // namespace lanefeed_test
