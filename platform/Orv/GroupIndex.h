// The members of a collection by a part of their key, such as all requests of one interface.
//
// Kept in step by the collection itself (Observer), so it is right inside every handler. Finding a
// group costs the size of the group, whatever else the collection holds; its order is the
// collection's.
#pragma once

#include "platform/Orv/Collection.h"

#include <algorithm>
#include <vector>

namespace Orv {

// `part` names the accessor of the key that gives the group.
template<Indexed K, class OfCollection, auto part>
class GroupIndex : public Observer<K> {
 public:
   using Group = std::remove_cvref_t<decltype((std::declval<K const&>().*part)())>;

   // The collection must outlive the index.
   explicit GroupIndex(OfCollection const& collection) : collection_(collection) {
      for (auto const& member : collection.walk()) {
         inserted(member.key);
      }
      collection.observe(*this);
   }
   GroupIndex(GroupIndex const&) = delete;
   GroupIndex& operator=(GroupIndex const&) = delete;
   ~GroupIndex() override { collection_.unobserve(*this); }

   // A snapshot, so that the caller may change anything while it goes through the group. It asks
   // the collection again before it acts on a key that an earlier step may have removed.
   std::vector<K> members(Group const& group) const {
      std::vector<K> keys;
      uint32_t at = groups_.find(group);
      for (uint32_t slot = at == kNil ? kNil : groups_.at(at).value.first; slot != kNil;
           slot = members_.at(slot).links.next) {
         keys.push_back(members_.key(slot));
      }
      return keys;
   }

   // Whether it holds just the collection's members, each in its group: a walk of both, for checks.
   bool equalsWalk() const {
      std::size_t walked = 0;
      for (auto const& member : collection_.walk()) {
         auto group = members((member.key.*part)());
         if (std::count(group.begin(), group.end(), member.key) != 1) {
            return false;
         }
         ++walked;
      }
      return walked == size_;
   }

   void inserted(K const& key) override {
      Group group = (key.*part)();
      uint32_t at = groups_.find(group);
      if (at == kNil) {
         at = groups_.acquire(group);
      }
      Ends& ends = groups_.at(at).value;
      uint32_t slot = members_.acquire(key);
      ++size_;
      members_.at(slot).links = Links{kNil, ends.last};
      (ends.last != kNil ? members_.at(ends.last).links.next : ends.first) = slot;
      ends.last = slot;
   }
   void erased(K const& key) override {
      uint32_t at = groups_.find((key.*part)());
      Ends& ends = groups_.at(at).value;
      uint32_t slot = members_.find(key);
      Links links = members_.at(slot).links;
      (links.previous != kNil ? members_.at(links.previous).links.next : ends.first) = links.next;
      (links.next != kNil ? members_.at(links.next).links.previous : ends.last) = links.previous;
      members_.release(slot);
      --size_;
      if (ends.first == kNil) {
         groups_.release(at);
      }
   }

 private:
   struct None {};
   struct Ends {
      uint32_t first = kNil;
      uint32_t last = kNil;
   };
   OfCollection const& collection_;
   std::size_t size_ = 0;
   PagedStorage<K, None> members_; // linked inside their group
   PagedStorage<Group, Ends> groups_;
};

} // namespace Orv
