// Keyed collections: the attributes of entities that map keys to values.
//
// Iteration is in order of insertion; overwriting a value keeps its place. Reading an absent key
// gives the value type's default. A write that changes a value notifies the reactors before it
// returns. An equal write and the deletion of an absent key notify nobody (but see
// Notify::onEveryWrite).
//
// A collection may be changed from a handler and during a walk. A walk visits each member that was
// there when it began and is still there when its turn comes, once. It does not visit members that
// are inserted on the way. Keys and values are returned by value, so that no reference dangles.
#pragma once

#include "platform/Orv/Storage.h"
#include "platform/Orv/Walk.h"
#include "platform/Orv/Watched.h"

#include <optional>
#include <utility>

namespace Orv {

enum class Notify {
   onChange,     // equal writes notify nobody
   onEveryWrite, // equal writes notify too: the values are events rather than states
};

template<class K, class V, class Storage, Notify when = Notify::onChange>
class Collection : public Watched<K> {
 public:
   using Key = K;
   using Value = V;
   class Cursor;

   Collection() = default;
   Collection(Collection const&) = delete;
   Collection& operator=(Collection const&) = delete;
   ~Collection() {
      forEachCursor([](Cursor& cursor) {
         cursor.collection_ = nullptr;
         cursor.next_ = kNil;
      });
      this->endWatch();
   }

   V get(K const& key) const {
      uint32_t slot = storage_.find(key);
      return slot == kNil ? V{} : storage_.value(slot);
   }
   std::optional<V> find(K const& key) const {
      uint32_t slot = storage_.find(key);
      return slot == kNil ? std::nullopt : std::optional<V>(storage_.value(slot));
   }
   bool has(K const& key) const { return storage_.find(key) != kNil; }
   std::size_t size() const { return storage_.size(); }
   // A hint that this key is looked up soon; for collections with indexed keys.
   void prefetch(K const& key) const { storage_.prefetch(key); }
   // The value in its place, valid until the next write; null when the key is absent.
   V const* peek(K const& key) const {
      uint32_t slot = storage_.find(key);
      return slot == kNil ? nullptr : &storage_.value(slot);
   }
   // The member after this one, if there is one.
   std::optional<K> following(K const& key) const {
      uint32_t slot = storage_.find(key);
      uint32_t next = slot == kNil ? kNil : storage_.next(slot);
      return next == kNil ? std::nullopt : std::optional<K>(storage_.key(next));
   }

   // By value: a handler may change the object from which an argument was taken.
   void set(K key, V value) {
      uint32_t slot = storage_.find(key);
      if (slot == kNil) {
         slot = storage_.insert(key);
         storage_.value(slot) = std::move(value);
         this->noteInserted(key);
      } else if (V& present = storage_.value(slot); present != value) {
         // The old value is destroyed last: its destructor may read this collection.
         std::swap(present, value);
      } else if (when == Notify::onChange) {
         return;
      }
      this->notify(key);
   }
   void del(K key) {
      uint32_t slot = storage_.find(key);
      if (slot == kNil) {
         return;
      }
      // Destroyed last: its destructor may read this collection.
      [[maybe_unused]] V dropped = erase(slot);
      this->noteErased(key);
      this->notify(key);
   }
   // Deletes the present members in order. Members that a handler inserts meanwhile stay.
   void delAll() {
      for (Cursor cursor(*this); auto slot = cursor.take();) {
         del(storage_.key(*slot));
      }
   }
   Walk<K, V, Cursor> walk() const { return Walk<K, V, Cursor>(*this); }

   // A position in the order, valid under every change of the collection. It is at the next member
   // to take, and moves on when that member is deleted. A bounded cursor ends behind the member
   // that was the last when the cursor was made.
   class Cursor : private OpenCursor {
    public:
      enum Bound { bounded, unbounded };
      explicit Cursor(Collection const& collection, Bound bound = bounded)
          : OpenCursor(&collection), next_(collection.storage_.first()),
            last_(collection.storage_.last()), bounded_(bound == bounded) {}
      bool atEnd() const { return next_ == kNil; }
      void toFirst() { next_ = collection() != nullptr ? storage().first() : kNil; }
      // Moves to this key, or to the end when it is not a member.
      void toKey(K const& key) { next_ = collection() != nullptr ? storage().find(key) : kNil; }
      // Moves past the next member and returns its slot.
      std::optional<uint32_t> take() {
         if (next_ == kNil) {
            return std::nullopt;
         }
         uint32_t slot = next_;
         step();
         return slot;
      }
      // The step of a walk (Walk.h).
      void next(std::optional<Member<K, V>>& member) {
         if (auto slot = take()) {
            member.emplace(Member<K, V>{storage().key(*slot), storage().value(*slot)});
         } else {
            member.reset();
         }
      }
      std::optional<K> peekKey() const {
         return next_ == kNil ? std::nullopt : std::optional<K>(storage().key(next_));
      }

    private:
      friend class Collection;
      Collection const* collection() const { return static_cast<Collection const*>(collection_); }
      Storage const& storage() const { return collection()->storage_; }
      void step() { next_ = bounded_ && next_ == last_ ? kNil : storage().next(next_); }
      void erasing(uint32_t slot) {
         if (next_ == slot) {
            step();
         }
         if (last_ == slot) {
            last_ = storage().previous(slot);
         }
      }
      uint32_t next_;
      uint32_t last_;
      bool bounded_;
   };

 private:
   V erase(uint32_t slot) {
      forEachCursor([slot](Cursor& cursor) { cursor.erasing(slot); });
      V value = std::move(storage_.value(slot));
      storage_.erase(slot);
      return value;
   }
   template<class Visit>
   void forEachCursor(Visit visit) {
      for (OpenCursor* open = OpenCursor::latest(); open != nullptr; open = open->earlier()) {
         if (open->isIn(this)) {
            visit(static_cast<Cursor&>(*open));
         }
      }
   }

   Storage storage_;
};

// The kinds for the schema macros (Entity.h): for any hashable key, for a key with an index, and
// for collections that usually have one member.
template<class K, class V>
using Keyed = Collection<K, V, SlabStorage<K, V>>;
template<class K, class V>
using KeyedByIndex = Collection<K, V, PagedStorage<K, V>>;
template<class K, class V>
using Small = Collection<K, V, SmallStorage<K, V>>;

} // namespace Orv
