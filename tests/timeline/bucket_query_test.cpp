// Bucketed series against what comes out tick by tick.

#include "support/answer_rows.h"
#include "support/cancel_at_poll.h"
#include "timeline/bucket_asker.h"
#include "timeline/buckets.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using basekit2::u64_t;
using lanefeed_runtime::Buckets;
using lanefeed_test::Answer;
using lanefeed_test::Asker;
using lanefeed_test::Cells;
using lanefeed_test::expectAnswers;
using lanefeed_test::Instance;
using lanefeed_test::ITimelineQuery;
using lanefeed_test::pick;
using lanefeed_test::Question;
using lanefeed_test::setFilter;

constexpr int kBands = 5;
constexpr int kSpan = 200;

// Random instances, sometimes very many, with pauses and with spans that "global" cuts out.
Asker randomAsker(std::mt19937& random) {
    const int most = pick(random, 0, 9) == 0 ? 600 : 60;
    Asker asker(lanefeed_test::randomInstances(random, pick(random, 1, most), kBands, 3, kSpan));
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

// With random window, bins and expansion.
Question randomQuestion(std::mt19937& random) {
    Question question;
    question.byThread = pick(random, 0, 3) != 0;
    if (pick(random, 0, 1) == 0) question.levels.resize(1);
    question.start = static_cast<u64_t>(pick(random, 1, 150));
    const int span = pick(random, 1, 220);
    question.end = question.start + static_cast<u64_t>(span);
    question.bins = pick(random, 1, std::min(span, 100));
    return question;
}

template <class Check>
void forRandomQuestions(Check&& check) {
    for (int seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(static_cast<unsigned>(seed));
        Asker asker = randomAsker(random);
        Question question = randomQuestion(random);
        check(random, asker, question);
        if (testing::Test::HasFatalFailure()) return;
    }
}

// Cells of what is summed tick by tick.
class Sums {
public:
    Sums(const Asker& asker, const Question& question)
        : m_asker(asker),
          m_question(question),
          m_buckets(question.start, question.end, question.bins) {}

    bool counts(u64_t tick) const { return m_buckets.contains(tick) && !m_asker.excluded(tick); }
    int bucket(u64_t tick) const { return m_buckets.at(tick); }
    std::map<int, double>& series(const Instance& instance) {
        std::string name = instance.attr < 0 ? "[Unknown]" : "a" + std::to_string(instance.attr);
        if (m_question.levels.empty()) name.clear();
        return cells[m_question.byThread ? instance.band / 2 : 0][name];
    }

    Cells cells;

private:
    const Asker& m_asker;
    const Question& m_question;
    Buckets m_buckets;
};

// To compare what was summed in another order.
Cells rounded(Cells cells) {
    for (auto& row : cells)
        for (auto& series : row.second)
            for (auto& cell : series.second)
                cell.second = std::round(cell.second * 1e7) / 1e7;
    return cells;
}

TEST(BucketQuery, TimeIsTheUnionAndBelongsToTheInnermost) {
    forRandomQuestions([](std::mt19937&, Asker& asker, const Question& question) {
        Sums sums(asker, question);
        for (u64_t tick = question.start; tick < question.end; ++tick)
            for (int band = 1; band <= kBands && sums.counts(tick); ++band) {
                const auto open = lanefeed_test::covering(asker.instances(), band, tick);
                if (open.empty()) continue;
                const auto innermost = static_cast<std::size_t>(open.back());
                ++sums.series(asker.instances()[innermost])[sums.bucket(tick)];
            }
        const Answer answer = asker.ask(question);
        EXPECT_EQ(answer.cells, sums.cells);
        // What isn't asked by rows is a sum, of nothing too.
        EXPECT_EQ(is_success(answer.err), !answer.cells.empty() || !question.byThread);
    });
}

TEST(BucketQuery, PointsGoToTheBucketOfTheirSample) {
    forRandomQuestions([](std::mt19937& random, Asker& asker, Question& question) {
        question.objectType = ITimelineQuery::otPoint;
        question.samplePoint = pick(random, 0, 2);
        Sums counts(asker, question);
        Sums instances(asker, question);
        Sums times(asker, question);
        for (const Instance& instance : asker.instances()) {
            const u64_t tick = question.samplePoint == 2 ? instance.end : instance.start;
            if (!instances.counts(tick)) continue;
            const int bucket = instances.bucket(tick);
            ++instances.series(instance)[bucket];
            for (u64_t own = instance.start; own <= instance.end; ++own)
                if (!asker.excluded(own)) ++times.series(instance)[bucket];
            if (instance.count == 0) continue;
            counts.series(instance)[bucket] += static_cast<double>(instance.count);
        }
        for (const auto& [type, sums] : {std::pair{ITimelineQuery::qtInstanceCount, &instances},
                                         {ITimelineQuery::qtTime, &times},
                                         {ITimelineQuery::qtCount, &counts},
                                         {ITimelineQuery::qtCountOverTime, &counts}}) {
            question.type = type;
            EXPECT_EQ(asker.ask(question).cells, sums->cells) << type;
        }
    });
}

TEST(BucketQuery, IntervalsShareTheirCountAndCountWhereTheyTouch) {
    forRandomQuestions([](std::mt19937&, Asker& asker, Question& question) {
        Sums shares(asker, question);
        Sums touches(asker, question);
        Sums active(asker, question);
        std::map<int, double> ticks;
        for (u64_t tick = question.start; tick < question.end; ++tick)
            if (shares.counts(tick)) ++ticks[shares.bucket(tick)];
        for (const Instance& instance : asker.instances()) {
            std::map<int, double> covered;
            double length = 0;
            for (u64_t tick = instance.start; tick <= instance.end; ++tick) {
                if (!asker.excluded(tick)) ++length;
                if (shares.counts(tick)) ++covered[shares.bucket(tick)];
            }
            const auto count = static_cast<double>(instance.count);
            for (const auto& [bucket, own] : covered) {
                ++touches.series(instance)[bucket];
                if (count == 0) continue;
                shares.series(instance)[bucket] += count * own / length;
                active.series(instance)[bucket] += count * own / ticks[bucket];
            }
        }
        question.type = ITimelineQuery::qtInstanceCount;
        EXPECT_EQ(asker.ask(question).cells, touches.cells);
        question.type = ITimelineQuery::qtCount;
        EXPECT_EQ(rounded(asker.ask(question).cells), rounded(shares.cells));
        question.type = ITimelineQuery::qtCountOverTime;
        EXPECT_EQ(rounded(asker.ask(question).cells), rounded(active.cells));
    });
}

TEST(BucketQuery, CountersAreMeansOfTheirTracksAndTracksAddUp) {
    forRandomQuestions([](std::mt19937&, Asker& asker, Question& question) {
        question.type = ITimelineQuery::qtAttribute;
        Sums means(asker, question);
        std::map<std::pair<int, int>, std::vector<Instance>> tracks;
        for (const Instance& instance : asker.instances())
            tracks[{instance.band, instance.attr}].push_back(instance);
        for (const auto& [band, track] : tracks) {
            std::map<int, std::pair<double, double>> weighed;
            for (u64_t tick = question.start; tick < question.end; ++tick) {
                const auto open = lanefeed_test::covering(track, band.first, tick);
                if (open.empty() || !means.counts(tick)) continue;
                auto& [sum, weight] = weighed[means.bucket(tick)];
                sum += static_cast<double>(track[static_cast<std::size_t>(open.back())].count) - 4;
                ++weight;
            }
            for (const auto& [bucket, mean] : weighed)
                means.series(track.front())[bucket] += mean.first / mean.second;
        }
        EXPECT_EQ(rounded(asker.ask(question).cells), rounded(means.cells));
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

TEST(BucketQuery, ExpansionsTakeSortAndHideTheirValues) {
    Asker asker(fewInstances());
    asker.reader->columnTexts["dd_task.weight"] = {"", "30", "200", "4"};
    asker.reader->leaves["dd_band::dd_thread"] = "dd_thread";
    asker.reader->columnTexts["dd_thread.name"] = {"t0", "t1", "t2"};
    // Of two levels the outer one decides first, a value of it sorted by all that it holds.
    expectAnswers(R"(
        by=attr | [Unknown] a1 a2 a3;                by=attr only=a2,a7 | a2
        by=attr only=!a2,!a3 | [Unknown] a1;         by=attr only=a9 | ''
        by=attr sort=name down | a3 a2 a1 [Unknown]; by=attr sort=value down | a1 a2 a3 [Unknown]
        by=attr sort=value | [Unknown] a3 a2 a1;     by=attr sort=weight only=a1,a2,a3 | a3 a1 a2
        by=attr start=25 end=45 | [Unknown] a1 a2 a3
        by=attr start=25 end=45 hide | [Unknown] a1 a3
        by=dd_band::dd_thread sort=value down by=attr sort=name |
            t1:a1 t1:a2 t1:a3 t2:[Unknown] t2:a2)",
                  [&](const std::string& question) { return asker.names(question); });
    const auto query = asker.query(Question());
    EXPECT_TRUE(query->addExpansion("slice_data", "attr", "name", {}, false, "", true));
    EXPECT_FALSE(query->addExpansion("slice_data", "nothing", "name", {}, false, "", true));
}

TEST(BucketQuery, AnswersWhatThereIsInRowsAndGroups) {
    Asker asker(fewInstances());
    // The ticks inside a1 are its own even where a1 is not asked for; overlap of bands adds up
    // unless the whole row is asked for.
    expectAnswers(R"(
        by=attr only=a2 bins=2 | 1 a2 0=10, 2 a2 0=10;  by=attr only=a9 | no data
        '' | 1 0=110, 2 0=15;                           group=global_data_grouper | 1 0=100, 2 0=15
        all group=dd_band::dd_thread | 0 0=115;         bins=201 | no data;  bins=0 | no data
        bins=-1 | no data;  start=201 | no data;        start=202 end=200 | no data
        count end=71 start=61 | 1 0=0.2;                count end=71 start=61 zeros bins=2 |
            1 0=0.1, 1 1=0.1, 2 0=0, 2 1=0
        start=150 | no data)",
                  [&](const std::string& question) { return asker.cells(question); });
    EXPECT_EQ(asker.names("start=150 by=attr"), "[Unknown] a1 a2 a3") << "series are told";
    asker.database = nullptr;
    asker.reader->tables["slice_data"].ids["dd_band::dd_thread"].assign(5, -1);
    EXPECT_EQ(asker.cells(""), "no data") << "instances outside of every row are no row";
    EXPECT_EQ(asker.cells("all"), "0 0=125");
}

TEST(BucketQuery, ACancelledReadLeavesNothingBehind) {
    Asker asker(fewInstances());
    for (int poll = 1; poll <= 3; ++poll) {
        const auto progress = basekit2::make_object<lanefeed_test::CancelAtPoll>(poll);
        const Answer canceled = asker.ask(Question(), progress.get());
        EXPECT_EQ(canceled.err.value(), basekit2::error_code_t::noResult);
        EXPECT_TRUE(canceled.cells.empty());
    }
    EXPECT_TRUE(is_success(asker.ask(Question()).err));
}

TEST(BucketQuery, FiltersAddUpAndAreTakenAsTheyStandWhenTheQueryRuns) {
    Asker asker(fewInstances());
    const auto busy = [&](const char* global, const char* early) {
        setFilter(*asker.filters, "global", global);
        setFilter(*asker.filters, "early", early);
        return asker.cells("all end=101 group=global_data_grouper required=early");
    };
    for (const bool raw : {false, true}) {
        asker.onRawResult = raw;
        EXPECT_EQ(busy("", ""), "0 0=100") << "a name without a filter";
        EXPECT_EQ(busy("@51..101", ""), "0 0=50");
        EXPECT_EQ(busy("@51..101", "@1..61 @71..90"), "0 0=29");
        EXPECT_EQ(busy("@51..101", "@-55..60"), "0 0=45");
        EXPECT_EQ(busy("@51..101", "@1..51"), "");
    }
    EXPECT_EQ(asker.reader->reads, 1) << "time is cut in memory";
    setFilter(*asker.filters, "global", "@21..40");
    EXPECT_EQ(asker.names("by=attr"), "a1 a3") << "series that nothing is left of are gone";
    setFilter(*asker.filters, "global", "@-31..40");
    EXPECT_EQ(asker.cells("by=attr only=a3"), "1 a3 0=1") << "its last tick is left";
}

TEST(BucketQuery, TellsWhatGlobalCutsOutAndKeepsWithinTheResult) {
    Asker asker(fewInstances());
    asker.facts->firstTick = 1;
    asker.facts->lastTick = 100;
    const auto spans = [&](bool areKept) {
        std::string text;
        for (auto it = asker.query(Question())->getFilterIntervals(areKept); !it.at_end();
             it.next())
            text +=
                std::to_string(it.current().start) + ".." + std::to_string(it.current().end) + " ";
        return text;
    };
    EXPECT_EQ(spans(false) + "kept " + spans(true), "kept 1..101 ");
    setFilter(*asker.filters, "global", "@0..11 @51..1000 @-60..70");
    EXPECT_EQ(spans(false), "11..51 60..70 ");
    EXPECT_EQ(spans(true), "1..11 51..60 70..101 ");
}

}  // namespace
