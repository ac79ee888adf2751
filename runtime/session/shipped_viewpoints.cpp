// The viewpoints that come with the runtime, and which of them to show a result with.
// Tested by tests/queries/open_result_test.cpp.
#include "shipped_viewpoints.h"

#include "messages/built_in_documents.h"

#include <storelink1/database.h>

#include <array>

namespace lanefeed_runtime {
namespace {

constexpr std::string_view kExtension = ".xml";
constexpr const char* kRoot = "viewpoint";

struct Fit {
    const char* table = nullptr;
    const char* viewpoint = nullptr;
    const char* rows = "dd_band";  // a result without this table has no rows to show it on
};

// The first table that a result has decides.
constexpr std::array<Fit, 10> kFits = {{{"state_data", "scheduler"},
                                        {"running_data", "scheduler"},
                                        {"wakeup_data", "scheduler"},
                                        {"slice_data", "trace_events"},
                                        // Points of async operations stand on their tracks.
                                        {"marker_data", "trace_events", "dd_thread"},
                                        {"interrupt_data", "scheduler"},
                                        {"migration_data", "scheduler"},
                                        {"counter_data", "counters"},
                                        {"async_data", "asynchronous"},
                                        {"marker_data", "asynchronous", "dd_track"}}};
constexpr const char* kGeneral = "trace_events";

std::string nameOf(const BuiltInDocument& document) {
    return std::string(document.name.substr(0, document.name.size() - kExtension.size()));
}

bool isViewpoint(const BuiltInDocument& document) {
    return document.folder == "viewpoints";
}

}  // namespace

std::vector<std::string> shippedViewpointNames() {
    std::vector<std::string> names;
    for (const BuiltInDocument& document : builtInDocuments())
        if (isViewpoint(document)) names.push_back(nameOf(document));
    return names;
}

std::string shippedViewpointText(const std::string& name) {
    for (const BuiltInDocument& document : builtInDocuments())
        if (isViewpoint(document) && nameOf(document) == name) return std::string(document.text);
    return {};
}

std::string fittingViewpoint(const basekit2::sptr_t<dataface_1::IInputData>& result) {
    basekit2::sptr_t<storelink1::IPerfDatabase> performance;
    if (!dataface_1::lookup(result, performance)) return {};
    const basekit2::sptr_t<storelink1::IDatabase> database = performance->getDatabase(result);
    if (database.is_null()) return {};
    for (const Fit& fit : kFits)
        if (database->isTableExist(fit.table) && database->isTableExist(fit.rows))
            return fit.viewpoint;
    return kGeneral;
}

bool readViewpoint(const std::string& text, basekit2::variant_bag_t& bag, std::string& error) {
    const basekit2::error_code_t read = basekit2::load_variant_bag_from_string2(bag, text, kRoot);
    if (basekit2::is_success(read)) return true;
    error = read.expression();
    return false;
}

}  // namespace lanefeed_runtime
