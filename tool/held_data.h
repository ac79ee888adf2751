#pragma once

#include <dataface_1/input_data.h>
#include <dataface_1/query_library.h>

#include <string>

namespace lanefeed_tool {

// Tells of queries, by their id, whether a result holds the data that they read.
class HeldData {
public:
    explicit HeldData(const basekit2::sptr_t<dataface_1::IInputData>& input);

    bool holds(const std::string& id) const;

    // Whether a band is a row of this type, such as "dd_thread".
    bool hasBands(const std::string& type) const;

    // Whether a query that rows are made by finds any: the column of a type of bands is in every
    // result, its table and bands are not. True for what is asked of something else than bands.
    bool hasRowsFor(const basekit2::sptr_t<dataface_1::IQuery>& rowBy) const;

private:
    basekit2::sptr_t<dataface_1::IInputData> m_input;
    basekit2::sptr_t<dataface_1::IQueryLibrary> m_library;
};

}  // namespace lanefeed_tool
