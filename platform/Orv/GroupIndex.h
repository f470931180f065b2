// An index of a collection's members by a part of their key.
//
// The collection updates it before it notifies (Observer), so it is up to date inside every
// handler. Finding a group takes time in proportion to the size of the group. The members of a
// group are in order of insertion.
#pragma once

#include "platform/Orv/Collection.h"

#include <algorithm>
#include <vector>

namespace Orv {

// `part` is the accessor of the key that gives the group.
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

   // A copy, so that the caller may change the collection in a loop over the group. A step may
   // delete a key before the loop reaches it: ask the collection again.
   std::vector<K> members(Group const& group) const {
      std::vector<K> keys;
      uint32_t at = groups_.find(group);
      for (uint32_t slot = at == kNil ? kNil : groups_.at(at).value.first; slot != kNil;
           slot = members_.at(slot).links.next) {
         keys.push_back(members_.key(slot));
      }
      return keys;
   }

   // Whether the index holds exactly the collection's members, each in its group. Walks both, for
   // consistency checks.
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
   PagedStorage<K, None> members_; // linked within their group
   PagedStorage<Group, Ends> groups_;
};

} // namespace Orv
