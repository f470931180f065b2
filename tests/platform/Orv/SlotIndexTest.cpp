#include "platform/Orv/SlotIndex.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace Orv {
namespace {

TEST(SlotIndexTest, FindsWhatIsThereAndNothingElse) {
   std::mt19937_64 random(5);
   SlotIndex index;
   std::vector<uint64_t> hashes; // of entry i; 0: not there
   std::size_t there = 0;
   auto found = [&](uint32_t entry, uint64_t hash) {
      return index.find(hash, [&](uint32_t at) { return at == entry; }) == entry;
   };
   for (int step = 0; step < 200000; ++step) {
      bool fill = (step / 40000) % 2 == 0;
      if (fill || there == 0) {
         // A quarter of the entries share a few hashes, so that splitting cannot separate them.
         uint64_t hash = (random() % 4 == 0 ? random() % 8 * 0x100000001ULL : random()) | 1ULL
                                                                                              << 63;
         index.insert(hash, static_cast<uint32_t>(hashes.size()));
         hashes.push_back(hash);
         ++there;
      } else {
         auto entry = static_cast<uint32_t>(random() % hashes.size());
         if (hashes[entry] != 0) {
            index.erase(hashes[entry], entry);
            EXPECT_FALSE(found(entry, hashes[entry]));
            hashes[entry] = 0;
            --there;
         }
      }
   }
   for (uint32_t entry = 0; entry < hashes.size(); ++entry) {
      ASSERT_TRUE(hashes[entry] == 0 || found(entry, hashes[entry])) << entry;
   }
}

} // namespace
} // namespace Orv
