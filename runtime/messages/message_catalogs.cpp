// User-visible texts of the runtime, from XML documents that are compiled in.
// Catalogs are immutable once they are read. Tested by tests/queries/open_result_test.cpp.
#include "message_catalogs.h"

#include "built_in_documents.h"
#include "runtime_log.h"

#include <basekit2/variant_bag.h>

#include <map>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::make_object;
using basekit2::sptr_t;
using basekit2::variant_bag_t;
using basekit2::variant_t;
using platkit_2_18::i18n::catalog_t;
using platkit_2_18::i18n::message_t;

using Texts = std::map<std::string, std::string>;

class Catalog : public catalog_t {
public:
    explicit Catalog(Texts texts) : m_texts(std::move(texts)) {}

    bool has_message(const std::string& key) const override { return m_texts.count(key) != 0; }
    message_t message(const std::string& key) const override {
        const auto found = m_texts.find(key);
        return found == m_texts.end() ? message_t() : message_t(found->second);
    }

private:
    const Texts m_texts;
};

class CatalogSource : public settingstore2::IMessageCatalogSource {
public:
    explicit CatalogSource(std::map<std::string, sptr_t<catalog_t>> catalogs)
        : m_catalogs(std::move(catalogs)) {}

    sptr_t<catalog_t> getCatalog(const std::string& name) override {
        const auto found = m_catalogs.find(name);
        return found == m_catalogs.end() ? sptr_t<catalog_t>() : found->second;
    }

private:
    const std::map<std::string, sptr_t<catalog_t>> m_catalogs;
};

std::string textOf(const variant_bag_t& element, const char* name) {
    const auto* value = element.get<variant_t>(name);
    return value == nullptr ? std::string() : value->get<std::string>();
}

}  // namespace

sptr_t<settingstore2::IMessageCatalogSource> readCatalogs(
    const std::vector<std::string_view>& documents, std::vector<std::string>& errors) {
    std::map<std::string, Texts> texts;
    for (const std::string_view& document : documents) {
        variant_bag_t bag;
        const basekit2::error_code_t read =
            basekit2::load_variant_bag_from_string2(bag, std::string(document), "messageCatalog");
        if (!basekit2::is_success(read)) {
            errors.push_back(read.expression());
            continue;
        }
        Texts& catalog = texts[textOf(bag, "name")];
        for (auto it = bag.begin<variant_bag_t>(); !it.at_end(); it.next())
            catalog[textOf(it.get_value(), "key")] = textOf(it.get_value(), "#text");
    }
    std::map<std::string, sptr_t<catalog_t>> catalogs;
    for (auto& [name, entries] : texts)
        catalogs[name] = make_object<Catalog>(std::move(entries));
    return make_object<CatalogSource>(std::move(catalogs));
}

sptr_t<settingstore2::IMessageCatalogSource> shippedCatalogs() {
    std::vector<std::string_view> documents;
    for (const BuiltInDocument& document : builtInDocuments())
        if (document.folder == "texts") documents.push_back(document.text);
    std::vector<std::string> errors;
    sptr_t<settingstore2::IMessageCatalogSource> source = readCatalogs(documents, errors);
    for (const std::string& error : errors)
        logError("message catalog: " + error);
    return source;
}

void installShippedCatalogs() {
    if (settingstore2::getMessageCatalogSource().is_null())
        settingstore2::setMessageCatalogSource(shippedCatalogs());
}

}  // namespace lanefeed_runtime
