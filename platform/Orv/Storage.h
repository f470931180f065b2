// The storage of a collection's entries, in three layouts with the same operations:
//
//    PagedStorage  for keys with a dense index (Interned.h): an array of pages, no hashing
//    SlabStorage   for any hashable key: entries in a slab, found through a SlotIndex; it keeps the
//                  memory of its largest size, since a collection tends to reach it again
//    SmallStorage  for mostly one entry, which is kept in place; several are kept in a slab
//
// A slot number identifies an entry until the entry is erased. Entries never move, so links between
// them are slot numbers. The order is that of insertion. No operation moves more than one hash
// segment or allocates more than one page, whatever the number of entries.
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

// The order of the entries in a storage: a list through their links.
template<class Storage>
class InOrder {
 public:
   uint32_t first() const { return first_; }
   uint32_t last() const { return last_; }
   uint32_t size() const { return size_; }
   uint32_t next(uint32_t slot) const { return storage().at(slot).links.next; }
   uint32_t previous(uint32_t slot) const { return storage().at(slot).links.previous; }

 protected:
   void append(uint32_t slot) {
      storage().at(slot).links = Links{kNil, last_};
      (last_ != kNil ? storage().at(last_).links.next : first_) = slot;
      last_ = slot;
      ++size_;
   }
   void unlink(uint32_t slot) {
      Links links = storage().at(slot).links;
      (links.previous != kNil ? storage().at(links.previous).links.next : first_) = links.next;
      (links.next != kNil ? storage().at(links.next).links.previous : last_) = links.previous;
      --size_;
   }

 private:
   Storage& storage() { return static_cast<Storage&>(*this); }
   Storage const& storage() const { return static_cast<Storage const&>(*this); }

   uint32_t first_ = kNil;
   uint32_t last_ = kNil;
   uint32_t size_ = 0;
};

// An array in pages. A page exists while one of its values is not the default.
template<class V>
class PagedArray {
 public:
   V get(uint32_t at) const {
      Page const* page = at >> kPageBits < pages_.size() ? pages_[at >> kPageBits].get() : nullptr;
      return page != nullptr ? page->values[at & kPageMask] : V{};
   }
   void set(uint32_t at, V const& value) {
      std::size_t number = at >> kPageBits;
      if (number >= pages_.size()) {
         pages_.resize(std::max(number + 1, pages_.size() + pages_.size() / 2));
      }
      auto& page = pages_[number];
      if (page == nullptr) {
         page = std::make_unique<Page>();
      }
      V& present = page->values[at & kPageMask];
      page->used += (value != V{} ? 1U : 0U) - (present != V{} ? 1U : 0U);
      present = value;
      if (page->used == 0) {
         page = nullptr;
      }
   }

 private:
   static constexpr uint32_t kPageBits = 8;
   static constexpr uint32_t kPageMask = (1U << kPageBits) - 1;
   struct Page {
      uint32_t used = 0; // values that are not the default
      V values[1U << kPageBits]{};
   };
   std::vector<std::unique_ptr<Page>> pages_;
};

template<Indexed K, class V>
class PagedStorage : public InOrder<PagedStorage<K, V>> {
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
   // A hint that the entry of this key is looked up soon.
   void prefetch(K key) const {
      uint32_t slot = key.index();
      if (slot >> kPageBits < pages_.size()) {
         if (Page const* page = pages_[slot >> kPageBits].get()) {
            __builtin_prefetch(&page->entries[slot & kPageMask]);
         }
      }
   }
   uint32_t insert(K key) {
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
      this->append(slot);
      return slot;
   }
   void erase(uint32_t slot) {
      this->unlink(slot);
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
   V& value(uint32_t slot) { return at(slot).value; }
   V const& value(uint32_t slot) const { return at(slot).value; }

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
class SlabStorage : public InOrder<SlabStorage<K, V>> {
 public:
   struct Entry {
      K key{};
      [[no_unique_address]] V value{};
      Links links;
   };

   uint32_t find(K const& key) const {
      if (this->size() == 0) {
         return kNil; // without hashing the key
      }
      if (recent_ != kNil && at(recent_).key == key) {
         return recent_; // neither
      }
      uint32_t slot =
          index_.find(hashOf(key), [&](uint32_t at) { return this->at(at).key == key; });
      if (slot != kNil) {
         recent_ = slot;
      }
      return slot;
   }
   uint32_t insert(K const& key) {
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
      this->append(slot);
      index_.insert(hashOf(key), slot);
      recent_ = slot;
      return slot;
   }
   void erase(uint32_t slot) {
      this->unlink(slot);
      Entry& entry = at(slot);
      index_.erase(hashOf(entry.key), slot);
      entry = Entry{};
      entry.links.next = free_;
      free_ = slot;
      if (recent_ == slot) {
         recent_ = kNil;
      }
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
   V& value(uint32_t slot) { return at(slot).value; }
   V const& value(uint32_t slot) const { return at(slot).value; }

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
   mutable uint32_t recent_ = kNil; // found or inserted last
};

template<class K, class V>
class SmallStorage {
 public:
   uint32_t find(K const& key) const {
      if (slab_ != nullptr) {
         return slab_->find(key);
      }
      return taken_ && key_ == key ? 0 : kNil;
   }
   uint32_t insert(K const& key) {
      if (!taken_ && slab_ == nullptr) {
         taken_ = true;
         key_ = key;
         return 0;
      }
      if (slab_ == nullptr) {
         // A fresh slab gives slot 0 first, so the single entry keeps its slot.
         slab_ = std::make_unique<Slab>();
         slab_->value(slab_->insert(key_)) = std::move(value_);
         clear();
      }
      return slab_->insert(key);
   }
   void erase(uint32_t slot) {
      if (slab_ != nullptr) {
         slab_->erase(slot);
      } else {
         clear();
      }
   }
   K const& key(uint32_t slot) const { return slab_ != nullptr ? slab_->key(slot) : key_; }
   V& value(uint32_t slot) { return slab_ != nullptr ? slab_->value(slot) : value_; }
   V const& value(uint32_t slot) const { return slab_ != nullptr ? slab_->value(slot) : value_; }
   uint32_t first() const { return slab_ != nullptr ? slab_->first() : taken_ ? 0 : kNil; }
   uint32_t last() const { return slab_ != nullptr ? slab_->last() : first(); }
   uint32_t size() const { return slab_ != nullptr ? slab_->size() : taken_ ? 1 : 0; }
   uint32_t next(uint32_t slot) const { return slab_ != nullptr ? slab_->next(slot) : kNil; }
   uint32_t previous(uint32_t slot) const {
      return slab_ != nullptr ? slab_->previous(slot) : kNil;
   }

 private:
   using Slab = SlabStorage<K, V>;
   void clear() {
      taken_ = false;
      key_ = K{};
      value_ = V{};
   }

   std::unique_ptr<Slab> slab_; // once there were several entries
   K key_{};
   [[no_unique_address]] V value_{};
   bool taken_ = false;
};

} // namespace Orv
