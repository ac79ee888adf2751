#pragma once

#include "queries/query_library.h"

#include <basekit2/variant_bag.h>
#include <dataface_1/query_library.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lanefeed_test {

// A library of definitions written in a test, with what was wrong with them.
struct LibraryText {
    basekit2::sptr_t<dataface_1::IQueryLibrary> library;
    std::vector<std::string> errors;

    basekit2::sptr_t<dataface_1::IQuery> find(const std::string& id) const {
        return library->findQuery(id, nullptr);
    }
};

// The texts are the insides of documents "a.xml", "b.xml" and so on; their first line is line 1.
inline LibraryText loadLibrary(const std::vector<std::string>& documents) {
    std::vector<lanefeed_runtime::DefinitionText> texts;
    for (const std::string& inside : documents) {
        const std::string name(1, static_cast<char>('a' + texts.size()));
        texts.push_back({name + ".xml", "<queryLibrary>" + inside + "</queryLibrary>"});
    }
    LibraryText loaded;
    loaded.library = lanefeed_runtime::loadQueryLibrary(texts, {}, loaded.errors);
    return loaded;
}

// The bag of an XML element.
inline basekit2::variant_bag_t element(const std::string& xml) {
    basekit2::variant_bag_t bag;
    const std::string root = xml.substr(1, xml.find_first_of(" />", 1) - 1);
    EXPECT_TRUE(basekit2::is_success(basekit2::load_variant_bag_from_string2(bag, xml, root)))
        << xml;
    return bag;
}

inline basekit2::variant_t attribute(const basekit2::sptr_t<dataface_1::IQuery>& query,
                                     const std::string& name) {
    basekit2::variant_t value;
    query->getAttribute(name, value);
    return value;
}

// Ids along the chain of a query, itself first, each with a blank after it.
inline std::string chainIds(basekit2::sptr_t<dataface_1::IQuery> query) {
    std::string ids;
    for (; !query.is_null(); query = query->getExpansionQuery())
        ids += query->getId() + " ";
    return ids;
}

// The same of the members of a vector query; "null" for none.
inline std::string memberIds(const basekit2::sptr_t<dataface_1::IVectorQuery>& vector) {
    if (vector.is_null()) return "null";
    std::string ids;
    for (auto it = vector->getQueries(); !it.at_end(); it.next())
        ids += it.current()->getId() + " ";
    return ids;
}

}  // namespace lanefeed_test
