// The open result as the library sees it: one object that hands out the query library, the store
// and the filters, each made here and kept as long as the result.
// The store is opened first, so that a missing file is told before anything about definitions; the
// definitions come last, since their queries ask the store for its columns.
// Tested by tests/queries/open_result_test.cpp.
#include "open_result.h"

#include "messages/message_catalogs.h"
#include "queries/query_library.h"
#include "queries/value_mappers.h"
#include "query_files.h"
#include "store/open_store.h"
#include "timeline/timeline_database.h"

#include <dataface_1/filters.h>
#include <dataface_1/query_library.h>
#include <storelink1/database.h>

#include <memory>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::notype_ptr_t;
using basekit2::sptr_t;
using basekit2::type_id_t;

class ResultData : public dataface_1::IInputData {
public:
    ResultData(sptr_t<dataface_1::IQueryLibrary> library, ValueStyles styles, OpenStore store)
        : m_store(std::move(store)),
          m_library(std::move(library)),
          m_mappers(makeMapperFactory(std::move(styles), m_store.database)) {}

    notype_ptr_t adapt_to_pointer(unsigned int type) override {
        if (type == type_id_t<dataface_1::IQueryLibrary>::id())
            return notype_ptr_t(m_library.get());
        if (type == type_id_t<dataface_1::IFilterRegistry>::id())
            return notype_ptr_t(m_store.filters.get());
        if (type == type_id_t<storelink1::IPerfDatabase>::id())
            return notype_ptr_t(m_store.perfDatabase.get());
        if (type == type_id_t<dataface_1::IManipulatorMapperFactory>::id())
            return notype_ptr_t(m_mappers.get());
        return IInputData::adapt_to_pointer(type);
    }

    const OpenStore& store() const { return m_store; }

private:
    const OpenStore m_store;
    const sptr_t<dataface_1::IQueryLibrary> m_library;
    const sptr_t<dataface_1::IManipulatorMapperFactory> m_mappers;
};

OpenOutcome::Kind kindOf(const StoreError& error) {
    return error.kind == StoreError::Kind::notUnderstood ? OpenOutcome::notUnderstood
                                                         : OpenOutcome::failed;
}

ColumnTest columnTest(const sptr_t<storelink1::IDatabase>& database) {
    return [database](const std::string& table, const std::string& column) {
        const sptr_t<storelink1::IQuery> query = database->createQuery(table, 2);
        return !query.is_null() && query->addColumn(column) != storelink1::InvalidColIdx;
    };
}

sptr_t<dataface_1::IQueryLibrary> makeLibrary(const sptr_t<storelink1::IDatabase>& database,
                                              const OpenOptions& options,
                                              ValueStyles& styles,
                                              OpenOutcome& outcome) {
    std::vector<DefinitionText> documents;
    if (!readDefinitionFiles(options.queryFiles, documents, outcome)) return {};
    std::vector<std::string> errors;
    sptr_t<dataface_1::IQueryLibrary> library =
        loadQueryLibrary(documents, columnTest(database), errors, &styles);
    takeErrors(std::move(errors), outcome);
    return outcome.isOpened() ? library : sptr_t<dataface_1::IQueryLibrary>();
}

}  // namespace

sptr_t<dataface_1::IInputData> openResult(const std::string& path,
                                          const OpenOptions& options,
                                          OpenOutcome& outcome) {
    outcome = OpenOutcome();
    StoreError error;
    OpenStore store = openStore(path, error);
    if (store.failed()) {
        outcome.kind = kindOf(error);
        outcome.text = error.text;
        return {};
    }
    ValueStyles styles;
    sptr_t<dataface_1::IQueryLibrary> library =
        makeLibrary(store.database, options, styles, outcome);
    if (library.is_null()) return {};
    if (store.filterError.failed()) outcome.warnings.push_back(store.filterError.text);
    if (options.installMessages) installShippedCatalogs();
    return basekit2::make_object<ResultData>(std::move(library), std::move(styles),
                                             std::move(store));
}

std::shared_ptr<const ResultFacts> resultFacts(const sptr_t<dataface_1::IInputData>& result) {
    const auto* data = dynamic_cast<const ResultData*>(result.get());
    return data != nullptr ? data->store().facts : nullptr;
}

ReadCounts readCounts(const sptr_t<dataface_1::IInputData>& result) {
    const auto* data = dynamic_cast<const ResultData*>(result.get());
    if (data == nullptr) return {};
    const TimelineReads reads = timelineReads(data->store().database->getTimelineDatabase());
    return {reads.queries, reads.instances, reads.leftOut, data->store().brokenReads->count(),
            data->store().brokenReads->reason()};
}

}  // namespace lanefeed_runtime
