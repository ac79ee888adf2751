#pragma once

#include <storelink1/database.h>

#include <cstdint>
#include <string>
#include <vector>
#include <viewpointparser.h>

namespace lanefeed_tool {

class AreaView;
class Session;

// An instance of a table that stands under the pointer. Times are pane ticks, half open.
struct PointedInstance {
    int id = 0;
    int row = -1;  // id of the row of the area that it is on, -1 for none
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    // The row of each table asked for that it refers to, -1 for none.
    std::vector<int> references;
};

// Finds instances of the table of a layer as the filters in force leave them. Throws a Failure when
// the table can't be read.
class InstanceFinder {
public:
    // Of what a layer draws. `references`: tables, such as "dd_task", whose rows the instances
    // refer to; the table itself stands for the instance. Session and area outlive the finder.
    InstanceFinder(Session& session,
                   AreaView& area,
                   const lanefeed_1::TLViewpointParser::LayerInfo& layer,
                   std::vector<std::string> references);

    // The instance with an id. Empty when there is none, or none that filters leave.
    std::vector<PointedInstance> withId(int id) const;
    // Whether there is an instance with an id, whatever filters say.
    bool exists(int id) const;
    // The instances on a row, by its id, that cover a tick of the pane: the innermost first. None
    // in time that filters cut out.
    std::vector<PointedInstance> at(int row, std::uint64_t tick) const;

private:
    class Read;
    bool isCutOut(std::uint64_t absoluteTick) const;
    void addRowConditions(storelink1::IQuery& query, int row) const;
    int rowOf(const std::vector<int>& indexes) const;

    Session& m_session;
    AreaView& m_area;
    basekit2::sptr_t<storelink1::IDatabase> m_database;
    std::string m_table;
    std::vector<std::string> m_references;
    std::vector<std::string> m_levels;  // column of each level of the rows
};

}  // namespace lanefeed_tool
