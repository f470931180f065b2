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
      for (Cursor* cursor = cursors_; cursor != nullptr; cursor = cursor->outer_) {
         cursor->collection_ = nullptr;
         cursor->next_ = kNil;
      }
      this->endWatch();
   }

   V get(K const& key) const {
      uint32_t slot = storage_.find(key);
      return slot == kNil ? V{} : storage_.at(slot).value;
   }
   std::optional<V> find(K const& key) const {
      uint32_t slot = storage_.find(key);
      return slot == kNil ? std::nullopt : std::optional<V>(storage_.at(slot).value);
   }
   bool has(K const& key) const { return storage_.find(key) != kNil; }
   std::size_t size() const { return size_; }

   // By value: a handler may change the object from which an argument was taken.
   void set(K key, V value) {
      uint32_t slot = storage_.find(key);
      if (slot == kNil) {
         slot = append(key);
         storage_.at(slot).value = std::move(value);
         this->noteInserted(key);
      } else if (V& present = storage_.at(slot).value; present != value) {
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
      [[maybe_unused]] V dropped = unlink(slot);
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
   class Cursor {
    public:
      enum Bound { bounded, unbounded };
      explicit Cursor(Collection const& collection, Bound bound = bounded)
          : collection_(&collection), outer_(collection.cursors_), next_(collection.first_),
            last_(collection.last_), bounded_(bound == bounded) {
         enlist(collection);
      }
      Cursor(Cursor const&) = delete;
      Cursor& operator=(Cursor const&) = delete;
      ~Cursor() {
         if (collection_ == nullptr) {
            return;
         }
         Cursor** link = &collection_->cursors_;
         while (*link != this) {
            link = &(*link)->outer_;
         }
         *link = outer_;
      }
      bool atEnd() const { return next_ == kNil; }
      void toFirst() { next_ = collection_ != nullptr ? collection_->first_ : kNil; }
      // Moves to this key, or to the end when it is not a member.
      void toKey(K const& key) {
         next_ = collection_ != nullptr ? collection_->storage_.find(key) : kNil;
      }
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
            member.emplace(Member<K, V>{collection_->storage_.key(*slot),
                                        collection_->storage_.at(*slot).value});
         } else {
            member.reset();
         }
      }
      std::optional<K> peekKey() const {
         return next_ == kNil ? std::nullopt : std::optional<K>(collection_->storage_.key(next_));
      }

    private:
      friend class Collection;
      // The destructor removes the cursor from the list, but g++ warns of a dangling pointer.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif
      void enlist(Collection const& collection) {
         collection.cursors_ = this;
      }
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
      void step() {
         next_ = bounded_ && next_ == last_ ? kNil : collection_->storage_.at(next_).links.next;
      }
      void erasing(uint32_t slot) {
         if (next_ == slot) {
            step();
         }
         if (last_ == slot) {
            last_ = collection_->storage_.at(slot).links.previous;
         }
      }
      Collection const* collection_; // null once it is destroyed
      Cursor* outer_;
      uint32_t next_;
      uint32_t last_;
      bool bounded_;
   };

 private:
   uint32_t append(K const& key) {
      uint32_t slot = storage_.acquire(key);
      storage_.at(slot).links = Links{kNil, last_};
      (last_ != kNil ? storage_.at(last_).links.next : first_) = slot;
      last_ = slot;
      ++size_;
      return slot;
   }
   V unlink(uint32_t slot) {
      for (Cursor* cursor = cursors_; cursor != nullptr; cursor = cursor->outer_) {
         cursor->erasing(slot);
      }
      auto& entry = storage_.at(slot);
      Links links = entry.links;
      V value = std::move(entry.value);
      (links.previous != kNil ? storage_.at(links.previous).links.next : first_) = links.next;
      (links.next != kNil ? storage_.at(links.next).links.previous : last_) = links.previous;
      storage_.release(slot);
      --size_;
      return value;
   }

   Storage storage_;
   uint32_t first_ = kNil;
   uint32_t last_ = kNil;
   uint32_t size_ = 0;
   mutable Cursor* cursors_ = nullptr;
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
