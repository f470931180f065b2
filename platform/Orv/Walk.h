// Range-for over a keyed collection.
#pragma once

#include "platform/Orv/Export.h"

#include <optional>

namespace Orv {

// The cursors that are open in collections, in one list: a few walks at a time, so that no
// collection needs a list of its own.
class ORV_EXPORT OpenCursor {
 public:
   static OpenCursor* latest() { return latest_; }
   OpenCursor* earlier() const { return earlier_; }
   bool isIn(void const* collection) const { return collection_ == collection; }

 protected:
   explicit OpenCursor(void const* collection);
   OpenCursor(OpenCursor const&) = delete;
   OpenCursor& operator=(OpenCursor const&) = delete;
   ~OpenCursor();

   void const* collection_; // null once it is destroyed

 private:
   OpenCursor* earlier_;
   static OpenCursor* latest_;
};

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
