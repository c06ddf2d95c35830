#include "multimap_fixture.hpp"

class MultimapInsert : public MultimapTest {};

TEST_F(MultimapInsert, KeepsValuesInOrder)
{
    fill(map, {{"key", {"b", "a", "c"}}});
    EXPECT_EQ(values_of(map, "key"), (std::vector<std::string>{"b", "a", "c"}));
    expect_unchanged(1, [&] { return insert(map, "key", "a"); });
}
