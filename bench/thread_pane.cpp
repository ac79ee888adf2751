// The way from a file to a provider, which benchmarks of requests share.
#include "thread_pane.h"

#include "parse_logger.h"
#include "session/open_result.h"
#include "session/shipped_viewpoints.h"

namespace lanefeed_bench {

ThreadPane::ThreadPane(const std::string& file) {
    lanefeed_runtime::OpenOutcome outcome;
    m_input = lanefeed_runtime::openResult(file, {}, outcome);
    dataface_1::lookup(m_input, m_library);
    basekit2::variant_bag_t bag;
    std::string error;
    lanefeed_runtime::readViewpoint(lanefeed_runtime::shippedViewpointText("trace_events"), bag,
                                    error);
    m_parser.parseViewpoint(bag, m_library, nullptr, m_input,
                            basekit2::make_object<lanefeed_1::ParseLogger>());
    m_provider = lanefeed_1::IDicerProvider::create(m_input);
    m_provider->setResult(kThreads, m_input, &rowSet(), "trace_events", 0);
    readRows();
}

int ThreadPane::readRows() {
    m_provider->getRowSummary(m_table, -1, true, false);
    return m_provider->getRowCount();
}

}  // namespace lanefeed_bench
