#pragma once

#include "store/result_facts.h"
#include "timeline/buckets.h"
#include "timeline/random_instances.h"
#include "timeline/time_filter.h"
#include "timeline/timeline_database.h"

#include <storelink1/timeline_query.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

// Asks bucketed questions about random instances and gives the answers in a form that is easy to
// compare, beside what the same question costs tick by tick.
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
    std::vector<Level> levels;
    basekit2::u64_t start = 1;
    basekit2::u64_t end = 201;
    int bins = 10;
};

// Value by row, series and bucket.
using Cells = std::map<int, std::map<std::string, std::map<int, double>>>;

struct Answer {
    basekit2::error_code_t err;
    Cells cells;
    std::vector<std::string> names;
    bool shapesAgree = true;
};

using Filters = std::map<std::string, lanefeed_runtime::NamedFilter>;

class Asker {
public:
    explicit Asker(std::vector<Instance> instances) : m_instances(std::move(instances)) {
        fillReader(*reader, m_instances);
    }
    void pause(basekit2::u64_t first, basekit2::u64_t last) {
        storelink1::time_interval_t span;
        span.start = first;
        span.end = last;
        facts->pauses.push_back(span);
    }
    // The same by the filter "global".
    void cut(basekit2::u64_t first, basekit2::u64_t last) {
        cuts.push_back({first, last + 1, true});
        filter("global", cuts);
    }
    void filter(const std::string& name, const std::vector<TimeRange>& ranges) const {
        (*filters)[name].time = timeFilter(ranges);
    }
    bool excluded(basekit2::u64_t tick) const {
        return std::any_of(
                   facts->pauses.begin(), facts->pauses.end(),
                   [&](const auto& span) { return span.start <= tick && tick <= span.end; }) ||
               std::any_of(cuts.begin(), cuts.end(), [&](const TimeRange& range) {
                   return range.start <= tick && tick < range.end;
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
        for (const auto& entry : metadata) {
            answer.names.push_back(entry.name);
            answer.shapesAgree = answer.shapesAgree &&
                                 entry.nameParts.size() == question.levels.size() &&
                                 entry.idParts.size() == question.levels.size();
        }
        for (const auto& row : data) {
            answer.shapesAgree = answer.shapesAgree && row.series.size() == metadata.size() &&
                                 row.key.size() == (question.byThread ? 1U : 0U);
            for (std::size_t i = 0; i < row.series.size(); ++i)
                for (const auto& cell : row.series[i])
                    answer.cells[question.byThread ? row.key.front() : 0][metadata[i].name]
                                [cell.first] += cell.second;
        }
        return answer;
    }

    std::shared_ptr<ColumnReader> reader = std::make_shared<ColumnReader>();
    std::shared_ptr<lanefeed_runtime::ResultFacts> facts =
        std::make_shared<lanefeed_runtime::ResultFacts>();
    basekit2::sptr_t<storelink1::ITimelineDatabase> database;
    std::shared_ptr<Filters> filters = std::make_shared<Filters>();
    std::vector<TimeRange> cuts;
    lanefeed_runtime::TimelineFilterLookup lookup = [named = filters](const std::string& name) {
        return (*named)[name];
    };
    bool onRawResult = false;

private:
    std::vector<Instance> m_instances;
};

// Name of the series of an instance.
inline std::string seriesName(const Question& question, const Instance& instance) {
    if (question.levels.empty()) return {};
    return instance.attr < 0 ? "[Unknown]" : "a" + std::to_string(instance.attr);
}

inline int rowOf(const Question& question, const Instance& instance) {
    return question.byThread ? instance.band / 2 : 0;
}

// A question with random window, bins and expansion.
inline Question randomQuestion(std::mt19937& random) {
    Question question;
    question.byThread = pick(random, 0, 3) != 0;
    if (pick(random, 0, 1) == 0) question.levels.resize(1);
    question.start = static_cast<basekit2::u64_t>(pick(random, 1, 150));
    const int span = pick(random, 1, 220);
    question.end = question.start + static_cast<basekit2::u64_t>(span);
    question.bins = pick(random, 1, std::min(span, 40));
    return question;
}

}  // namespace lanefeed_test
