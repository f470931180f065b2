// Range-for over a keyed collection.
#pragma once

#include <optional>

namespace Orv {

// A member of a collection, as a copy.
template<class K, class V>
struct Member {
   K key;
   V value;
};

// for (auto const& [key, value] : entity->requestIter())
//
// `Cursor` is a position in the collection. Its next(member) replaces an absent member by the first
// one, a present one by the one after it, and the last one by none.
template<class K, class V, class Cursor>
class Walk {
 public:
   template<class OfCollection>
   explicit Walk(OfCollection const& collection) : cursor_(collection) {
      advance();
   }
   struct End {};
   class Iterator {
    public:
      explicit Iterator(Walk* walk) : walk_(walk) {}
      Member<K, V> const& operator*() const { return *walk_->member_; }
      Iterator& operator++() {
         walk_->advance();
         return *this;
      }
      bool operator==(End) const { return !walk_->member_.has_value(); }

    private:
      Walk* walk_;
   };
   Iterator begin() { return Iterator(this); }
   End end() const { return {}; }

 private:
   void advance() { cursor_.next(member_); }

   Cursor cursor_;
   std::optional<Member<K, V>> member_;
};

} // namespace Orv
