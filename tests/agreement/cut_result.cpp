#include "agreement/cut_result.h"

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

namespace lanefeed_test {

using basekit2::sptr_t;
using basekit2::u64_t;
using storelink1::ITimelineQuery;

namespace {

using Handle = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

Handle openFile(const std::string& file) {
    sqlite3* opened = nullptr;
    const int code = sqlite3_open(file.c_str(), &opened);
    Handle handle(opened, sqlite3_close);
    if (code != SQLITE_OK) throw std::runtime_error(file + ": " + sqlite3_errmsg(opened));
    return handle;
}

using Rows = std::vector<std::string>;  // first fields

Rows run(const std::string& file, const std::string& statement) {
    const Handle handle = openFile(file);
    Rows rows;
    const auto take = [](void* out, int, char** fields, char**) {
        static_cast<Rows*>(out)->emplace_back(fields[0] != nullptr ? fields[0] : "");
        return 0;
    };
    if (sqlite3_exec(handle.get(), statement.c_str(), take, &rows, nullptr) != SQLITE_OK)
        throw std::runtime_error(statement + ": " + sqlite3_errmsg(handle.get()));
    return rows;
}

struct Source {
    std::string table;
    std::vector<ITimelineQuery::QueryType> types;
    std::string attribute;
    std::vector<std::string> rows;
    std::vector<std::string> expansions;
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

struct Ask {
    storelink1::IDatabase& database;
    sptr_t<storelink1::ITimelineDatabase> timeline;
    const Source& source;
    ITimelineQuery::QueryType type;
    int samplePoint;  // 0: an interval object, 2: a point object at its end
    std::string required;
};

bool isMeanOverBuckets(ITimelineQuery::QueryType type) {
    return type == ITimelineQuery::qtCountOverTime;
}

void addCells(const Ask& ask,
              const std::string& row,
              const std::string& expansion,
              const Window& window,
              Cells& cells) {
    const auto query = ask.database.createTimelineQuery();
    if (!row.empty()) query->addRowBy(row, "label");
    query->setSource(ask.type, ask.source.table, ask.source.attribute, "");
    query->setTimelineDatabase(ask.timeline);
    query->setRequiredFilter(ask.required);
    if (!expansion.empty())
        query->addExpansion(ask.source.table, expansion, "name", {}, true, "name", true);
    query->setObjectType(ask.samplePoint == 0 ? ITimelineQuery::otInterval
                                              : ITimelineQuery::otPoint);
    query->setSamplePoint(ask.samplePoint);
    std::vector<storelink1::OverTimeData> data;
    std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
    if (!query->getOverTimeData(window.start, window.end, window.bins, data, metadata, nullptr)
             .succeeded())
        throw std::runtime_error("no answer about " + ask.source.table);
    const std::string question = ask.source.table + " " + std::to_string(ask.type) + " " +
                                 std::to_string(ask.samplePoint) + " " + row + " " + expansion +
                                 " " + std::to_string(window.start) + " ";
    for (const auto& record : data)
        for (std::size_t i = 0; i < metadata.size(); ++i)
            for (const auto& cell : record.series[i]) {
                const int key = record.key.empty() ? 0 : record.key.front();
                cells[question + std::to_string(key) + " " + metadata[i].name + " " +
                      std::to_string(cell.first)] += cell.second;
            }
}

// The whole result, and a third of it.
void addCells(const Ask& ask, Cells& cells) {
    u64_t first = 0;
    u64_t last = 0;
    ask.database.getTimeRange(first, last, 0);
    const u64_t third = (last - first) / 3;
    for (const std::string& row : ask.source.rows)
        for (const std::string& expansion : ask.source.expansions)
            for (const Window& window :
                 {Window{first, last + 1, 37}, Window{first + third, first + 2 * third, 10}})
                addCells(ask, row, expansion, window, cells);
}

}  // namespace

CutResult::CutResult(const std::string& file, const std::vector<std::string>& statements) {
    const std::string copy = m_directory.file("cut.lft");
    std::filesystem::copy_file(file, copy);
    std::string all;
    for (const std::string& statement : statements)
        all += statement + ";";
    run(copy, "begin;" + all + "commit;");
    lanefeed_runtime::StoreError error;
    m_store = lanefeed_runtime::openStore(copy, error);
    if (m_store.failed()) throw std::runtime_error(error.text);
}

std::string textIn(const std::string& file, const std::string& select) {
    return run(file, select).at(0);
}

long long numberIn(const std::string& file, const std::string& select) {
    return std::stoll(textIn(file, select));
}

std::vector<std::string> instanceTables(const std::string& file) {
    return run(file,
               "select name from sqlite_master where name in"
               " ('slice_data', 'async_data', 'marker_data', 'counter_data')");
}

Cells cellsOf(storelink1::IDatabase& database,
              const sptr_t<storelink1::ITimelineDatabase>& timeline,
              bool everything,
              const std::string& required) {
    Cells cells;
    for (const Source& source : sources()) {
        if (!database.isTableExist(source.table)) continue;
        for (const auto type : source.types)
            for (const int sample : {0, 2}) {
                const bool isAsked = everything || (sample == 0 && !isMeanOverBuckets(type));
                if (isAsked) addCells({database, timeline, source, type, sample, required}, cells);
            }
    }
    return cells;
}

Drawings drawingsOf(storelink1::ITimelineDatabase& timeline) {
    constexpr int kThreads = 12;
    constexpr int kLevels = 4;
    Drawings drawings;
    const std::vector<std::string> names = {"dd_band::dd_thread"};
    for (const auto kind : {storelink1::tgIntervals, storelink1::tgSplitIntervals})
        for (int thread = 1; thread <= kThreads; ++thread)
            for (int level = -1; level < kLevels; ++level) {
                sptr_t<storelink1::ITimelineGrouper> grouper;
                timeline.getGrouper(grouper, kind, "slice_data", basekit2::make_iterator(names),
                                    basekit2::make_iterator(std::vector<int>{thread}), 0, level);
                if (grouper.is_null()) continue;
                std::string& text = drawings[std::to_string(kind) + " " + std::to_string(level) +
                                             " " + std::to_string(thread)];
                sptr_t<storelink1::ITimelineIterator<storelink1::ITimelineInstanceRecord>> cursor;
                grouper->seek(0, cursor);
                for (; cursor->valid(); cursor->next()) {
                    const auto& record = *cursor->current();
                    text += std::to_string(record.start) + ".." + std::to_string(record.end) + " " +
                            std::to_string(record.attr) + "@" + std::to_string(record.attr2) + " ";
                }
            }
    return drawings;
}

}  // namespace lanefeed_test
