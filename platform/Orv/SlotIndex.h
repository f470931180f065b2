// The hash index under keyed collections and intern tables: hash -> number of an entry.
//
// Extendible hashing: the top bits of the hash select a segment through a directory that doubles
// when it has to, and the low bits start a linear probe inside the segment. A full segment doubles
// or splits alone, so that one insertion moves kSegmentSlots slots at most, whatever the size of
// the index. A slot has 32 bits of the hash, so moving it does not read the entry.
#pragma once

#include "platform/Orv/Export.h"

#include <cstddef>
#include <cstdint>

namespace Orv {

inline constexpr uint32_t kNil = 0xffffffff;

class ORV_EXPORT SlotIndex {
 public:
   constexpr SlotIndex() = default;
   SlotIndex(SlotIndex const&) = delete;
   SlotIndex& operator=(SlotIndex const&) = delete;
   ~SlotIndex();

   // The entry with this hash that `equals` accepts, or kNil.
   template<class Equals>
   uint32_t find(uint64_t hash, Equals&& equals) const {
      if (directory_ == nullptr) {
         return kNil;
      }
      auto shortHash = static_cast<uint32_t>(hash);
      Segment const& segment = *directory_[directorySlot(shortHash)];
      for (uint32_t at = shortHash & segment.mask;; at = (at + 1) & segment.mask) {
         Slot const& slot = segment.slots[at];
         if (slot.entry == kNil) {
            return kNil;
         }
         if (slot.hash == shortHash && equals(slot.entry)) {
            return slot.entry;
         }
      }
   }

   // The entry must not be in the index yet.
   void insert(uint64_t hash, uint32_t entry);
   // The entry must be in the index under this hash.
   void erase(uint64_t hash, uint32_t entry);

 private:
   struct Slot {
      uint32_t hash;
      uint32_t entry; // kNil: free
   };
   struct Segment {
      uint32_t mask;  // number of slots - 1
      uint32_t used;  // slots taken
      uint32_t depth; // top bits of the hash that all its slots share
      Slot slots[1];
   };
   static constexpr uint32_t kFirstSlots = 4;
   static constexpr uint32_t kSegmentSlots = 1024;
   static constexpr uint32_t kMaxDepth = 20;

   uint32_t directorySlot(uint32_t hash) const { return depth_ == 0 ? 0 : hash >> (32 - depth_); }
   static Segment* makeSegment(uint32_t slots, uint32_t depth);
   static void freeSegment(Segment* segment);
   static void put(Segment& segment, Slot slot);
   static void moveSlots(Segment const& from, Segment& to);
   void grow(uint32_t hash);
   void split(uint32_t hash);

   Segment** directory_ = nullptr; // 2^depth_ pointers; neighbours may share a segment
   uint32_t depth_ = 0;
};

} // namespace Orv
