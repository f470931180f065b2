// The place of each member of a collection in its order.
//
// A collection's walk gives its order, and visits all of it. This gives the place of a single
// member, so that a few of them can be put in order without a walk. It is up to date inside every
// handler.
#pragma once

#include "platform/Orv/IndexedMap.h"
#include "platform/Orv/Watched.h"

namespace Orv {

template<Indexed K>
class InsertionOrder : public Observer<K> {
 public:
   // The collection must outlive the order.
   template<class OfCollection>
   explicit InsertionOrder(OfCollection const& collection) : collection_(collection) {
      for (auto const& member : collection.walk()) {
         inserted(member.key);
      }
      collection.observe(*this);
   }
   InsertionOrder(InsertionOrder const&) = delete;
   InsertionOrder& operator=(InsertionOrder const&) = delete;
   ~InsertionOrder() override { collection_.unobserve(*this); }

   // Members that were inserted later have greater places. 0: not a member.
   uint64_t place(K key) const {
      uint64_t const* found = places_.find(key);
      return found == nullptr ? 0 : *found;
   }

   void inserted(K const& key) override { places_[key] = ++last_; }
   void erased(K const& key) override { places_.erase(key); }

 private:
   Watched<K> const& collection_;
   IndexedMap<K, uint64_t> places_;
   uint64_t last_ = 0;
};

} // namespace Orv
