// Queries that no viewpoint defines, such as the name of a column: written as small XML texts and
// made by the query library, so that they behave like all others. Also the paths by which queries
// are compared, columns by name, and the bookkeeping of row-by sources. Texts go in unescaped.
// Tested by tests/provider/queries_test.cpp.

#include "baseproviderimpl.h"

#include "common/check.h"
#include "common/names.h"
#include "common/tablepath.h"

#include <basekit2/variant_bag.h>
#include <facekit_1_x/conversions.h>
#include <platkit_2_18/strings.h>

namespace lanefeed_1 {

namespace {

constexpr char kXmlDeclaration[] = "<?xml version='1.0' encoding='UTF-8'?>\n";

// False, reported, when the text cannot be read or the library refuses it.
bool queryFromText(dataface_1::IQueryLibrary& library,
                   const std::string& element,
                   basekit2::sptr_t<dataface_1::IQuery>& query) {
    basekit2::variant_bag_t bag;
    const auto err =
        basekit2::load_variant_bag_from_string2(bag, kXmlDeclaration + element, "infoQuery");
    if (!LF_CHECK_AS(basekit2::is_success(err), "bk2::is_success(err)")) return false;
    return LF_CHECK_AS(library.createQuery(bag, query, nullptr), "bRet");
}

}  // namespace

basekit2::sptr_t<dataface_1::IQuery> BaseProviderImpl::createNameQuery(
    const std::string& columnName, const std::string& valueType) {
    const auto qLibrary = getQueryLibrary();
    if (!LF_CHECK(qLibrary)) return {};
    std::string id = "timelineNameQuery_" + columnName;
    if (!valueType.empty()) id += "_" + valueType;
    const auto known = m_nameQueries.find(id);
    if (known != m_nameQueries.end()) return known->second;

    auto query = qLibrary->findQuery(id, nullptr);
    if (query.is_null()) {
        std::string element = "<infoQuery id=\"" + id + "\" displayName=\"" + columnName + "\">";
        if (!valueType.empty()) element += "<valueType>" + valueType + "</valueType>";
        if (!queryFromText(*qLibrary, element + "</infoQuery>", query)) return {};
        if (!LF_CHECK(query)) return {};
    }
    m_nameQueries.emplace(id, query);
    return query;
}

basekit2::sptr_t<dataface_1::IInfoQuery> BaseProviderImpl::createInfoQuery(
    const std::string& id,
    const std::string& displayName,
    const std::string& table,
    const std::string& path,
    const std::string& suffix) const {
    const auto qLibrary = getQueryLibrary();
    if (!LF_CHECK(qLibrary)) return {};
    const std::string element = "<infoQuery id=\"" + id + "\" displayName=\"" + displayName +
                                "\"><dbPath>" + table + "::" + path +
                                "</dbPath><displayDbPathSuffix>" + suffix +
                                "</displayDbPathSuffix></infoQuery>";
    basekit2::sptr_t<dataface_1::IQuery> query;
    if (!queryFromText(*qLibrary, element, query)) return {};
    return dataface_1::IInfoQuery::cast(query);
}

basekit2::sptr_t<dataface_1::IInfoQuery> BaseProviderImpl::createInfoQuery(
    const std::string& path) const {
    const auto parts = platkit_2_18::strings::split_string(path, names::kTableSeparator);
    if (!LF_CHECK(parts.size() == 2)) return {};
    if (!LF_CHECK(!parts[0].empty() && !parts[1].empty())) return {};
    return createInfoQuery("internal", "internal", parts[0], parts[1], "");
}

std::string BaseProviderImpl::getPath(const basekit2::sptr_t<dataface_1::IQuery>& query) {
    const auto info = dataface_1::IInfoQuery::cast(query);
    if (info.is_null()) return {};
    return joinTablePath(info->getInstanceTable(), info->getAttributeTable());
}

std::string BaseProviderImpl::getPath(const DicerDataSource* ds) {
    if (!LF_CHECK_AS(ds, "dds")) return {};
    return joinTablePath(ds->m_table, ds->m_path);
}

std::string BaseProviderImpl::getPathSuffix(const basekit2::sptr_t<dataface_1::IQuery>& query) {
    const auto info = dataface_1::IInfoQuery::cast(query);
    return info.is_null() ? std::string() : info->getAttributeName();
}

std::string BaseProviderImpl::getAttrPath(const DicerDataSource* ds) const {
    std::string path = ds != nullptr ? ds->m_path : m_rowByAttrTable;
    concatPaths(path, ds != nullptr ? ds->m_attr : m_rowByAttr);
    return path;
}

basekit2::sptr_t<dataface_1::IColumnInfo> BaseProviderImpl::getColumnByName(
    const basekit2::sptr_t<dataface_1::ITableTree>& tree, const std::string& name) {
    if (tree.is_null()) return {};
    for (auto it = tree->getColumns(nullptr); !it.at_end(); it.next()) {
        auto column = it.current();
        if (getColumnName(column) == name) return column;
    }
    return {};
}

std::string BaseProviderImpl::getColumnName(
    const basekit2::sptr_t<dataface_1::IColumnInfo>& column) {
    if (column.is_null()) return {};
    auto query = column->getQuery();
    const auto vectorQuery = dataface_1::IVectorQuery::cast(query);
    if (!vectorQuery.is_null()) query = vectorQuery->getDefaultQuery();
    if (query.is_null()) return {};
    const auto info = dataface_1::IInfoQuery::cast(query);
    if (!info.is_null()) {
        const auto values = info->getValues(1);
        if (!values.at_end()) return facekit_1_x::variantToString(values.current());
    }
    return query->getName();
}

bool BaseProviderImpl::addRowByDS(const DicerDataSource* ds) {
    const std::string leafTable = getLeafTable(ds);
    if (m_rowByAttrTable.empty()) m_rowByAttrTable = leafTable;
    if (m_rowByAttrTable == leafTable) return true;
    if (isLogged(logError)) {
        logText(logError,
                "Incorrect leaf table for rowBy attr table: " + leafTable + ". Expected: " +
                    m_rowByAttrTable + ". All rowBy's must have the same leaf table.",
                LF_HERE);
    }
    return false;
}

void BaseProviderImpl::addJoinDS(int principalRowByIndex, DicerDataSource ds) {
    if (!LF_CHECK(principalRowByIndex >= 0)) return;
    const auto index = static_cast<std::size_t>(principalRowByIndex);
    if (m_rowByJoins.size() <= index) m_rowByJoins.resize(index + 1);
    m_rowByJoins[index].push_back(std::move(ds));
}

}  // namespace lanefeed_1
