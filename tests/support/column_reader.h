#pragma once

#include "store/instance_reader.h"

#include <relay2/progress.h>

#include <atomic>
#include <map>
#include <string>
#include <utility>
#include <vector>

// A store of columns in memory, for tests and benchmarks of what reads whole tables.
namespace lanefeed_test {

using lanefeed_runtime::InstanceColumns;
using lanefeed_runtime::InstanceReader;
using lanefeed_runtime::InstanceRequest;

struct ColumnTable {
    InstanceColumns columns;  // ids and number are left empty
    std::map<std::string, std::vector<int>> ids;
    std::map<std::string, std::vector<double>> numbers;

    // By ascending start, as a store would hand them out.
    void add(basekit2::u64_t start,
             basekit2::u64_t end,
             int band,
             int attr = -1,
             basekit2::s64_t count = 1) {
        columns.start.push_back(start);
        columns.end.push_back(end);
        columns.band.push_back(band);
        columns.attr.push_back(static_cast<basekit2::u32_t>(attr));
        columns.count.push_back(count);
    }
};

class ColumnReader : public InstanceReader {
public:
    std::map<std::string, ColumnTable> tables;
    // By path of the instance table: the table at its end, and by "table.column" the texts.
    std::map<std::string, std::string> leaves;
    std::map<std::string, std::vector<std::string>> columnTexts;
    std::atomic<int> reads{0};

    Outcome read(const InstanceRequest& request,
                 InstanceColumns& columns,
                 relay2::IProgress* progress,
                 std::string& error) override {
        ++reads;
        const auto found = tables.find(request.table);
        if (found == tables.end()) return Outcome::noTable;
        if (progress != nullptr && progress->isCanceled()) return Outcome::cancelled;
        columns = found->second.columns;
        for (const std::string& path : request.ids) {
            if (!knowsPath(request.table, path)) {
                error = "no path " + path;
                return Outcome::unknownPath;
            }
            columns.ids.push_back(found->second.ids.at(path));
        }
        if (!request.number.empty()) {
            const auto numbers = found->second.numbers.find(request.number);
            if (numbers == found->second.numbers.end()) return Outcome::unknownPath;
            columns.number = numbers->second;
        }
        return Outcome::done;
    }
    basekit2::u64_t rowCount(const std::string& table) override {
        return tables[table].columns.start.size();
    }
    bool knowsPath(const std::string& table, const std::string& path) override {
        const auto found = tables.find(table);
        return found != tables.end() && found->second.ids.count(path) != 0;
    }
    std::string leafTable(const std::string&, const std::string& path) override {
        return leaves[path];
    }
    std::vector<std::string> texts(const std::string& path) override { return columnTexts[path]; }
};

}  // namespace lanefeed_test
