#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lanefeed_bench {

// The rows of the instance tables of a result, held in memory to be inserted once more in the best
// plain form: one transaction without journal, 50 bound rows a statement.
class BareInserts {
public:
    explicit BareInserts(const std::string& result);

    std::uint64_t rows() const;
    // Into a new file; false on failure.
    bool insert(const std::string& file) const;

private:
    struct Table {
        std::string name;
        std::string create;
        std::size_t columns = 0;  // without the row id
        std::vector<std::int64_t> cells;
    };

    std::vector<Table> m_tables;
};

}  // namespace lanefeed_bench
