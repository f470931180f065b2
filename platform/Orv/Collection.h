// Keyed collections: the tables of entities.
//
// Iteration is in order of insertion (overwriting keeps the place). Reading an absent key gives the
// value type's default. A write that changes a value notifies the reactors before it returns; an
// equal write and the deletion of an absent key notify nobody (but see Notify::onEveryWrite).
//
// Everything may be changed from a handler or during a walk. A Walk visits each member that was
// there when it began and is still there when its turn comes, once; what is added on the way is not
// visited. Keys and values are handed out by value, so no reference dangles.
#pragma once

#include "platform/Orv/Notifier.h"
#include "platform/Orv/Ptr.h"
#include "platform/Orv/Storage.h"

#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace Orv {

enum class Notify {
   onChange,     // equal writes notify nobody
   onEveryWrite, // every write notifies: the table carries answers, not states
};

// Told of each member that comes or goes, before any reactor is. For indices over a collection.
template<class K>
class Observer {
 public:
   virtual ~Observer() = default;
   virtual void inserted(K const& key) = 0;
   virtual void erased(K const& key) = 0;
};

// A collection's reactors and observers; made when the first one comes.
template<class K>
struct Watchers {
   Notifier<K> notifier;
   std::vector<Observer<K>*> observers;
};

// A member as a walk hands it out.
template<class K, class V>
struct Member {
   K key;
   V value;
};

// What both kinds of collection do for those who watch them.
template<class K>
class Watched {
 public:
   // Reactors watch const entities too: watching changes nothing of the content.
   void watch(Reactor<K>& reactor) const { watchers().notifier.add(reactor); }
   void observe(Observer<K>& observer) const { watchers().observers.push_back(&observer); }
   void unobserve(Observer<K>& observer) const { std::erase(watchers().observers, &observer); }

 protected:
   void notify(K const& key) {
      if (watchers_ != nullptr) {
         watchers_->notifier.deliver(key);
      }
   }
   // Before the members go: who hears of the end may still look at them.
   void endWatch() { watchers_.reset(); }
   void noteInserted(K const& key) {
      if (watchers_ != nullptr) {
         for (auto* observer : watchers_->observers) {
            observer->inserted(key);
         }
      }
   }
   void noteErased(K const& key) {
      if (watchers_ != nullptr) {
         for (auto* observer : watchers_->observers) {
            observer->erased(key);
         }
      }
   }

 private:
   Watchers<K>& watchers() const {
      if (watchers_ == nullptr) {
         watchers_ = std::make_unique<Watchers<K>>();
      }
      return *watchers_;
   }
   mutable std::unique_ptr<Watchers<K>> watchers_;
};

template<class K, class V, class Storage, Notify when = Notify::onChange>
class Collection : public Watched<K> {
 public:
   using Key = K;
   using Value = V;
   class Cursor;
   class Walk;

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

   // By value: the arguments may live in what the handlers change.
   void set(K key, V value) {
      uint32_t slot = storage_.find(key);
      if (slot == kNil) {
         slot = append(key);
         storage_.at(slot).value = std::move(value);
         this->noteInserted(key);
      } else if (V& present = storage_.at(slot).value; present != value) {
         // Released only after the new value stands: dropping it may run code that looks here.
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
      // Lives to the end: dropping it may run code that looks here.
      [[maybe_unused]] V dropped = unlink(slot);
      this->noteErased(key);
      this->notify(key);
   }
   // Deletes, in order, what is there now; what handlers add meanwhile stays.
   void delAll() {
      for (Cursor cursor(*this, Cursor::bounded); auto slot = cursor.take();) {
         del(storage_.key(*slot));
      }
   }
   Walk walk() const { return Walk(*this); }

   // A place in the order that survives every change: it names the next member to take, and moves
   // on when that one goes.
   class Cursor {
    public:
      enum Bound { bounded, unbounded };
      Cursor(Collection const& collection, Bound bound)
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
      // To this key; to the end when it is not a member.
      void toKey(K const& key) {
         next_ = collection_ != nullptr ? collection_->storage_.find(key) : kNil;
      }
      // The member at hand, and a step forward.
      std::optional<uint32_t> take() {
         if (next_ == kNil) {
            return std::nullopt;
         }
         uint32_t slot = next_;
         step();
         return slot;
      }
      std::optional<K> takeKey() {
         auto slot = take();
         return slot ? std::optional<K>(collection_->storage_.key(*slot)) : std::nullopt;
      }
      std::optional<K> peekKey() const {
         return next_ == kNil ? std::nullopt : std::optional<K>(collection_->storage_.key(next_));
      }

    private:
      friend class Collection;
      // The destructor takes the cursor off the list, which the compiler does not see.
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
      Collection const* collection_; // null once it is gone
      Cursor* outer_;
      uint32_t next_;
      uint32_t last_;
      bool bounded_;
   };

   // for (auto [key, value] : entity->requestIter())
   class Walk {
    public:
      explicit Walk(Collection const& collection)
          : collection_(&collection), cursor_(collection, Cursor::bounded) {
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
      void advance() {
         if (auto slot = cursor_.take()) {
            member_.emplace(Member<K, V>{collection_->storage_.key(*slot),
                                         collection_->storage_.at(*slot).value});
         } else {
            member_.reset();
         }
      }
      Collection const* collection_;
      Cursor cursor_;
      std::optional<Member<K, V>> member_;
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

// In key order, for the few tables where an order is asked for. Look-up is O(log n).
template<class K, class V>
class OrderedCollection : public Watched<K> {
   // Outlives the collection while a walk looks at it.
   struct Alive : RefCounted {
      bool yes = true;
   };

 public:
   using Key = K;
   using Value = V;

   OrderedCollection() = default;
   OrderedCollection(OrderedCollection const&) = delete;
   OrderedCollection& operator=(OrderedCollection const&) = delete;
   ~OrderedCollection() {
      alive_->yes = false;
      this->endWatch();
   }

   V get(K const& key) const {
      auto found = members_.find(key);
      return found == members_.end() ? V{} : found->second;
   }
   std::optional<V> find(K const& key) const {
      auto found = members_.find(key);
      return found == members_.end() ? std::nullopt : std::optional<V>(found->second);
   }
   bool has(K const& key) const { return members_.contains(key); }
   std::size_t size() const { return members_.size(); }
   void set(K key, V value) {
      auto [found, created] = members_.try_emplace(key);
      if (!created && found->second == value) {
         return;
      }
      std::swap(found->second, value);
      if (created) {
         this->noteInserted(key);
      }
      this->notify(key);
   }
   void del(K key) {
      auto node = members_.extract(key);
      if (!node.empty()) {
         this->noteErased(key);
         this->notify(key);
      }
   }
   void delAll() {
      std::vector<K> keys;
      for (auto const& [key, value] : members_) {
         keys.push_back(key);
      }
      for (Ptr<Alive> alive = alive_; K const& key : keys) {
         if (!alive->yes) {
            return;
         }
         del(key);
      }
   }

   // The walk continues from the key after the last one visited, so any change is safe; members
   // that appear ahead of it are visited.
   class Walk {
    public:
      explicit Walk(OrderedCollection const& collection)
          : collection_(&collection), alive_(collection.alive_) {
         take(collection.members_.begin());
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
      void advance() {
         if (!alive_->yes) {
            member_.reset();
         } else {
            take(collection_->members_.upper_bound(member_->key));
         }
      }
      void take(typename std::map<K, V>::const_iterator next) {
         if (next == collection_->members_.end()) {
            member_.reset();
         } else {
            member_.emplace(Member<K, V>{next->first, next->second});
         }
      }
      OrderedCollection const* collection_;
      Ptr<Alive> alive_;
      std::optional<Member<K, V>> member_;
   };
   Walk walk() const { return Walk(*this); }

 private:
   std::map<K, V> members_;
   Ptr<Alive> alive_ = make<Alive>();
};

// The usual kinds.
template<class K, class V>
using Keyed = Collection<K, V, SlabStorage<K, V>>;
template<class K, class V>
using KeyedByIndex = Collection<K, V, PagedStorage<K, V>>;
template<class K, class V>
using Small = Collection<K, V, SmallStorage<K, V>>;

} // namespace Orv
