// The baseline of the path to the ISEM.
#pragma once

#include "bench/support/BaselineFront.h"

namespace Bench {

template<class T>
class IsemBaseline : public BaselineFront<T, IsemBaseline<T>> {
   using Front = BaselineFront<T, IsemBaseline<T>>;
   using typename Front::Request, typename Front::Entry;
   using Key = typename T::SemKey;
   using PendingKey = typename T::PendingKey;

 public:
   explicit IsemBaseline(World const& world) : Front(world) {}

   uint64_t programmed(std::size_t which) const {
      Request request = this->requestOf(which);
      auto place = this->resolve(request);
      return table_.get(T::semKey(place.tag, place.domain, T::unitOf(request))) >> 3;
   }
   std::size_t leftOver() const {
      return this->leftInFront() + output_.size() + mapping_.size() + users_.size() +
             pending_.size() + table_.size() + tableStatus_.size();
   }

   auto& output(Request const&) { return output_; }

   void program(Request const& request) {
      uint64_t policy = output_.get(request);
      if (policy == 0) {
         remove(request);
         return;
      }
      auto place = this->resolve(request);
      if (!place.known) {
         this->retryLater(request, policy);
         return;
      }
      auto payload = static_cast<uint32_t>((policy & 0x1ffff) << 3 | 1);
      Key key = T::semKey(place.tag, place.domain, T::unitOf(request));
      if (table_.has(key) && table_.get(key) == payload) {
         this->answer(request, policy, Front::success);
         return;
      }
      Key previous = mapping_.get(request);
      if (previous != Key() && previous != key) {
         users_.remove(previous, request);
         table_.del(previous);
      }
      pending_.push(PendingKey{key, true}, T::entry(request, policy));
      users_.add(key, request);
      if (mapping_.set(request, key)) {
         mappingByIntf_.add(request);
      }
      table_.set(key, payload);
      // The chip, and its answer.
      tableStatus_.set(key, Status{1, table_.get(key)});
      complete(key);
   }

 private:
   struct Status {
      uint32_t code = 0;
      uint32_t payload = 0;
      friend bool operator==(Status const&, Status const&) = default;
   };

   void remove(Request const& request) {
      Key key = mapping_.get(request);
      if (this->answered(request) == Front::inProgress) {
         this->answer(request, 0, 0);
      }
      if (table_.has(key)) {
         pending_.push(PendingKey{key, false}, T::entry(request, 0));
         table_.del(key);
         tableStatus_.del(key);
         complete(key);
      }
      users_.remove(key, request);
      mapping_.del(request);
      mappingByIntf_.remove(request);
   }

   void complete(Key const& key) {
      bool isInsert = tableStatus_.get(key) != Status();
      if (auto entry = pending_.pop(PendingKey{key, isInsert})) {
         this->answer(T::requestOf(*entry), T::policyOf(*entry), isInsert ? Front::success : 0);
      }
   }

   template<class K, class V>
   using Map = typename T::template Map<K, V>;
   Map<Request, uint64_t> output_;
   Map<Request, Key> mapping_;
   typename T::Groups mappingByIntf_;
   typename T::template Sets<Key, Request> users_;
   typename T::template Queues<PendingKey, Entry> pending_;
   Map<Key, uint32_t> table_;
   Map<Key, Status> tableStatus_;
};

} // namespace Bench
