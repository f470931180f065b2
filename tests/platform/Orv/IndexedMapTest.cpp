#include "platform/Orv/Collection.h"
#include "platform/Orv/IndexedSet.h"
#include "platform/Orv/InsertionOrder.h"

#include <gtest/gtest.h>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace Orv {
namespace {

struct Key {
   uint32_t value = 0;
   uint32_t index() const { return value; }
   static Key fromIndex(uint32_t index) { return {index}; }
};

std::vector<uint32_t> keys(IndexedMap<Key, std::string> const& map) {
   std::vector<uint32_t> found;
   map.forEach([&](Key key, std::string const&) { found.push_back(key.value); });
   return found;
}

TEST(IndexedMapTest, KeepsValuesInPlaceAndKeysInOrderOfInsertion) {
   IndexedMap<Key, std::string> map;
   for (uint32_t value : {500U, 3U, 0U, 40U}) {
      map[Key{value}] = std::to_string(value);
   }
   std::string const* place = map.find(Key{3});
   for (uint32_t value = 1000; value < 2000; ++value) {
      map[Key{value}];
   }
   EXPECT_EQ(map.find(Key{3}), place);
   EXPECT_EQ(*place, "3");
   for (uint32_t value = 1000; value < 2000; ++value) {
      EXPECT_TRUE(map.erase(Key{value}));
   }
   EXPECT_EQ(keys(map), (std::vector<uint32_t>{500, 3, 0, 40}));

   // From the front, the middle and the end; then back again, behind the others.
   EXPECT_TRUE(map.erase(Key{500}) && map.erase(Key{0}) && map.erase(Key{40}));
   EXPECT_FALSE(map.erase(Key{0}));
   EXPECT_EQ(map.find(Key{0}), nullptr);
   EXPECT_EQ(map[Key{40}], "") << "the old value is gone";
   map[Key{500}] = "again";
   EXPECT_EQ(keys(map), (std::vector<uint32_t>{3, 40, 500}));

   IndexedMap<Key, std::string> moved = std::move(map);
   EXPECT_EQ(keys(moved), (std::vector<uint32_t>{3, 40, 500}));
   moved.clear();
   EXPECT_TRUE(moved.empty() && keys(moved).empty() && !moved.contains(Key{3}));
}

TEST(IndexedMapTest, InsertionOrderFollowsACollection) {
   KeyedByIndex<Key, int> collection;
   collection.set(Key{7}, 1);
   collection.set(Key{2}, 1);
   {
      InsertionOrder<Key> order(collection);
      collection.set(Key{7}, 2); // keeps its place
      collection.set(Key{5}, 1);
      EXPECT_TRUE(0 < order.place(Key{7}) && order.place(Key{7}) < order.place(Key{2}) &&
                  order.place(Key{2}) < order.place(Key{5}));
      collection.del(Key{7});
      EXPECT_EQ(order.place(Key{7}), 0U);
      collection.set(Key{7}, 1);
      EXPECT_LT(order.place(Key{5}), order.place(Key{7}));
   }
   collection.set(Key{9}, 1); // nobody follows any more
}

TEST(IndexedSetTest, AgreesWithASet) {
   IndexedSet<Key> indexed;
   std::set<uint32_t> expected;
   std::mt19937 random(1);
   for (int step = 0; step < 2000; ++step) {
      uint32_t value = random() % 300;
      EXPECT_EQ(indexed.contains(Key{value}), expected.contains(value));
      if (random() % 2 == 0) {
         EXPECT_EQ(indexed.insert(Key{value}), expected.insert(value).second);
      } else {
         EXPECT_EQ(indexed.erase(Key{value}), expected.erase(value) == 1);
      }
      ASSERT_EQ(indexed.size(), expected.size());
   }
   std::vector<uint32_t> found;
   for (Key key : indexed.keys()) {
      found.push_back(key.value);
   }
   EXPECT_EQ(found, std::vector<uint32_t>(expected.begin(), expected.end()));
}

} // namespace
} // namespace Orv
