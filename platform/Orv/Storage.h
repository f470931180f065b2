// The storage of a collection's entries, in three layouts with the same operations:
//
//    PagedStorage  for keys with a dense index (Interned.h): an array of pages, no hashing
//    SlabStorage   for any hashable key: entries in a slab, found through a SlotIndex; it keeps the
//                  memory of its largest size, since a collection tends to reach it again
//    SmallStorage  for mostly one entry, which is kept in place; several are kept in a slab
//
// A slot number identifies an entry until the entry is released. Entries never move, so links
// between them (Collection.h) are slot numbers. No operation moves more than one hash segment or
// allocates more than one page, whatever the number of entries.
#pragma once

#include "platform/Orv/Interned.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <vector>

namespace Orv {

// Neighbours in order of insertion.
struct Links {
   uint32_t next = kNil;
   uint32_t previous = kNil;
};

template<Indexed K, class V>
class PagedStorage {
 public:
   struct Entry {
      [[no_unique_address]] V value{};
      Links links{kNil, kAbsent};
   };

   uint32_t find(K key) const {
      uint32_t slot = key.index();
      Page const* page =
          slot >> kPageBits < pages_.size() ? pages_[slot >> kPageBits].get() : nullptr;
      return page != nullptr && present(page->entries[slot & kPageMask]) ? slot : kNil;
   }
   uint32_t acquire(K key) {
      uint32_t slot = key.index();
      std::size_t number = slot >> kPageBits;
      if (number >= pages_.size()) {
         pages_.resize(std::max(number + 1, pages_.size() + pages_.size() / 2));
      }
      auto& page = pages_[number];
      if (page == nullptr) {
         page = spare_ != nullptr ? std::move(spare_) : std::make_unique<Page>();
      }
      ++page->used;
      page->entries[slot & kPageMask].links = Links{};
      return slot;
   }
   void release(uint32_t slot) {
      auto& page = pages_[slot >> kPageBits];
      page->entries[slot & kPageMask] = Entry{};
      if (--page->used == 0) {
         // One empty page is kept: a collection that alternates between empty and one entry does
         // not allocate.
         spare_ = std::move(page);
      }
   }
   Entry& at(uint32_t slot) { return pages_[slot >> kPageBits]->entries[slot & kPageMask]; }
   Entry const& at(uint32_t slot) const {
      return pages_[slot >> kPageBits]->entries[slot & kPageMask];
   }
   K key(uint32_t slot) const { return K::fromIndex(slot); }

 private:
   static constexpr uint32_t kPageBits = 7;
   static constexpr uint32_t kPageMask = (1U << kPageBits) - 1;
   static constexpr uint32_t kAbsent = kNil - 1;
   static bool present(Entry const& entry) { return entry.links.previous != kAbsent; }
   struct Page {
      uint32_t used = 0;
      Entry entries[1U << kPageBits];
   };
   std::vector<std::unique_ptr<Page>> pages_;
   std::unique_ptr<Page> spare_;
};

template<class K, class V>
class SlabStorage {
 public:
   struct Entry {
      K key{};
      [[no_unique_address]] V value{};
      Links links;
   };

   uint32_t find(K const& key) const {
      return index_.find(hashOf(key), [&](uint32_t slot) { return at(slot).key == key; });
   }
   uint32_t acquire(K const& key) {
      uint32_t slot = free_;
      if (slot != kNil) {
         free_ = at(slot).links.next;
      } else {
         slot = used_++;
         auto [chunk, offset] = place(slot);
         if (chunk == chunks_.size()) {
            chunks_.push_back(std::make_unique<Entry[]>(chunkSize(chunk)));
         }
      }
      Entry& entry = at(slot);
      entry.key = key;
      entry.links = Links{};
      index_.insert(hashOf(key), slot);
      return slot;
   }
   void release(uint32_t slot) {
      Entry& entry = at(slot);
      index_.erase(hashOf(entry.key), slot);
      entry = Entry{};
      entry.links.next = free_;
      free_ = slot;
   }
   Entry& at(uint32_t slot) {
      auto [chunk, offset] = place(slot);
      return chunks_[chunk][offset];
   }
   Entry const& at(uint32_t slot) const {
      auto [chunk, offset] = place(slot);
      return chunks_[chunk][offset];
   }
   K const& key(uint32_t slot) const { return at(slot).key; }

 private:
   // Chunks of 4, 8, ... 128 entries, then 256 each: a small collection stays small, a large one
   // grows without copying.
   static constexpr uint32_t kFirst = 4;
   static constexpr uint32_t kChunk = 256;
   static constexpr uint32_t kGrowing = 6; // chunks before the first of full size
   static constexpr uint32_t kGrowingSlots = kChunk - kFirst;
   struct Place {
      uint32_t chunk;
      uint32_t offset;
   };
   static Place place(uint32_t slot) {
      if (slot >= kGrowingSlots) {
         uint32_t past = slot - kGrowingSlots;
         return {kGrowing + past / kChunk, past % kChunk};
      }
      auto chunk = static_cast<uint32_t>(std::bit_width(slot / kFirst + 1)) - 1;
      return {chunk, slot - ((1U << chunk) - 1) * kFirst};
   }
   static std::size_t chunkSize(std::size_t chunk) {
      return chunk < kGrowing ? kFirst << chunk : kChunk;
   }

   SlotIndex index_;
   std::vector<std::unique_ptr<Entry[]>> chunks_;
   uint32_t used_ = 0; // slots ever taken
   uint32_t free_ = kNil;
};

template<class K, class V>
class SmallStorage {
 public:
   using Slab = SlabStorage<K, V>;
   using Entry = typename Slab::Entry;

   uint32_t find(K const& key) const {
      if (slab_ != nullptr) {
         return slab_->find(key);
      }
      return taken_ && single_.key == key ? 0 : kNil;
   }
   uint32_t acquire(K const& key) {
      if (!taken_ && slab_ == nullptr) {
         taken_ = true;
         single_.key = key;
         single_.links = Links{};
         return 0;
      }
      if (slab_ == nullptr) {
         // A fresh slab gives slot 0 first, so the single entry keeps its slot.
         slab_ = std::make_unique<Slab>();
         slab_->at(slab_->acquire(single_.key)) = single_;
         taken_ = false;
         single_ = Entry{};
      }
      return slab_->acquire(key);
   }
   void release(uint32_t slot) {
      if (slab_ != nullptr) {
         slab_->release(slot);
      } else {
         taken_ = false;
         single_ = Entry{};
      }
   }
   Entry& at(uint32_t slot) { return slab_ != nullptr ? slab_->at(slot) : single_; }
   Entry const& at(uint32_t slot) const { return slab_ != nullptr ? slab_->at(slot) : single_; }
   K const& key(uint32_t slot) const { return at(slot).key; }

 private:
   std::unique_ptr<Slab> slab_;
   Entry single_;
   bool taken_ = false;
};

} // namespace Orv
