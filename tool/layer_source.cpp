// Layers as data sources for requests on objects. Tested by tests/tool/selection_test.cpp.

#include "layer_source.h"

#include "area_view.h"
#include "failure.h"
#include "nearest.h"
#include "session.h"

#include <storelink1/database.h>
#include <storelink1/utils.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <idicerprovider.h>
#include <iostream>
#include <utility>
#include <vector>

namespace lanefeed_tool {

using basekit2::sptr_t;
using lanefeed_1::DicerDataSource;
using LayerInfo = lanefeed_1::TLViewpointParser::LayerInfo;

const LayerInfo& layerOf(AreaView& area, int layer, const std::string& option) {
    static const std::vector<LayerInfo> kNone;
    const std::vector<LayerInfo>& layers = area.rowSet() != nullptr ? area.rowSet()->layers : kNone;
    if (layer < 0 || static_cast<std::size_t>(layer) >= layers.size()) {
        throw Failure(exitUsage, fmt::format("{}: the area has {} layers, counted from 0", option,
                                             layers.size()));
    }
    return layers[static_cast<std::size_t>(layer)];
}

DicerDataSource objectSource(AreaView& area, int layer, const std::string& option) {
    const LayerInfo& info = layerOf(area, layer, option);
    if (!info.drawBy.ds.m_path.empty()) return info.drawBy.ds;
    for (const DicerDataSource* source : {&info.drawBy.ds, &info.tooltipBy.ds}) {
        for (const DicerDataSource::ExtraArgs& extra : source->m_extras) {
            if (extra.path.empty()) continue;
            DicerDataSource object;
            object.set(extra.path, extra.table, extra.attr, "");
            object.m_defaultQuery = extra.query;
            object.m_infoQueries = info.drawBy.ds.m_infoQueries;
            return object;
        }
    }
    throw Failure(exitUsage,
                  fmt::format("{}: layer {} tells no objects apart; take one that is broken down "
                              "by an attribute or has a tooltipBy",
                              option, layer));
}

namespace {

constexpr std::size_t kIdsTold = 10;

// What a row goes by: its name, and the text that the source shows of it.
struct Called {
    int row = 0;
    std::vector<std::string> names;
};

// Of all rows of the table that a source leads to, in their order.
std::vector<Called> rowsOf(const Session& session, const DicerDataSource& source) {
    std::vector<Called> rows;
    const sptr_t<storelink1::IDatabase> database = session.database();
    const sptr_t<storelink1::IQuery> query = database->createQuery(source.m_path, 2);
    const basekit2::u16_t id = query->addColumn("rowid");
    std::vector<basekit2::u16_t> texts;
    for (const std::string& name : {std::string("name"), source.m_attr}) {
        const basekit2::u16_t column =
            name.empty() ? storelink1::InvalidColIdx : query->addColumn(name);
        if (column != storelink1::InvalidColIdx) texts.push_back(column);
    }
    const storelink1::QueryMutexHolder lock(database.get());
    const auto records = query->execute();
    for (; !records.is_null() && !records->atEnd(); records->next()) {
        const storelink1::IConstRecord& record = *records->current();
        Called row;
        row.row = storelink1::utils::variantToIndex(record[id]);
        for (const basekit2::u16_t text : texts)
            row.names.push_back(storelink1::utils::variantToString(record[text]));
        rows.push_back(std::move(row));
    }
    return rows;
}

// Numbers of the rows that go by a name; of the others what they go by is added to `known`.
std::vector<int> idsOf(const Session& session,
                       const DicerDataSource& source,
                       const std::string& name,
                       std::vector<std::string>& known) {
    std::vector<int> ids;
    for (const Called& row : rowsOf(session, source)) {
        if (std::find(row.names.begin(), row.names.end(), name) != row.names.end())
            ids.push_back(row.row);
        known.insert(known.end(), row.names.begin(), row.names.end());
    }
    return ids;
}

int objectNamed(const Session& session,
                const DicerDataSource& source,
                const std::string& name,
                const std::string& option) {
    const std::string& table = source.m_path;
    std::vector<std::string> known;
    const std::vector<int> ids = idsOf(session, source, name, known);
    if (ids.size() == 1) return ids.front();
    if (ids.empty())
        throw Failure(exitUsage, fmt::format("{}: {} has no row with the name or number '{}'{}",
                                             option, table, name, nearestAdvice(name, known)));
    const std::size_t told = std::min(ids.size(), kIdsTold);
    throw Failure(exitUsage,
                  fmt::format("{}: {} rows of {} are called '{}': {}{}; name one by its number",
                              option, ids.size(), table, name,
                              fmt::join(ids.begin(), ids.begin() + std::ptrdiff_t(told), ", "),
                              told < ids.size() ? " ..." : ""));
}

}  // namespace

int objectId(const Session& session,
             AreaView& area,
             const DicerDataSource& source,
             const std::string& text,
             const std::string& option) {
    if (source.m_path.find('.') != std::string::npos) {
        throw Failure(exitUsage,
                      fmt::format("{}: the layer tells objects apart by {}, which is not "
                                  "of its instances; select --rows of an area that has "
                                  "these as rows",
                                  option, source.m_path));
    }
    const sptr_t<storelink1::IDatabase> database = session.database();
    if (database.is_null() || database->createQuery(source.m_path, 2).is_null()) {
        throw Failure(exitUsage, option +
                                     ": the layer draws numbers and tells no objects apart; "
                                     "take one that is broken down by an attribute");
    }
    int id = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), id);
    const bool isNumber = read.ec == std::errc() && read.ptr == text.data() + text.size();
    if (!isNumber || id <= 0 || area.provider().getAttributeValue(&source, id).is_null())
        return objectNamed(session, source, text, option);
    // A number goes before a name that is written with digits alone.
    std::vector<std::string> others;
    for (const int other : idsOf(session, source, text, others)) {
        if (other == id) continue;
        std::cerr << fmt::format(
            "lanefeed: note: {}: {} is a number of {}; the row called '{}' is "
            "number {}\n",
            option, text, source.m_path, text, other);
        break;
    }
    return id;
}

}  // namespace lanefeed_tool
