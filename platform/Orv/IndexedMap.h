// A map with interned keys, for a program's own bookkeeping.
//
// Unlike a collection (Collection.h) it notifies nobody, and values change in place. A value stays
// where it is until its member is erased.
#pragma once

#include "platform/Orv/Storage.h"

#include <utility>

namespace Orv {

template<Indexed K, class V>
class IndexedMap {
 public:
   IndexedMap() = default;
   IndexedMap(IndexedMap&& other) noexcept { swap(other); }
   IndexedMap& operator=(IndexedMap other) noexcept {
      swap(other);
      return *this;
   }

   std::size_t size() const { return size_; }
   bool empty() const { return size_ == 0; }
   bool contains(K key) const { return storage_.find(key) != kNil; }
   // Null when the key is absent.
   V* find(K key) {
      uint32_t slot = storage_.find(key);
      return slot == kNil ? nullptr : &storage_.at(slot).value;
   }
   V const* find(K key) const {
      uint32_t slot = storage_.find(key);
      return slot == kNil ? nullptr : &storage_.at(slot).value;
   }
   // Inserts a default value when the key is absent.
   V& operator[](K key) {
      uint32_t slot = storage_.find(key);
      if (slot == kNil) {
         slot = storage_.acquire(key);
         storage_.at(slot).links = Links{kNil, last_};
         (last_ != kNil ? storage_.at(last_).links.next : first_) = slot;
         last_ = slot;
         ++size_;
      }
      return storage_.at(slot).value;
   }
   // Whether there was one.
   bool erase(K key) {
      uint32_t slot = storage_.find(key);
      if (slot == kNil) {
         return false;
      }
      Links links = storage_.at(slot).links;
      (links.previous != kNil ? storage_.at(links.previous).links.next : first_) = links.next;
      (links.next != kNil ? storage_.at(links.next).links.previous : last_) = links.previous;
      storage_.release(slot);
      --size_;
      return true;
   }
   void clear() { IndexedMap().swap(*this); }
   // Calls visit(key, value) in order of insertion. It must not change which keys there are.
   template<class Visit>
   void forEach(Visit visit) {
      for (uint32_t slot = first_; slot != kNil; slot = storage_.at(slot).links.next) {
         visit(storage_.key(slot), storage_.at(slot).value);
      }
   }
   template<class Visit>
   void forEach(Visit visit) const {
      for (uint32_t slot = first_; slot != kNil; slot = storage_.at(slot).links.next) {
         visit(storage_.key(slot), storage_.at(slot).value);
      }
   }

 private:
   void swap(IndexedMap& other) noexcept {
      std::swap(storage_, other.storage_);
      std::swap(first_, other.first_);
      std::swap(last_, other.last_);
      std::swap(size_, other.size_);
   }

   PagedStorage<K, V> storage_;
   uint32_t first_ = kNil;
   uint32_t last_ = kNil;
   uint32_t size_ = 0;
};

} // namespace Orv
