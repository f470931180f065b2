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

   std::size_t size() const { return storage_.size(); }
   bool empty() const { return size() == 0; }
   bool contains(K key) const { return storage_.find(key) != kNil; }
   // Null when the key is absent.
   V* find(K key) {
      uint32_t slot = storage_.find(key);
      return slot == kNil ? nullptr : &storage_.value(slot);
   }
   V const* find(K key) const {
      uint32_t slot = storage_.find(key);
      return slot == kNil ? nullptr : &storage_.value(slot);
   }
   // Inserts a default value when the key is absent.
   V& operator[](K key) {
      uint32_t slot = storage_.find(key);
      if (slot == kNil) {
         slot = storage_.insert(key);
      }
      return storage_.value(slot);
   }
   // Whether there was one.
   bool erase(K key) {
      uint32_t slot = storage_.find(key);
      if (slot == kNil) {
         return false;
      }
      storage_.erase(slot);
      return true;
   }
   void clear() { IndexedMap().swap(*this); }
   // Calls visit(key, value) in order of insertion. It must not change which keys there are.
   template<class Visit>
   void forEach(Visit visit) {
      for (uint32_t slot = storage_.first(); slot != kNil; slot = storage_.next(slot)) {
         visit(storage_.key(slot), storage_.value(slot));
      }
   }
   template<class Visit>
   void forEach(Visit visit) const {
      for (uint32_t slot = storage_.first(); slot != kNil; slot = storage_.next(slot)) {
         visit(storage_.key(slot), storage_.value(slot));
      }
   }

 private:
   void swap(IndexedMap& other) noexcept { std::swap(storage_, other.storage_); }

   PagedStorage<K, V> storage_;
};

} // namespace Orv
