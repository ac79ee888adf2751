#pragma once

#include "support/column_reader.h"

#include <algorithm>
#include <random>
#include <vector>

// Instance sets in which everything happens: nested, crossing, equal and touching spans, gaps.
namespace lanefeed_test {

struct Instance {
    basekit2::u64_t start = 0;
    basekit2::u64_t end = 0;  // inclusive
    int band = 0;
    int attr = -1;
    basekit2::s64_t count = 1;
};

inline int pick(std::mt19937& random, int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
}

// The order of a result: of equal starts the longest first.
inline void sortAsWritten(std::vector<Instance>& instances) {
    std::stable_sort(instances.begin(), instances.end(), [](const Instance& a, const Instance& b) {
        return a.start != b.start ? a.start < b.start : a.end > b.end;
    });
}

// Ticks 1..span, by start; equal ones in any order, as readers have to stand.
inline std::vector<Instance> randomInstances(
    std::mt19937& random, int count, int bands, int attrs, int span) {
    std::vector<Instance> instances;
    for (int i = 0; i < count; ++i) {
        Instance instance;
        const int start = pick(random, 1, span);
        const int longest = pick(random, 0, 4) == 0 ? span : std::max(1, span / 20);
        const int length = pick(random, 1, longest);
        instance.start = static_cast<basekit2::u64_t>(start);
        instance.end = static_cast<basekit2::u64_t>(std::min(span, start + length - 1));
        if (!instances.empty() && pick(random, 0, 3) == 0)
            instance.start = instances.back().start;  // equal starts are what order depends on
        instance.end = std::max(instance.start, instance.end);
        instance.band = pick(random, 1, bands);
        instance.attr = pick(random, -1, attrs);
        if (instance.attr == 0) instance.attr = 1;
        instance.count = pick(random, 0, 9);
        instances.push_back(instance);
    }
    std::stable_sort(instances.begin(), instances.end(),
                     [](const Instance& a, const Instance& b) { return a.start < b.start; });
    return instances;
}

// Bands 2k and 2k+1 belong to thread k; attribute a is named "a<a>".
inline void fillReader(ColumnReader& reader, const std::vector<Instance>& instances) {
    ColumnTable& table = reader.tables["slice_data"];
    for (const Instance& instance : instances) {
        table.add(instance.start, instance.end, instance.band, instance.attr, instance.count);
        table.ids["dd_band::dd_thread"].push_back(instance.band / 2);
        table.ids["dd_band"].push_back(instance.band);
        table.ids["slice_data::attr"].push_back(instance.attr);
        table.numbers["value"].push_back(static_cast<double>(instance.count) - 4);
    }
    reader.leaves["slice_data::attr"] = "dd_task";
    std::vector<std::string>& names = reader.columnTexts["dd_task.name"];
    for (int i = 0; i < 100; ++i)
        names.push_back("a" + std::to_string(i));
}

// Instances of a band that cover a tick, outermost first, by their place in the file.
inline std::vector<int> covering(const std::vector<Instance>& instances,
                                 int band,
                                 basekit2::u64_t tick) {
    std::vector<int> found;
    for (std::size_t i = 0; i < instances.size(); ++i)
        if (instances[i].band == band && instances[i].start <= tick && tick <= instances[i].end)
            found.push_back(static_cast<int>(i));
    std::stable_sort(found.begin(), found.end(), [&](int a, int b) {
        const Instance& left = instances[static_cast<std::size_t>(a)];
        const Instance& right = instances[static_cast<std::size_t>(b)];
        return left.start != right.start ? left.start < right.start : left.end > right.end;
    });
    return found;
}

}  // namespace lanefeed_test
