// What the pane tells about an object that is pointed at: its tooltip, the values of its
// attributes, what it is highlighted and hatched by, and the object that a band stands for. Values
// come by database id from retrievers, which are kept by the path of their attribute and may hold
// their whole table in memory; only the value that a filter is made of is read with a query of its
// own. An unknown object or table gives a tooltip without the line. Tested by
// tests/provider/tooltips_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"
#include "common/names.h"
#include "common/tablepath.h"
#include "texts.h"

#include <basekit2/environment.h>
#include <storelink1/utils.h>

namespace lanefeed_1 {

namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using storelink1::IAttributeDataRetriever;

constexpr int kNoObject = -1;

class TooltipItem : public ITooltipItem {
public:
    TooltipItem(std::string key, std::string value)
        : m_key(std::move(key)), m_value(std::move(value)) {}

    variant_t getKey() override { return m_key; }
    variant_t getValue() override { return m_value; }

private:
    std::string m_key;
    std::string m_value;
};

std::string printedText(const variant_t& value) {
    variant_t printed;
    basekit2::print_variant(value, printed, false);
    if (!LF_CHECK_AS(printed.can_get<const char*>(), "can_get<const char*>()")) return {};
    return getString(printed.get<const char*>());
}

// A value that is there; false for an unknown id, a missing retriever and for null.
bool readValue(const sptr_t<IAttributeDataRetriever>& retriever, int id, variant_t& value) {
    return !retriever.is_null() && retriever->getValue(id, value) && !value.is_null();
}

}  // namespace

bool DbiProviderImpl::getRetrieverNoCreate(const std::string& table,
                                           sptr_t<IAttributeDataRetriever>& retriever) {
    const auto known = m_retrievers.find(table);
    if (known == m_retrievers.end()) return false;
    retriever = known->second;
    return true;
}

sptr_t<IAttributeDataRetriever> DbiProviderImpl::getRetriever(const std::string& table,
                                                              bool cache) {
    sptr_t<IAttributeDataRetriever> retriever;
    if (getRetrieverNoCreate(table, retriever)) return retriever;
    const auto db = getDb(m_result);
    if (db.is_null()) return {};
    // A table that the store does not know is remembered as well.
    return m_retrievers.emplace(table, db->createAttributeRetriever(table, cache)).first->second;
}

void DbiProviderImpl::cacheTooltipData(const DicerDataSource* ds) {
    if (ds == nullptr) return;
    for (const DicerDataSource::ExtraArgs& extra : ds->m_extras) {
        // Not as paths are joined elsewhere: without a suffix the key starts with the separator.
        std::string key = extra.suffix;
        if (!extra.attr.empty()) key += names::kPathSeparator + extra.attr;
        const bool cache = basekit2::get_environ_value("LANEFEED_TOOLTIPS_CACHE_OFF").empty();
        const auto retriever = getRetriever(key, cache);
        variant_t dropped;  // reading any value brings the table in
        if (!retriever.is_null()) (void)retriever->getValue(0, dropped);
    }
}

void DbiProviderImpl::clearCachedTooltipData() {
    m_retrievers.clear();
}

DbiProviderImpl::TooltipTexts DbiProviderImpl::readTooltip(const DicerDataSource* ds, int id) {
    TooltipTexts texts;
    if (ds == nullptr || id == kNoObject) return texts;
    for (const DicerDataSource::ExtraArgs& extra : ds->m_extras) {
        std::string key = extra.suffix;
        concatPaths(key, extra.attr);
        sptr_t<IAttributeDataRetriever> retriever;
        variant_t value;
        // Nothing is made here: a tooltip holds what was prepared.
        if (!getRetrieverNoCreate(key, retriever) || !readValue(retriever, id, value)) continue;
        texts.emplace_back(&extra, printedText(value));
    }
    return texts;
}

std::string DbiProviderImpl::getTooltip(const DicerDataSource* ds, int id) {
    std::string text;
    for (const auto& [extra, value] : readTooltip(ds, id)) {
        text += "\n";
        if (!extra->query.is_null()) text += extra->query->getName() + ": ";
        text += value;
    }
    // The caller's own title goes in front.
    return text.empty() ? "\n" : text;
}

basekit2::generic_iterator_t<sptr_t<ITooltipItem>> DbiProviderImpl::getTooltips(
    const DicerDataSource* ds, int id) {
    std::vector<sptr_t<ITooltipItem>> items;
    for (auto& [extra, value] : readTooltip(ds, id)) {
        std::string key = extra->query.is_null() ? std::string() : extra->query->getName();
        items.emplace_back(basekit2::make_object<TooltipItem>(std::move(key), std::move(value)));
    }
    return basekit2::make_iterator(std::move(items));
}

variant_t DbiProviderImpl::getAttributeValue(const DicerDataSource* ds, int id) {
    if (ds == nullptr) return {};
    std::string path = ds->m_path;
    concatPaths(path, ds->m_attr);
    const auto parts = splitPath(path);
    if (!LF_CHECK(!parts.empty())) return {};
    const auto db = getDb(m_result);
    if (db.is_null()) return {};
    const auto query = db->createQuery(parts[0], 2);
    if (!LF_CHECK(query)) return {};
    // The table alone stands for its own row ids.
    if (parts.size() == 1) return basekit2::s32_t{id};
    const std::string column = path.substr(parts[0].size() + 1);
    const auto idx = query->addColumn(column);
    if (!LF_CHECK_AS(storelink1::InvalidColIdx != idx, "sl1::InvalidColIdx != idx")) return {};
    const auto condition = query->addCondition(names::kRowIdColumn, 1, id);
    if (!LF_CHECK_AS(storelink1::InvalidCondIdx != condition, "sl1::InvalidCondIdx != idx"))
        return {};
    const storelink1::QueryMutexHolder lock(db.get());
    const auto rs = query->execute();
    return rs.is_null() || rs->atEnd() ? variant_t() : rs->current()->getField(idx);
}

variant_t DbiProviderImpl::getHighlightValue(const DicerDataSource* ds, int id) {
    if (ds == nullptr || id == kNoObject || ds->m_extras.empty()) return {};
    const auto retriever = getRetriever(ds->m_extras.front().suffix, true);
    variant_t value;
    return readValue(retriever, id, value) ? value : variant_t();
}

bool DbiProviderImpl::getHatchesForObject(const DicerDataSource* ds,
                                          int id,
                                          std::vector<IntervalHatch>& hatches) {
    if (ds == nullptr || id < 0) return false;
    const auto info = dataface_1::IInfoQuery::cast(ds->m_defaultQuery);
    if (!LF_CHECK_AS(info, "dr")) return false;
    const auto retriever = getRetriever(info->getDisplayText(), true);
    if (!LF_CHECK_AS(retriever, "dr")) return false;
    variant_t value;
    if (readValue(retriever, id, value)) {
        const int index = storelink1::utils::variantToIndex(value);
        // A small table of styles covers any index.
        if (index >= 0 && !m_hatches.empty())
            hatches.push_back(m_hatches[static_cast<std::size_t>(index) % m_hatches.size()]);
    }
    return !hatches.empty();
}

int DbiProviderImpl::bandToObject(int band, const std::string& table) {
    const auto retriever = getRetriever(table, true);
    if (!LF_CHECK_AS(retriever, "dr")) return kNoObject;
    variant_t value;
    const bool ret = retriever->getValue(band, value);
    return LF_CHECK(ret) ? storelink1::utils::variantToIndex(value) : kNoObject;
}

}  // namespace lanefeed_1
