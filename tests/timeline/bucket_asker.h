#pragma once

#include "store/filter_registry.h"
#include "store/result_facts.h"
#include "support/filter_words.h"
#include "timeline/random_instances.h"
#include "timeline/timeline_database.h"

#include <storelink1/timeline_query.h>

#include <algorithm>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

// Asks bucketed questions about instances and gives the answers in a form that is easy to compare.
namespace lanefeed_test {

using storelink1::ITimelineQuery;

struct Level {
    std::string path = "attr";
    std::vector<std::string> values;
    bool hideZero = false;
    std::string sortName;
    bool ascending = true;
};

struct Question {
    ITimelineQuery::QueryType type = ITimelineQuery::qtTime;
    ITimelineQuery::ObjectType objectType = ITimelineQuery::otInterval;
    int samplePoint = 0;
    bool keepZeros = false;
    bool byThread = true;
    std::string grouping;
    std::string required;  // filter
    std::vector<Level> levels;
    basekit2::u64_t start = 1;
    basekit2::u64_t end = 201;
    int bins = 1;
};

// A question out of words: "count", "all" (no rows), "zeros", "bins=2", "start=5", "end=9",
// "group=G" and levels: "by=PATH", each with "only=a1,!a2", "hide", "sort=name" and "down".
inline Question questionOf(const std::string& text) {
    Question question;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        const std::string key = word.substr(0, equals);
        const std::string value = equals == std::string::npos ? "" : word.substr(equals + 1);
        if (key == "count") question.type = ITimelineQuery::qtCount;
        if (key == "all") question.byThread = false;
        if (key == "zeros") question.keepZeros = true;
        if (key == "bins") question.bins = std::stoi(value);
        if (key == "start") question.start = std::stoull(value);
        if (key == "end") question.end = std::stoull(value);
        if (key == "group") question.grouping = value;
        if (key == "required") question.required = value;
        if (key == "by") question.levels.push_back({value, {}, false, "", true});
        if (key == "hide") question.levels.back().hideZero = true;
        if (key == "sort") question.levels.back().sortName = value;
        if (key == "down") question.levels.back().ascending = false;
        std::istringstream values(key == "only" ? value : "");
        for (std::string one; std::getline(values, one, ',');)
            question.levels.back().values.push_back(one);
    }
    return question;
}

// Value by row, series and bucket.
using Cells = std::map<int, std::map<std::string, std::map<int, double>>>;

struct Answer {
    basekit2::error_code_t err;
    Cells cells;
    std::vector<std::string> names;
};

class Asker {
public:
    explicit Asker(std::vector<Instance> instances) : m_instances(std::move(instances)) {
        fillReader(*reader, m_instances);
    }
    void pause(basekit2::u64_t first, basekit2::u64_t last) {
        facts->pauses.push_back({first, last});
        m_excluded.push_back({first, last});
    }
    // The same by the filter "global".
    void cut(basekit2::u64_t first, basekit2::u64_t last) {
        m_excluded.push_back({first, last});
        m_cuts += "@-" + std::to_string(first) + ".." + std::to_string(last + 1) + " ";
        setFilter(*filters, "global", m_cuts);
    }
    bool excluded(basekit2::u64_t tick) const {
        return std::any_of(m_excluded.begin(), m_excluded.end(), [&](const auto& span) {
            return span.first <= tick && tick <= span.second;
        });
    }
    const std::vector<Instance>& instances() const { return m_instances; }

    basekit2::sptr_t<ITimelineQuery> query(const Question& question) {
        if (database.is_null()) database = lanefeed_runtime::openTimelineDatabase(reader, facts);
        const auto made = lanefeed_runtime::makeTimelineQuery(database, lookup);
        if (question.byThread) made->addRowBy("dd_band::dd_thread", "name");
        made->setSource(question.type, "slice_data",
                        question.type == ITimelineQuery::qtAttribute ? "value" : "",
                        question.grouping);
        if (!onRawResult)
            made->setTimelineDatabase(
                lanefeed_runtime::filteredTimelineDatabase(database, "global", lookup));
        if (!question.required.empty()) made->setRequiredFilter(question.required);
        made->setFourthFlag(question.keepZeros);
        for (const Level& level : question.levels)
            made->addExpansion(level.path.find("::") == std::string::npos ? "slice_data" : "",
                               level.path, "name", level.values, level.hideZero, level.sortName,
                               level.ascending);
        made->setObjectType(question.objectType);
        if (question.samplePoint != 0) made->setSamplePoint(question.samplePoint);
        return made;
    }

    Answer ask(const Question& question, relay2::IProgress* progress = nullptr) {
        std::vector<storelink1::OverTimeData> data;
        std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
        Answer answer;
        answer.err = query(question)->getOverTimeData(question.start, question.end, question.bins,
                                                      data, metadata, progress);
        for (const auto& entry : metadata)
            answer.names.push_back(entry.name);
        for (const auto& row : data)
            for (std::size_t i = 0; i < row.series.size(); ++i)
                for (const auto& cell : row.series[i])
                    answer.cells[question.byThread ? row.key.at(0) : 0][answer.names.at(i)]
                                [cell.first] += cell.second;
        return answer;
    }

    // Names of the series of a question in words, in their order.
    std::string names(const std::string& question) {
        std::string text;
        for (const std::string& name : ask(questionOf(question)).names)
            text += name + " ";
        return text.substr(0, text.find_last_of(' '));
    }
    // The cells: "ROW SERIES BUCKET=VALUE", parted by commas.
    std::string cells(const std::string& question) {
        std::ostringstream text;
        const Answer answer = ask(questionOf(question));
        if (!is_success(answer.err)) return "no data";
        for (const auto& [row, series] : answer.cells)
            for (const auto& [name, cells] : series)
                for (const auto& [bucket, value] : cells)
                    text << (text.tellp() > 0 ? ", " : "") << row << " "
                         << (name.empty() ? "" : name + " ") << bucket << "=" << value;
        return text.str();
    }

    std::shared_ptr<ColumnReader> reader = std::make_shared<ColumnReader>();
    std::shared_ptr<lanefeed_runtime::ResultFacts> facts =
        std::make_shared<lanefeed_runtime::ResultFacts>();
    basekit2::sptr_t<storelink1::ITimelineDatabase> database;
    basekit2::sptr_t<lanefeed_runtime::FilterRegistry> filters =
        basekit2::make_object<lanefeed_runtime::FilterRegistry>();
    lanefeed_runtime::TimelineFilterLookup lookup = [named = filters](const std::string& name) {
        return named->filter(name);
    };
    bool onRawResult = false;

private:
    std::vector<Instance> m_instances;
    std::vector<std::pair<basekit2::u64_t, basekit2::u64_t>> m_excluded;  // inclusive
    std::string m_cuts;
};

}  // namespace lanefeed_test
