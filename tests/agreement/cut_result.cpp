#include "agreement/cut_result.h"

#include <sqlite3.h>

#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <stdexcept>

namespace lanefeed_test {

using basekit2::make_iterator;
using basekit2::sptr_t;
using basekit2::u64_t;
using storelink1::ITimelineQuery;

namespace {

using Texts = std::vector<std::string>;

struct Source {
    std::string table;
    std::vector<ITimelineQuery::QueryType> types;
    std::string attribute;
    Texts rows;
    Texts expansions;
};

std::vector<Source> sources() {
    const std::vector<ITimelineQuery::QueryType> all = {
        ITimelineQuery::qtTime, ITimelineQuery::qtCount, ITimelineQuery::qtInstanceCount,
        ITimelineQuery::qtCountOverTime};
    return {
        {"slice_data",
         all,
         "",
         {"dd_band::dd_thread", "dd_band::dd_thread.dd_process", ""},
         {"", "attr", "dd_category"}},
        {"async_data", all, "", {"dd_band::dd_track"}, {"", "attr"}},
        {"marker_data", all, "", {"dd_band::dd_thread"}, {"", "attr"}},
        {"counter_data", {ITimelineQuery::qtAttribute}, "value", {"dd_band::dd_counter"}, {""}}};
}

struct Window {
    u64_t start;
    u64_t end;
    int bins;
};

}  // namespace

Texts runSql(const std::string& file, const std::string& statements) {
    sqlite3* opened = nullptr;
    const int code = sqlite3_open(file.c_str(), &opened);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> handle(opened, sqlite3_close);
    Texts fields;
    const auto take = [](void* out, int, char** texts, char**) {
        static_cast<Texts*>(out)->emplace_back(texts[0] != nullptr ? texts[0] : "");
        return 0;
    };
    if (code != SQLITE_OK ||
        sqlite3_exec(opened, statements.c_str(), take, &fields, nullptr) != SQLITE_OK)
        throw std::runtime_error(file + ": " + statements + ": " + sqlite3_errmsg(opened));
    return fields;
}

CutResult::CutResult(const std::string& file, const std::string& statements) {
    const std::string copy = m_directory.file("cut.lft");
    std::filesystem::copy_file(file, copy);
    runSql(copy, "begin;" + statements + ";commit;");
    lanefeed_runtime::StoreError error;
    m_store = lanefeed_runtime::openStore(copy, error);
    if (m_store.failed()) throw std::runtime_error(error.text);
}

Cells cellsOf(storelink1::IDatabase& database,
              const sptr_t<storelink1::ITimelineDatabase>& timeline,
              bool everything,
              const std::string& required) {
    Cells cells;
    u64_t first = 0;
    u64_t last = 0;
    database.getTimeRange(first, last, 0);
    const u64_t third = (last - first) / 3;
    const Window windows[] = {{first, last + 1, 37}, {first + third, first + 2 * third, 10}};
    // Sample point 0 is an interval object, 2 a point object at its end.
    const auto ask = [&](const Source& source, ITimelineQuery::QueryType type, int samplePoint,
                         const std::string& row, const std::string& expansion,
                         const Window& window) {
        const auto query = database.createTimelineQuery();
        if (!row.empty()) query->addRowBy(row, "label");
        query->setSource(type, source.table, source.attribute, "");
        query->setTimelineDatabase(timeline);
        query->setRequiredFilter(required);
        if (!expansion.empty())
            query->addExpansion(source.table, expansion, "name", {}, true, "name", true);
        query->setObjectType(samplePoint == 0 ? ITimelineQuery::otInterval
                                              : ITimelineQuery::otPoint);
        query->setSamplePoint(samplePoint);
        std::vector<storelink1::OverTimeData> data;
        std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
        if (!query->getOverTimeData(window.start, window.end, window.bins, data, metadata, nullptr)
                 .succeeded())
            throw std::runtime_error("no answer about " + source.table);
        const std::string question = fmt::format("{} {} {} {} {} {}", source.table, type,
                                                 samplePoint, row, expansion, window.start);
        for (const auto& record : data)
            for (std::size_t i = 0; i < metadata.size(); ++i)
                for (const auto& cell : record.series[i])
                    cells[fmt::format("{} {} {} {}", question,
                                      record.key.empty() ? 0 : record.key.front(), metadata[i].name,
                                      cell.first)] += cell.second;
    };
    for (const Source& source : sources()) {
        if (!database.isTableExist(source.table)) continue;
        for (const auto type : source.types)
            for (const int samplePoint : {0, 2}) {
                const bool isMean = type == ITimelineQuery::qtCountOverTime;
                if (!everything && (samplePoint != 0 || isMean)) continue;
                for (const std::string& row : source.rows)
                    for (const std::string& expansion : source.expansions)
                        for (const Window& window : windows)
                            ask(source, type, samplePoint, row, expansion, window);
            }
    }
    return cells;
}

Drawings drawingsOf(storelink1::ITimelineDatabase& timeline) {
    constexpr int kThreads = 12;
    constexpr int kLevels = 4;
    Drawings drawings;
    const Texts names = {"dd_band::dd_thread"};
    for (const auto kind : {storelink1::tgIntervals, storelink1::tgSplitIntervals})
        for (int level = -1; level < kLevels; ++level)
            for (int thread = 1; thread <= kThreads; ++thread) {
                sptr_t<storelink1::ITimelineGrouper> grouper;
                timeline.getGrouper(grouper, kind, "slice_data", make_iterator(names),
                                    make_iterator(std::vector<int>{thread}), 0, level);
                if (grouper.is_null()) continue;
                auto& texts = drawings[fmt::format(
                    "{} {} {}", kind == storelink1::tgIntervals ? "intervals" : "pieces", level,
                    thread)];
                sptr_t<storelink1::ITimelineIterator<storelink1::ITimelineInstanceRecord>> cursor;
                grouper->seek(0, cursor);
                for (; cursor->valid(); cursor->next()) {
                    const auto& record = *cursor->current();
                    texts.push_back(fmt::format("{}..{} {}@{}", record.start, record.end,
                                                static_cast<int>(record.attr), record.attr2));
                }
            }
    return drawings;
}

}  // namespace lanefeed_test
