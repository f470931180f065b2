// Keyed collections in key order.
#pragma once

#include "platform/Orv/Ptr.h"
#include "platform/Orv/Walk.h"
#include "platform/Orv/Watched.h"

#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace Orv {

// Iterates in order of key, and a walk also visits members that are inserted ahead of it; otherwise
// like Collection. Look-up is O(log n), so it is for collections of which the order matters.
template<class K, class V>
class OrderedCollection : public Watched<K> {
   // Shared with the walks, which may outlive the collection.
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

   // Continues at the first key above that of the given member, so every change is safe.
   class Cursor {
    public:
      explicit Cursor(OrderedCollection const& collection)
          : collection_(&collection), alive_(collection.alive_) {}
      void next(std::optional<Member<K, V>>& member) const {
         if (!alive_->yes) {
            member.reset();
            return;
         }
         auto const& members = collection_->members_;
         auto at = member ? members.upper_bound(member->key) : members.begin();
         if (at == members.end()) {
            member.reset();
         } else {
            member.emplace(Member<K, V>{at->first, at->second});
         }
      }

    private:
      OrderedCollection const* collection_;
      Ptr<Alive> alive_;
   };
   Walk<K, V, Cursor> walk() const { return Walk<K, V, Cursor>(*this); }

 private:
   std::map<K, V> members_;
   Ptr<Alive> alive_ = make<Alive>();
};

} // namespace Orv
