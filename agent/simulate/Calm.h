// Since when nothing happened to an entry's answers: the chip counts its disturbances for good, and
// a machine's account forgets them when the entry is empty and at rest.
#pragma once

#include "agent/chip/ChipTable.h"

namespace Agent {

template<class T>
class Calm {
 public:
   using Key = typename T::Key;

   explicit Calm(ChipTable<T> const& chip) : chip_(chip) {}

   // The entry is empty and at rest.
   void is(Key key) { since_[key] = chip_.disturbances(key); }
   // Since then some answer of its was lost, late or out of order.
   bool isDisturbed(Key key) const {
      auto calm = since_.find(key);
      return chip_.disturbances(key) > (calm == since_.end() ? 0 : calm->second);
   }

 private:
   ChipTable<T> const& chip_;
   std::map<Key, uint64_t> since_;
};

} // namespace Agent
