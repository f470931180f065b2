// Keys for the tests of collections.
#pragma once

#include "platform/Orv/Entity.h"

#include <functional>
#include <vector>

namespace Orv {

// A key for all kinds of storage: small integers, hashed so that many collide.
struct Number {
   uint32_t value = 0;
   uint32_t index() const { return value; }
   static Number fromIndex(uint32_t index) { return {index}; }
   uint64_t hash() const { return mixHash(value % 7); }
   friend auto operator<=>(Number, Number) = default;
};

template<class Of>
std::vector<uint32_t> keys(Of const& collection) {
   std::vector<uint32_t> found;
   for (auto const& [key, value] : collection.walk()) {
      found.push_back(key.value);
   }
   return found;
}

using Sequence = std::vector<uint32_t>;

// Calls a function at each change.
template<class K>
class Watcher : public Reactor<K> {
 public:
   explicit Watcher(std::function<void(K const&)> action) : action_(std::move(action)) {}
   void handle(K const& key) override { action_(key); }

 private:
   std::function<void(K const&)> action_;
};

} // namespace Orv
