#include "platform/Orv/SlotIndex.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace Orv {

SlotIndex::~SlotIndex() {
   if (directory_ == nullptr) {
      return;
   }
   std::size_t count = std::size_t{1} << depth_;
   for (std::size_t i = 0; i < count;) {
      Segment* segment = directory_[i];
      i += std::size_t{1} << (depth_ - segment->depth);
      freeSegment(segment);
   }
   delete[] directory_;
}

SlotIndex::Segment* SlotIndex::makeSegment(uint32_t slots, uint32_t depth) {
   std::size_t size = offsetof(Segment, slots) + slots * sizeof(Slot);
   auto* segment = static_cast<Segment*>(::operator new(size));
   segment->mask = slots - 1;
   segment->used = 0;
   segment->depth = depth;
   std::fill_n(segment->slots, slots, Slot{0, kNil});
   return segment;
}

void SlotIndex::freeSegment(Segment* segment) {
   ::operator delete(segment);
}

void SlotIndex::put(Segment& segment, Slot slot) {
   uint32_t at = slot.hash & segment.mask;
   while (segment.slots[at].entry != kNil) {
      at = (at + 1) & segment.mask;
   }
   segment.slots[at] = slot;
   ++segment.used;
}

void SlotIndex::moveSlots(Segment const& from, Segment& to) {
   for (uint32_t at = 0; at <= from.mask; ++at) {
      if (from.slots[at].entry != kNil) {
         put(to, from.slots[at]);
      }
   }
}

void SlotIndex::insert(uint64_t hash, uint32_t entry) {
   auto shortHash = static_cast<uint32_t>(hash);
   if (directory_ == nullptr) {
      directory_ = new Segment* [1] { makeSegment(kFirstSlots, 0) };
   }
   // A quarter of the slots stays free, which keeps probe runs short and ends them.
   Segment const* segment = directory_[directorySlot(shortHash)];
   while (segment->used >= (segment->mask + 1) / 4 * 3) {
      grow(shortHash);
      segment = directory_[directorySlot(shortHash)];
   }
   put(*directory_[directorySlot(shortHash)], Slot{shortHash, entry});
}

void SlotIndex::grow(uint32_t hash) {
   Segment*& segment = directory_[directorySlot(hash)];
   // Past kMaxDepth the hashes are equal in so many bits that splitting would not separate them.
   if (segment->mask + 1 >= kSegmentSlots && segment->depth < kMaxDepth) {
      split(hash);
      return;
   }
   Segment* larger = makeSegment((segment->mask + 1) * 2, segment->depth);
   moveSlots(*segment, *larger);
   Segment* old = segment;
   std::replace(directory_, directory_ + (std::size_t{1} << depth_), old, larger);
   freeSegment(old);
}

void SlotIndex::split(uint32_t hash) {
   Segment* old = directory_[directorySlot(hash)];
   if (old->depth == depth_) {
      std::size_t count = std::size_t{1} << depth_;
      auto** doubled = new Segment*[count * 2];
      for (std::size_t i = 0; i < count; ++i) {
         doubled[2 * i] = doubled[2 * i + 1] = directory_[i];
      }
      delete[] directory_;
      directory_ = doubled;
      ++depth_;
   }
   uint32_t depth = old->depth + 1;
   Segment* low = makeSegment(old->mask + 1, depth);
   Segment* high = makeSegment(old->mask + 1, depth);
   for (uint32_t at = 0; at <= old->mask; ++at) {
      Slot slot = old->slots[at];
      if (slot.entry != kNil) {
         bool upper = (slot.hash >> (32 - depth)) & 1;
         put(upper ? *high : *low, slot);
      }
   }
   // The directory entries of the old segment are consecutive. The lower half of them gets `low`.
   uint32_t span = 1U << (depth_ - depth);
   uint32_t first = directorySlot(hash) / (span * 2) * (span * 2);
   std::fill_n(directory_ + first, span, low);
   std::fill_n(directory_ + first + span, span, high);
   freeSegment(old);
}

void SlotIndex::erase(uint64_t hash, uint32_t entry) {
   auto shortHash = static_cast<uint32_t>(hash);
   Segment& segment = *directory_[directorySlot(shortHash)];
   uint32_t at = shortHash & segment.mask;
   while (segment.slots[at].entry != entry) {
      at = (at + 1) & segment.mask;
   }
   // Close the gap: a later slot of the run moves into it unless that is before its home.
   for (uint32_t next = (at + 1) & segment.mask; segment.slots[next].entry != kNil;
        next = (next + 1) & segment.mask) {
      uint32_t home = segment.slots[next].hash & segment.mask;
      if (((next - home) & segment.mask) >= ((next - at) & segment.mask)) {
         segment.slots[at] = segment.slots[next];
         at = next;
      }
   }
   segment.slots[at].entry = kNil;
   --segment.used;
}

} // namespace Orv
