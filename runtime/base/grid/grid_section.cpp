// Reads the elements of a grid: rowBy, one grouping each, and columnBy. In a section of its own
// anything else is an error, so that a misspelt element is not just ignored; a row set has elements
// for others to read. Tested by tests/agreement/grid_test.cpp.
#include "grid_section.h"

#include "grid_error.h"
#include "vector_query.h"

namespace lanefeed_runtime {
namespace {

using basekit2::error_code_t;
using basekit2::sptr_t;
using basekit2::variant_bag_t;
using basekit2::variant_t;
using dataface_1::IVectorQuery;

constexpr const char* kRowSet = "rowSet";
constexpr const char* kRequiredData = "requiredData";

bool flagOf(const variant_bag_t& bag, const char* name, bool fallback) {
    const variant_t* value = bag.get<variant_t>(name);
    return value != nullptr && value->can_get<bool>() ? value->get<bool>() : fallback;
}

// Whether an element names queries at all, known or not.
bool namesQueries(const variant_bag_t& element) {
    const variant_t* query = element.get<variant_t>("query");
    if (query != nullptr && !query->get<std::string>().empty()) return true;
    for (auto it = element.begin<variant_bag_t>(); !it.at_end(); it.next())
        if (it.get_name() != "displayAttributes") return true;
    return false;
}

class SectionReader {
public:
    SectionReader(const variant_bag_t& bag,
                  dataface_1::IQueryLibrary& library,
                  relay2::IMessenger* messenger,
                  GridSection& section)
        : m_bag(bag), m_library(library), m_messenger(messenger), m_section(section) {}

    error_code_t read() {
        for (auto it = m_bag.begin<variant_bag_t>(); !it.at_end(); it.next()) {
            error_code_t err = readChild(it.get_name(), it.get_value());
            if (!err.succeeded()) return err;
        }
        if (m_bag.get_name() == kRequiredData && m_section.groupings.empty())
            return failure(
                "it has no rowBy; write <rowBy query=\"...\"/> for the rows that it is "
                "about");
        return error_code_t::success;
    }

private:
    bool isRowSet() const { return m_bag.get_name() == kRowSet; }

    error_code_t failure(const std::string& text) const {
        return gridError("<" + m_bag.get_name() + ">: " + text);
    }

    error_code_t readChild(const std::string& name, const variant_bag_t& child) {
        if (name == "rowBy") {
            readRowBy(child);
        } else if (name == "columnBy") {
            return readColumnBy(child);
        } else if (!isRowSet()) {
            return failure("unknown element <" + name + ">; write <rowBy> or <columnBy>");
        }
        return error_code_t::success;
    }

    // In a row set a rowBy without the flag follows the one before it, as everywhere.
    void readRowBy(const variant_bag_t& child) {
        const variant_t* flag = child.get<variant_t>("useGridQuery");
        if (flag != nullptr) m_isForGrid = !flag->can_get<bool>() || flag->get<bool>();
        if (isRowSet() && !m_isForGrid) return;
        const sptr_t<IVectorQuery> grouping =
            namesQueries(child) ? m_library.resolveQuery(child, m_messenger) : makeVectorQuery({});
        const bool isFirst = flagOf(child, "default", false);
        m_section.groupings.insert(
            isFirst ? m_section.groupings.begin() : m_section.groupings.end(), grouping);
    }

    error_code_t readColumnBy(const variant_bag_t& child) {
        m_section.namesColumns = true;  // also by an element that names none
        if (!namesQueries(child)) return error_code_t::success;
        const sptr_t<IVectorQuery> queries = m_library.resolveQuery(child, m_messenger);
        if (queries.is_null())
            return failure(
                "<columnBy> names no query that is known; write ids of queries on "
                "instances in its attribute \"query\"");
        GridColumnRequest column;
        column.required = flagOf(child, "required", m_bag.get_name() == kRequiredData);
        for (auto it = queries->getQueries(); !it.at_end(); it.next()) {
            column.query = it.current();
            if (!hasTotals(column.query))
                return failure("<columnBy>: \"" + column.query->getId() +
                               "\" has no total; name a timeQuery, a countQuery, an "
                               "instanceCountQuery, a dataQuery or a derivedQuery");
            m_section.columns.push_back(column);
        }
        return error_code_t::success;
    }

    const variant_bag_t& m_bag;
    dataface_1::IQueryLibrary& m_library;
    relay2::IMessenger* const m_messenger;
    GridSection& m_section;
    bool m_isForGrid = true;
};

}  // namespace

error_code_t readGridSection(const variant_bag_t& bag,
                             dataface_1::IQueryLibrary& library,
                             relay2::IMessenger* messenger,
                             GridSection& section) {
    return SectionReader(bag, library, messenger, section).read();
}

}  // namespace lanefeed_runtime
