#pragma once

#include <basekit2/object.h>
#include <dataface_1/table_tree.h>

#include <gtest/gtest.h>

#include <functional>

namespace lanefeed_test {

// Tests what every table owes its reader, whatever its cells mean:
//   - each walk over rows and columns is fresh, can be taken again and gives the same nodes
//   - a row's table is the table, a column has a table; parents and children agree, both ways
//   - no children is a success
//   - cells answer the same at each read, and leave `out` alone when they answer nothing; a null
//     column and a column of another table are no crash
//   - an iterator and a row keep their table alive
// `make` gives a fresh table at each call; it should have rows and, if the kind can, nested ones.
//   EXPECT_TRUE(keepsTableContract([] { return createMyTable(...); }));
testing::AssertionResult keepsTableContract(
    const std::function<basekit2::sptr_t<dataface_1::ITableTree>()>& make);

}  // namespace lanefeed_test
