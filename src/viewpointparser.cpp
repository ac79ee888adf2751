// A viewpoint from the top down to its rows. Each element is a bag; what the vocabulary does not
// know is reported and passed over, and no area, row set or row is dropped for a failure. Queries
// are resolved afterwards, except those of grids. Tested by tests/viewpoint/golden_test.cpp and
// parser_test.cpp.

#include "viewpointparser.h"

#include "common/bagreading.h"
#include "common/parsereport.h"

#include <algorithm>
#include <iterator>

namespace lanefeed_1 {

namespace {

using basekit2::variant_bag_t;
using platkit_2_18::generic::varg_list;

constexpr int kRuler = -1;

constexpr const char* kIgnoredElements[] = {"helpKeywordF1", "description", "icon"};

struct SizeModeName {
    const char* name;
    TLViewpointParser::SizeMode mode;
};
constexpr SizeModeName kSizeModes[] = {{"auto", TLViewpointParser::sizeAuto},
                                       {"rowLimit", TLViewpointParser::sizeRowLimit}};

bool isIgnored(const std::string& element) {
    return std::find(std::begin(kIgnoredElements), std::end(kIgnoredElements), element) !=
           std::end(kIgnoredElements);
}

TLViewpointParser::SizeMode sizeModeOf(const std::string& text) {
    for (const SizeModeName& entry : kSizeModes)
        if (text == entry.name) return entry.mode;
    return TLViewpointParser::sizeAuto;
}

// A text that the host localises; empty, without asking, when the attribute is absent.
std::string localised(TLViewpointParser& parser, const std::optional<std::string>& key) {
    return key ? parser.getString(*key, varg_list()) : std::string();
}

// Reads the children of one row set. Whether rows come from a grid is a state of the walk: true at
// first, and from then on what the last "rowBy" that says so has said.
class RowSetReader {
public:
    RowSetReader(TLViewpointParser& parser,
                 int areaIndex,
                 TLViewpointParser::RowSet& rowSet,
                 const variant_bag_t& bag)
        : m_parser(parser), m_areaIndex(areaIndex), m_rowSet(rowSet), m_bag(bag) {}

    void read() {
        for (auto it = m_bag.begin<variant_bag_t>(); !it.at_end(); it.next())
            readChild(it.get_name(), it.get_value());
        m_rowSet.columnByFromLayers = m_usesGrid && !m_hasColumnBy;
    }

private:
    void readChild(const std::string& name, const variant_bag_t& child) {
        if (name == "layer") {
            readLayer(child);
        } else if (name == "rowBy") {
            readRowBy(child);
        } else if (name == "gridQuery") {
            createGrid(child, m_rowSet.gridQuery, kGridFailure);
        } else if (name == "requiredData") {
            createGrid(child, m_rowSet.requiredData, kRequiredDataFailure);
        } else if (name == "columnBy") {
            m_hasColumnBy = true;
        }
    }

    void readLayer(const variant_bag_t& child) {
        TLViewpointParser::LayerInfo layer;
        layer.id = static_cast<int>(m_rowSet.layers.size()) + 1;
        m_parser.parseLayer(m_areaIndex, m_rowSet.id, layer, child, m_rowSet.rowBys.size());
        m_rowSet.layers.push_back(layer);
    }

    void readRowBy(const variant_bag_t& child) {
        if (const auto* flag = child.get<basekit2::variant_t>("useGridQuery"))
            m_usesGrid = !isFlag(*flag) || flag->get<bool>();
        if (m_usesGrid) {
            // The grid wants the row set as a whole, its columns included.
            createGrid(m_bag, m_rowSet.gridQuery, kGridFailure);
            return;
        }
        TLViewpointParser::RowBy rowBy;
        m_parser.parseRowBy(rowBy, child);
        m_rowSet.rowBys.push_back(rowBy);
    }

    void createGrid(const variant_bag_t& section,
                    basekit2::sptr_t<slicekit_1_0::IGridViewpointParser>& out,
                    const char* failure) const {
        const basekit2::error_code_t err = slicekit_1_0::createGridViewpointParser(
            section, out, m_parser.m_library, m_parser.m_messenger, m_parser.m_result);
        if (err.succeeded()) return;
        reportArea(m_parser.m_logger.get(), m_areaIndex, failure + err.as_string(1), LF_HERE);
    }

    static constexpr char kGridFailure[] = "Failed to create grid viewpoint parser: ";
    static constexpr char kRequiredDataFailure[] =
        "Failed to create required data viewpoint parser: ";

    TLViewpointParser& m_parser;
    int m_areaIndex;
    TLViewpointParser::RowSet& m_rowSet;
    const variant_bag_t& m_bag;
    bool m_usesGrid = true;
    bool m_hasColumnBy = false;
};

}  // namespace

TLViewpointParser::~TLViewpointParser() = default;

std::string TLViewpointParser::getString(const std::string& /*key*/, const varg_list& /*args*/) {
    return {};
}

unsigned char TLViewpointParser::getOvertimeColor() {
    return 0;
}

unsigned char TLViewpointParser::getFilteredOvertimeColor() {
    return 0;
}

void TLViewpointParser::parseViewpoint(
    variant_bag_t viewpoint,  // NOLINT(performance-unnecessary-value-param): as hosts know it
    basekit2::sptr_t<dataface_1::IQueryLibrary> library,
    relay2::IMessenger* messenger,
    basekit2::sptr_t<dataface_1::IInputData> result,
    const basekit2::sptr_t<ParseLogger>& logger) {
    if (!LF_CHECK(library && result && logger)) return;
    m_messenger = messenger;
    m_library = library.get();
    m_result = result;
    m_logger = logger;
    m_areas.clear();
    for (auto it = viewpoint.begin<variant_bag_t>(); !it.at_end(); it.next()) {
        const std::string& name = it.get_name();
        if (name == "area") {
            Area area;
            area.index = static_cast<int>(m_areas.size()) + 1;
            parseArea(area, it.get_value());
            m_areas.push_back(area);
        } else if (name == "ruler") {
            parseRuler(it.get_value());
        } else if (!isIgnored(name)) {
            reportViewpoint(m_logger.get(),
                            "Timeline: Unknown top-level element <" + name +
                                "> found. Expected <area> or <ruler>.",
                            LF_HERE);
        }
    }
    if (m_areas.empty()) {
        reportViewpoint(m_logger.get(),
                        "Timeline: At least one <area> was expected"
                        "but could not be found. Timeline will appear empty.",
                        LF_HERE);
        return;
    }
    resolveQueries();
}

void TLViewpointParser::parseRuler(const variant_bag_t& bag) {
    if (m_hasRuler) {
        noteViewpoint(m_logger.get(),
                      "Multiple <ruler> found. Only the first <ruler> will be used.");
        return;
    }
    for (auto it = bag.begin<variant_bag_t>(); !it.at_end(); it.next()) {
        if (it.get_name() != "layer") {
            reportArea(
                m_logger.get(), kRuler,
                "Unknown element <" + it.get_name() + "> found under <ruler>. Expected <layer>.",
                LF_HERE);
            continue;
        }
        LayerInfo layer;
        layer.id = static_cast<int>(m_rulerLayers.size()) + 1;
        parseLayer(0, 0, layer, it.get_value(), 0);
        m_rulerLayers.push_back(layer);
    }
    // A ruler without a layer does not count: the next one may still come.
    m_hasRuler = !m_rulerLayers.empty();
}

void TLViewpointParser::parseArea(Area& area, const variant_bag_t& bag) {
    const StrictReader strict(bag, LF_HERE);
    const TolerantReader tolerant(bag);
    area.headerMode = localised(*this, strict.text("headerMode"));
    area.maxLabels = strict.flag("maxLabels").value_or(false);
    area.sizeMode = sizeModeOf(strict.text("sizeMode").value_or(""));
    area.id = tolerant.text("id").value_or("");
    area.visible = strict.flag("visible").value_or(true);
    area.showYScale = tolerant.flag("showYScale").value_or(false);
    area.useWideBands = tolerant.flag("useWideBands").value_or(true);
    area.rowOutlineStyle = tolerant.text("rowOutlineStyle").value_or("");
    for (auto it = bag.begin<variant_bag_t>(); !it.at_end(); it.next()) {
        if (it.get_name() != "rowSet") {
            reportArea(m_logger.get(), area.index,
                       "Unknown element <" + it.get_name() + "> found. Expected <rowSet>", LF_HERE);
        } else if (!area.rowSets.empty()) {
            noteArea(m_logger.get(), area.index,
                     "repeating <rowSet> found under <area>."
                     "Only the first <rowSet> will be used, the others are ignored.");
        } else {
            RowSet rowSet;
            rowSet.id = static_cast<int>(area.rowSets.size()) + 1;
            parseRowSet(area.index, rowSet, it.get_value());
            area.rowSets.push_back(rowSet);
        }
    }
}

void TLViewpointParser::parseRowSet(int areaIndex, RowSet& rowSet, const variant_bag_t& bag) {
    rowSet.hasRowBySelection = false;
    rowSet.displayName = localised(*this, StrictReader(bag, LF_HERE).text("displayName"));
    RowSetReader(*this, areaIndex, rowSet, bag).read();
}

void TLViewpointParser::parseRowBy(RowBy& rowBy, const variant_bag_t& bag) {
    rowBy.bag = bag;
    rowBy.valid = true;
    rowBy.hasColor = false;
    const std::optional<std::string> name = StrictReader(bag, LF_HERE).text("displayName");
    rowBy.displayName = getString(name.value_or("%Running_wait_state"), varg_list());
}

}  // namespace lanefeed_1
