// A set of interned keys, for a program's own bookkeeping: one bit per key, up to the greatest
// index that was ever inserted. It notifies nobody and has no order.
#pragma once

#include "platform/Orv/Interned.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orv {

template<Indexed K>
class IndexedSet {
 public:
   std::size_t size() const { return size_; }
   bool contains(K key) const {
      return wordOf(key) < words_.size() && (words_[wordOf(key)] & bitOf(key)) != 0;
   }
   // Whether the key is new.
   bool insert(K key) {
      if (contains(key)) {
         return false;
      }
      if (wordOf(key) >= words_.size()) {
         words_.resize(wordOf(key) + 1);
      }
      words_[wordOf(key)] |= bitOf(key);
      ++size_;
      return true;
   }
   // Whether there was one.
   bool erase(K key) {
      if (!contains(key)) {
         return false;
      }
      words_[wordOf(key)] &= ~bitOf(key);
      --size_;
      return true;
   }
   // By index.
   std::vector<K> keys() const {
      std::vector<K> keys;
      for (std::size_t at = 0; at < words_.size() * 64; ++at) {
         if (K key = K::fromIndex(static_cast<uint32_t>(at)); contains(key)) {
            keys.push_back(key);
         }
      }
      return keys;
   }

 private:
   static std::size_t wordOf(K key) { return key.index() / 64; }
   static uint64_t bitOf(K key) { return uint64_t{1} << key.index() % 64; }

   std::vector<uint64_t> words_;
   std::size_t size_ = 0;
};

} // namespace Orv
