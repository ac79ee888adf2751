// Bucketed series against what comes out tick by tick.

#include "timeline/bucket_asker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace {

using basekit2::u64_t;
using lanefeed_runtime::Buckets;
using lanefeed_test::Answer;
using lanefeed_test::Asker;
using lanefeed_test::Cells;
using lanefeed_test::Instance;
using lanefeed_test::ITimelineQuery;
using lanefeed_test::pick;
using lanefeed_test::Question;

constexpr int kBands = 5;
constexpr int kSpan = 200;

// Seeded: random instances, sometimes with pauses and with spans that "global" cuts out.
Asker randomAsker(std::mt19937& random) {
    Asker asker(lanefeed_test::randomInstances(random, pick(random, 1, 60), kBands, 3, kSpan));
    u64_t first = 1;
    for (int i = pick(random, 0, 3); i > 0; --i) {
        first += static_cast<u64_t>(pick(random, 1, 60));
        const u64_t last = first + static_cast<u64_t>(pick(random, 0, 15));
        if (pick(random, 0, 1) == 0)
            asker.pause(first, last);
        else
            asker.cut(first, last);
        first = last + 2;
    }
    asker.onRawResult = pick(random, 0, 1) == 0;
    return asker;
}

template <class Check>
void forRandomQuestions(int rounds, Check&& check) {
    for (int seed = 1; seed <= rounds; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(static_cast<unsigned>(seed));
        Asker asker = randomAsker(random);
        Question question = lanefeed_test::randomQuestion(random);
        check(random, asker, question);
        if (testing::Test::HasFatalFailure()) return;
    }
}

void expectNear(const Cells& found, const Cells& expected) {
    ASSERT_EQ(found.size(), expected.size());
    for (const auto& row : expected)
        for (const auto& series : row.second) {
            const auto& cells = found.at(row.first).at(series.first);
            ASSERT_EQ(cells.size(), series.second.size()) << row.first << " " << series.first;
            for (const auto& cell : series.second)
                ASSERT_NEAR(cells.at(cell.first), cell.second, 1e-9) << "bucket " << cell.first;
        }
}

Cells timeByTick(const Asker& asker, const Question& question) {
    const Buckets buckets(question.start, question.end, question.bins);
    Cells cells;
    for (u64_t tick = question.start; tick < question.end; ++tick)
        for (int band = 1; band <= kBands && !asker.excluded(tick); ++band) {
            const auto open = lanefeed_test::covering(asker.instances(), band, tick);
            if (open.empty()) continue;
            const Instance& innermost = asker.instances()[static_cast<std::size_t>(open.back())];
            ++cells[rowOf(question, innermost)][seriesName(question, innermost)][buckets.at(tick)];
        }
    return cells;
}

TEST(BucketQuery, TimeIsTheUnionAndBelongsToTheInnermost) {
    forRandomQuestions(150, [](std::mt19937&, Asker& asker, const Question& question) {
        const Answer answer = asker.ask(question);
        ASSERT_TRUE(answer.shapesAgree);
        EXPECT_EQ(answer.cells, timeByTick(asker, question));
        EXPECT_EQ(is_success(answer.err), !answer.cells.empty());
    });
}

TEST(BucketQuery, PointsGoToTheBucketOfTheirSample) {
    forRandomQuestions(150, [](std::mt19937& random, Asker& asker, Question& question) {
        question.objectType = ITimelineQuery::otPoint;
        question.samplePoint = pick(random, 0, 2);
        const Buckets buckets(question.start, question.end, question.bins);
        Cells counts;
        Cells instances;
        Cells times;
        for (const Instance& instance : asker.instances()) {
            const u64_t tick = question.samplePoint == 2 ? instance.end : instance.start;
            if (!buckets.contains(tick) || asker.excluded(tick)) continue;
            const int row = rowOf(question, instance);
            const std::string name = seriesName(question, instance);
            ++instances[row][name][buckets.at(tick)];
            for (u64_t own = instance.start; own <= instance.end; ++own)
                if (!asker.excluded(own)) ++times[row][name][buckets.at(tick)];
            if (instance.count != 0)
                counts[row][name][buckets.at(tick)] += static_cast<double>(instance.count);
        }
        question.type = ITimelineQuery::qtInstanceCount;
        EXPECT_EQ(asker.ask(question).cells, instances);
        question.type = ITimelineQuery::qtTime;
        EXPECT_EQ(asker.ask(question).cells, times);
        question.type = ITimelineQuery::qtCount;
        EXPECT_EQ(asker.ask(question).cells, counts);
        question.type = ITimelineQuery::qtCountOverTime;
        EXPECT_EQ(asker.ask(question).cells, counts);
    });
}

TEST(BucketQuery, IntervalsShareTheirCountAndCountWhereTheyTouch) {
    forRandomQuestions(150, [](std::mt19937&, Asker& asker, Question& question) {
        const Buckets buckets(question.start, question.end, question.bins);
        std::map<int, double> ticks;
        for (u64_t tick = question.start; tick < question.end; ++tick)
            if (!asker.excluded(tick)) ++ticks[buckets.at(tick)];
        Cells shares;
        Cells touches;
        Cells active;
        for (const Instance& instance : asker.instances()) {
            std::map<int, double> covered;
            double length = 0;
            for (u64_t tick = instance.start; tick <= instance.end; ++tick) {
                if (asker.excluded(tick)) continue;
                ++length;
                if (buckets.contains(tick)) ++covered[buckets.at(tick)];
            }
            const int row = rowOf(question, instance);
            const std::string name = seriesName(question, instance);
            const auto count = static_cast<double>(instance.count);
            for (const auto& cell : covered) {
                ++touches[row][name][cell.first];
                if (count == 0) continue;
                shares[row][name][cell.first] += count * cell.second / length;
                active[row][name][cell.first] += count * cell.second / ticks[cell.first];
            }
        }
        question.type = ITimelineQuery::qtInstanceCount;
        EXPECT_EQ(asker.ask(question).cells, touches);
        question.type = ITimelineQuery::qtCount;
        expectNear(asker.ask(question).cells, shares);
        question.type = ITimelineQuery::qtCountOverTime;
        expectNear(asker.ask(question).cells, active);
    });
}

// Adds the means of one track to its row and series.
void addTrackByTick(
    const Asker& asker, const Question& question, int band, int attr, Cells& cells) {
    const Buckets buckets(question.start, question.end, question.bins);
    std::vector<Instance> track;
    for (const Instance& instance : asker.instances())
        if (instance.attr == attr && instance.band == band) track.push_back(instance);
    std::map<int, std::pair<double, double>> means;
    for (u64_t tick = question.start; tick < question.end; ++tick) {
        const auto open = lanefeed_test::covering(track, band, tick);
        if (open.empty() || asker.excluded(tick)) continue;
        auto& mean = means[buckets.at(tick)];
        mean.first += static_cast<double>(track[static_cast<std::size_t>(open.back())].count) - 4;
        mean.second += 1;
    }
    for (const auto& mean : means)
        cells[rowOf(question, track.front())][seriesName(question, track.front())][mean.first] +=
            mean.second.first / mean.second.second;
}

TEST(BucketQuery, CountersAreMeansOfTheirTracksAndTracksAddUp) {
    forRandomQuestions(150, [](std::mt19937&, Asker& asker, Question& question) {
        question.type = ITimelineQuery::qtAttribute;
        Cells expected;
        for (int band = 1; band <= kBands; ++band)
            for (int attr = -1; attr <= 3; ++attr)
                addTrackByTick(asker, question, band, attr, expected);
        expectNear(asker.ask(question).cells, expected);
    });
}

// Everything that is summed: by whatever windows and buckets, the sums stay the same.
TEST(BucketQuery, WindowsAndBucketsAddUpToTheWhole) {
    forRandomQuestions(100, [](std::mt19937& random, Asker& asker, Question& question) {
        question.type = pick(random, 0, 1) == 0 ? ITimelineQuery::qtTime : ITimelineQuery::qtCount;
        using Totals = std::map<std::pair<int, std::string>, double>;
        const auto add = [&](Totals& totals) {
            for (const auto& row : asker.ask(question).cells)
                for (const auto& series : row.second)
                    for (const auto& cell : series.second)
                        totals[{row.first, series.first}] += cell.second;
        };
        question.start = 1;
        question.end = kSpan + 1;
        question.bins = 1;
        Totals whole;
        add(whole);
        Totals parts;
        for (question.end = 1; question.end < kSpan + 1;) {
            question.start = question.end;
            question.end += static_cast<u64_t>(pick(random, 1, 70));
            question.bins = pick(random, 1, static_cast<int>(question.end - question.start));
            add(parts);
        }
        ASSERT_EQ(parts.size(), whole.size());
        for (const auto& total : whole) {
            if (question.type == ITimelineQuery::qtTime)
                EXPECT_EQ(parts[total.first], total.second);
            else
                EXPECT_NEAR(parts[total.first], total.second, 1e-9);
        }
    });
}

TEST(BucketQuery, WhatHasDataNeverLooksEmptyAtACoarserZoom) {
    forRandomQuestions(60, [](std::mt19937& random, Asker& asker, Question& question) {
        const int type = pick(random, 0, 4);
        question.type = static_cast<ITimelineQuery::QueryType>(type);
        question.objectType = static_cast<ITimelineQuery::ObjectType>(pick(random, 1, 2));
        question.bins = 12;
        question.end = question.start + 240;
        const Cells fine = asker.ask(question).cells;
        question.bins = 3;
        const Cells coarse = asker.ask(question).cells;
        for (const auto& row : fine)
            for (const auto& series : row.second)
                for (const auto& cell : series.second)
                    ASSERT_EQ(coarse.at(row.first).at(series.first).count(cell.first / 4), 1U);
    });
}

std::vector<Instance> fewInstances() {
    // Thread 1 is bands 2 and 3, thread 2 is bands 4 and 5; thread 0 is band 1.
    return {{1, 100, 2, 1, 2},
            {11, 20, 2, 2, 1},
            {31, 40, 3, 3, 5},
            {41, 45, 4, -1, 1},
            {61, 70, 4, 2, 0}};
}

TEST(BucketQuery, ExpansionsTakeNamesTheyWant) {
    Asker asker(fewInstances());
    Question question;
    question.levels.resize(1);
    question.bins = 2;
    EXPECT_EQ(asker.ask(question).names, (std::vector<std::string>{"[Unknown]", "a1", "a2", "a3"}));
    question.levels[0].values = {"a2", "a7"};
    const Answer wanted = asker.ask(question);
    EXPECT_EQ(wanted.names, std::vector<std::string>{"a2"});
    // The ticks inside a1 are its own even where a1 is not asked for.
    EXPECT_EQ(wanted.cells, (Cells{{1, {{"a2", {{0, 10}}}}}, {2, {{"a2", {{0, 10}}}}}}));
    question.levels[0].values = {"!a2", "!a3"};
    EXPECT_EQ(asker.ask(question).names, (std::vector<std::string>{"[Unknown]", "a1"}));
    question.levels[0].values = {"a9"};
    EXPECT_TRUE(asker.ask(question).names.empty());
    EXPECT_EQ(asker.ask(question).err.value(), basekit2::error_code_t::noResult);

    const auto query = asker.query(Question());
    EXPECT_TRUE(query->addExpansion("slice_data", "attr", "name", {}, false, "", true));
    EXPECT_FALSE(query->addExpansion("slice_data", "nothing", "name", {}, false, "", true));
}

TEST(BucketQuery, ExpansionsSortAndHideByLevel) {
    Asker asker(fewInstances());
    asker.reader->columnTexts["dd_task.weight"] = {"", "30", "200", "4"};
    Question question;
    question.levels.resize(1);
    question.bins = 2;
    const auto names = [&](const char* sort, bool ascending, bool hideZero) {
        question.levels[0].sortName = sort;
        question.levels[0].ascending = ascending;
        question.levels[0].hideZero = hideZero;
        return asker.ask(question).names;
    };
    using Names = std::vector<std::string>;
    EXPECT_EQ(names("name", false, false), (Names{"a3", "a2", "a1", "[Unknown]"}));
    EXPECT_EQ(names("value", false, false), (Names{"a1", "a2", "a3", "[Unknown]"}));
    EXPECT_EQ(names("value", true, false), (Names{"[Unknown]", "a3", "a2", "a1"}));
    question.levels[0].values = {"!nothing"};
    EXPECT_EQ(names("weight", true, false).front(), "a3");
    EXPECT_EQ(names("weight", true, false).at(1), "a1");
    question.start = 25;
    question.end = 45;
    EXPECT_EQ(names("", true, false).size(), 4U);
    EXPECT_EQ(names("", true, true), (Names{"[Unknown]", "a1", "a3"}));

    // Two levels: the outer one decides first, a value of it sorted by all that it holds.
    question = Question();
    question.levels.resize(2);
    question.levels[0].path = "dd_band::dd_thread";
    question.levels[0].sortName = "value";
    question.levels[0].ascending = false;
    question.levels[1].sortName = "name";
    asker.reader->leaves["dd_band::dd_thread"] = "dd_thread";
    asker.reader->columnTexts["dd_thread.name"] = {"t0", "t1", "t2"};
    EXPECT_EQ(asker.ask(question).names,
              (Names{"t1:a1", "t1:a2", "t1:a3", "t2:[Unknown]", "t2:a2"}));
}

TEST(BucketQuery, OverlapOfBandsAddsUpUnlessTheWholeRowIsAskedFor) {
    Asker asker(fewInstances());
    Question question;
    question.bins = 1;
    EXPECT_EQ(asker.ask(question).cells.at(1).at("").at(0), 110);
    question.grouping = "global_data_grouper";
    EXPECT_EQ(asker.ask(question).cells.at(1).at("").at(0), 100);
    question.grouping = "dd_band::dd_thread";
    question.byThread = false;
    EXPECT_EQ(asker.ask(question).cells.at(0).at("").at(0), 115);
}

TEST(BucketQuery, ZerosAreKeptWhenAskedFor) {
    Asker asker({{1, 10, 4, 1, 0}, {21, 30, 4, 1, 3}});
    Question question;
    question.type = ITimelineQuery::qtCount;
    EXPECT_EQ(asker.ask(question).cells, (Cells{{2, {{"", {{1, 3}}}}}}));
    question.keepZeros = true;
    EXPECT_EQ(asker.ask(question).cells, (Cells{{2, {{"", {{0, 0}, {1, 3}}}}}}));
}

TEST(BucketQuery, InstancesOutsideOfEveryRowAreNoRow) {
    Asker asker(fewInstances());
    asker.reader->tables["slice_data"].ids["dd_band::dd_thread"].assign(5, -1);
    Question question;
    EXPECT_TRUE(asker.ask(question).cells.empty());
    question.byThread = false;
    EXPECT_FALSE(asker.ask(question).cells.empty());
}

class Canceled : public relay2::IProgress {
public:
    bool isCanceled() override { return --m_answers < 0; }
    int m_answers = 0;
};

TEST(BucketQuery, AnswersNoDataToWhatHasNone) {
    Asker asker(fewInstances());
    Question question;
    question.bins = 201;  // more buckets than ticks
    EXPECT_EQ(asker.ask(question).err.value(), basekit2::error_code_t::noResult);
    question.bins = 0;
    EXPECT_EQ(asker.ask(question).err.value(), basekit2::error_code_t::noResult);
    question = Question();
    question.start = 150;  // nothing there; the series are told all the same
    const Answer empty = asker.ask(question);
    EXPECT_EQ(empty.err.value(), basekit2::error_code_t::noResult);
    EXPECT_EQ(empty.names.size(), 1U);

    question = Question();
    for (int answers = 0; answers < 3; ++answers) {
        const auto progress = basekit2::make_object<Canceled>();
        progress->m_answers = answers;
        const Answer canceled = asker.ask(question, progress.get());
        EXPECT_EQ(canceled.err.value(), basekit2::error_code_t::noResult);
        EXPECT_TRUE(canceled.cells.empty());
    }
    EXPECT_TRUE(is_success(asker.ask(question).err)) << "a cancelled read leaves nothing behind";

    const auto query = asker.query(question);
    query->setSource(ITimelineQuery::qtTime, "no_data", "", "");
    std::vector<storelink1::OverTimeData> data;
    std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
    EXPECT_FALSE(query->getOverTimeData(1, 100, 10, data, metadata, nullptr).succeeded());
}

TEST(BucketQuery, FiltersAddUpAndAreTakenAsTheyStandWhenTheQueryRuns) {
    Asker asker(fewInstances());
    asker.facts->firstTick = 1;
    asker.facts->lastTick = 100;
    Question question;
    question.bins = 1;
    question.grouping = "global_data_grouper";
    const auto busy = [&](const char* required) {
        std::vector<storelink1::OverTimeData> data;
        std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
        const auto query = asker.query(question);
        query->setRequiredFilter(required);
        if (!is_success(query->getOverTimeData(1, 101, 1, data, metadata, nullptr))) return 0.0;
        return data.front().series.front().at(0);
    };
    for (const bool raw : {false, true}) {
        asker.onRawResult = raw;
        asker.filters->clear();
        EXPECT_EQ(busy("early"), 100) << "a name without a filter";
        asker.filter("global", {{51, 101}});
        EXPECT_EQ(busy(""), 50);
        asker.filter("early", {{1, 61}, {71, 90}});
        EXPECT_EQ(busy("early"), 29);
        asker.filter("early", {{55, 60, true}});
        EXPECT_EQ(busy("early"), 45);
        asker.filter("early", {{1, 51}});
        EXPECT_EQ(busy("early"), 0);
    }
    EXPECT_EQ(asker.reader->reads, 1) << "time is cut in memory";

    question.levels.resize(1);
    asker.filter("global", {{21, 40}});
    EXPECT_EQ(asker.ask(question).names, (std::vector<std::string>{"a1", "a3"}))
        << "series that nothing is left of are gone";
}

TEST(BucketQuery, TellsWhatGlobalCutsOutAndKeepsWithinTheResult) {
    Asker asker(fewInstances());
    asker.facts->firstTick = 1;
    asker.facts->lastTick = 100;
    const auto spans = [&](bool kept) {
        std::vector<std::pair<u64_t, u64_t>> all;
        const auto found = asker.query(Question())->getFilterIntervals(kept);
        for (; !found.at_end(); found.next())
            all.emplace_back(found.current().start, found.current().end);
        return all;
    };
    using Spans = std::vector<std::pair<u64_t, u64_t>>;
    EXPECT_EQ(spans(false), Spans());
    EXPECT_EQ(spans(true), (Spans{{1, 101}}));
    asker.filter("global", {{0, 11}, {51, 1000}, {60, 70, true}});
    EXPECT_EQ(spans(false), (Spans{{11, 51}, {60, 70}}));
    EXPECT_EQ(spans(true), (Spans{{1, 11}, {51, 60}, {70, 101}}));
    asker.filter("global", {{200, 300}});
    EXPECT_EQ(spans(false), (Spans{{1, 101}}));
    EXPECT_EQ(spans(true), Spans());
}

}  // namespace
