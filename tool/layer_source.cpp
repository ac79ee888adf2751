// Layers as data sources for requests on objects. Tested by tests/tool/selection_test.cpp.

#include "layer_source.h"

#include "area_view.h"
#include "failure.h"
#include "nearest.h"

#include <storelink1/database.h>

#include <charconv>
#include <fmt/format.h>
#include <idicerprovider.h>
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

// Null when the result has no table that the path leads to.
sptr_t<storelink1::IQuery> tableQuery(const sptr_t<dataface_1::IInputData>& result,
                                      const std::string& path) {
    sptr_t<storelink1::IPerfDatabase> performance;
    if (!dataface_1::lookup(result, performance)) return nullptr;
    return performance->getDatabase(result)->createQuery(path, 2);
}

// Names of a table with their rows, in the order of the rows.
std::vector<std::pair<int, std::string>> namesOf(const sptr_t<dataface_1::IInputData>& result,
                                                 const std::string& table) {
    std::vector<std::pair<int, std::string>> names;
    const sptr_t<storelink1::IQuery> query = tableQuery(result, table);
    if (query.is_null()) return names;
    const basekit2::u16_t id = query->addColumn("rowid");
    const basekit2::u16_t name = query->addColumn("name");
    if (name == storelink1::InvalidColIdx) return names;
    sptr_t<storelink1::IPerfDatabase> performance;
    dataface_1::lookup(result, performance);
    const storelink1::QueryMutexHolder lock(performance->getDatabase(result).get());
    const auto records = query->execute();
    for (; !records.is_null() && !records->atEnd(); records->next()) {
        const storelink1::IConstRecord& record = *records->current();
        if (!record[name].is_null())
            names.emplace_back(record[id].get<basekit2::s32_t>(), record[name].get<std::string>());
    }
    return names;
}

}  // namespace

int objectId(const sptr_t<dataface_1::IInputData>& result,
             AreaView& area,
             const DicerDataSource& source,
             const std::string& text,
             const std::string& option) {
    if (tableQuery(result, source.m_path).is_null()) {
        throw Failure(exitUsage, option +
                                     ": the layer draws numbers and tells no objects apart; "
                                     "take one that is broken down by an attribute");
    }
    int id = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), id);
    if (read.ec == std::errc() && read.ptr == text.data() + text.size()) {
        if (id > 0 && !area.provider().getAttributeValue(&source, id).is_null()) return id;
        throw Failure(exitUsage, fmt::format("{}: {} has no row {}", option, source.m_path, text));
    }
    std::vector<std::string> known;
    for (const auto& [row, name] : namesOf(result, source.m_path)) {
        if (name == text) return row;
        known.push_back(name);
    }
    throw Failure(exitUsage, fmt::format("{}: {} has no '{}'{}", option, source.m_path, text,
                                         nearestAdvice(text, known)));
}

}  // namespace lanefeed_tool
