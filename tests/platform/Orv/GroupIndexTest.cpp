#include "platform/Orv/GroupIndex.h"
#include "tests/platform/Orv/Numbers.h"

#include <gtest/gtest.h>
#include <memory>
#include <random>

namespace Orv {
namespace {

struct Tens {
   uint32_t value = 0;
   uint32_t index() const { return value; }
   static Tens fromIndex(uint32_t index) { return {index}; }
};
struct Grouped : Number {
   Tens tens() const { return {value / 10}; }
   static Grouped fromIndex(uint32_t index) { return {{index}}; }
};

TEST(GroupIndexTest, FollowsTheCollectionInItsOrder) {
   KeyedByIndex<Grouped, int> of;
   auto key = [](uint32_t value) { return Grouped{{value}}; };
   for (uint32_t value : {15U, 21U, 11U}) {
      of.set(key(value), 1);
   }
   using Index = GroupIndex<Grouped, KeyedByIndex<Grouped, int>, &Grouped::tens>;
   auto index = std::make_unique<Index>(of);
   auto group = [&](uint32_t tens) {
      Sequence found;
      for (Grouped each : index->members({tens})) {
         found.push_back(each.value);
      }
      return found;
   };
   EXPECT_EQ(group(1), (Sequence{15, 11}));
   EXPECT_EQ(group(7), Sequence{});
   Watcher<Grouped> watcher(
       [&](Grouped const&) { EXPECT_EQ(group(1).size() + group(2).size(), of.size()); });
   of.watch(watcher);
   of.set(key(13), 1);
   of.set(key(15), 2); // overwriting keeps the place
   of.del(key(11));
   of.set(key(11), 1);
   of.del(key(21));
   EXPECT_EQ(group(1), (Sequence{15, 13, 11}));
   EXPECT_EQ(group(2), Sequence{});
   watcher.remove();
   index.reset();
   of.set(key(12), 1); // no watcher is left
}

TEST(GroupIndexTest, RandomHistoriesAgreeWithTheCollection) {
   std::mt19937 random(3);
   KeyedByIndex<Grouped, int> of;
   GroupIndex<Grouped, KeyedByIndex<Grouped, int>, &Grouped::tens> index(of);
   for (int step = 0; step < 3000; ++step) {
      // Few members of few groups, so that groups often have none, one or two.
      Grouped key{{static_cast<uint32_t>(random() % 3 * 10 + random() % 4)}};
      if (random() % 2 == 0) {
         of.set(key, step);
      } else {
         of.del(key);
      }
      for (uint32_t tens = 0; tens < 3; ++tens) {
         Sequence members;
         for (Grouped member : index.members({tens})) {
            members.push_back(member.value);
         }
         auto inOrder = keys(of);
         std::erase_if(inOrder, [&](uint32_t value) { return value / 10 != tens; });
         ASSERT_EQ(members, inOrder) << "step " << step;
      }
   }
}

} // namespace
} // namespace Orv
