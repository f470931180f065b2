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
      uint32_t last = last_.get(group.index());
      if (last == kNone) {
         return keys;
      }
      uint32_t slot = last;
      do {
         slot = next(slot);
         keys.push_back(K::fromIndex(slot - 1));
      } while (slot != last);
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
      ++size_;
      uint32_t group = (key.*part)().index();
      uint32_t slot = key.index() + 1;
      if (uint32_t last = last_.get(group); last != kNone) {
         uint32_t first = next(last);
         link(last, slot);
         link(slot, first);
      }
      last_.set(group, slot);
   }
   void erased(K const& key) override {
      --size_;
      uint32_t group = (key.*part)().index();
      uint32_t slot = key.index() + 1;
      Neighbours ofKey = neighbours_.get(slot);
      if (ofKey == Neighbours()) {
         last_.set(group, kNone);
         return;
      }
      neighbours_.set(slot, {});
      if (ofKey.next == ofKey.previous) {
         neighbours_.set(ofKey.next, {}); // the only one left
      } else {
         link(ofKey.previous, ofKey.next);
      }
      if (last_.get(group) == slot) {
         last_.set(group, ofKey.previous);
      }
   }

 private:
   // A member's slot is its index + 1. The members of a group form a ring, in order of insertion.
   // One that is alone, which is the usual case, has no entry in `neighbours_`.
   static constexpr uint32_t kNone = 0;
   struct Neighbours {
      uint32_t next = kNone;
      uint32_t previous = kNone;
      friend bool operator==(Neighbours const&, Neighbours const&) = default;
   };
   uint32_t next(uint32_t slot) const {
      uint32_t next = neighbours_.get(slot).next;
      return next != kNone ? next : slot;
   }
   void link(uint32_t slot, uint32_t next) {
      neighbours_.set(slot, {next, neighbours_.get(slot).previous});
      neighbours_.set(next, {neighbours_.get(next).next, slot});
   }

   OfCollection const& collection_;
   std::size_t size_ = 0;
   PagedArray<uint32_t> last_; // group -> the slot of its last member
   PagedArray<Neighbours> neighbours_;
};

} // namespace Orv
