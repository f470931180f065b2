// Reactors on a set inside each member of an owned collection: one per member.
//
//    using Members = Orv::SetReactors<Orv::KeyedByIndex, LagConfig, &LagConfig::portCollection,
//                                     &Monitor::handlePort>;
//
// They call handlePort(lag, port) for each port that is inserted or erased, and for each that was
// still there when the whole member is removed. The handler looks up what there is now. It is not
// called for what is there already when the reactors are made.
#pragma once

#include "platform/Orv/Collection.h"
#include "platform/Orv/Ptr.h"

namespace Orv {

template<template<class, class> class Kind, class E, auto setOf, auto handler,
         class Signature = decltype(handler)>
class SetReactors;

template<template<class, class> class Kind, class E, auto setOf, auto handler, class Owner, class K,
         class M>
class SetReactors<Kind, E, setOf, handler, void (Owner::*)(K, M)> : private Reactor<K> {
 public:
   using Members = Kind<K, Ptr<E>>;

   // A null collection reads as empty. It and the owner have to outlive the reactors.
   SetReactors(Members const* members, Owner* owner) : members_(members), owner_(owner) {
      if (members_ == nullptr) {
         return;
      }
      members_->watch(*this);
      for (auto const& [key, member] : members_->walk()) {
         handle(key);
      }
   }

 private:
   class SetReactor : public Reactor<M>, public RefCounted {
    public:
      SetReactor(K key, Ptr<E const> member, Owner* owner)
          : key_(key), member_(std::move(member)), owner_(owner) {
         set().watch(*this);
      }
      void handle(M const& inSet) override { (owner_->*handler)(key_, inSet); }
      // The member was removed from the collection.
      void handleDelete() override {
         for (auto const& [inSet, present] : set().walk()) {
            handle(inSet);
         }
      }

    private:
      auto const& set() const { return ((*member_).*setOf)(); }

      K key_;
      Ptr<E const> member_;
      Owner* owner_;
   };

   // The member of this key was added, replaced or removed.
   void handle(K const& key) override {
      if (auto member = members_->get(key)) {
         reactors_.set(key, make<SetReactor>(key, member, owner_));
      } else if (auto reactor = reactors_.get(key)) {
         reactors_.del(key);
         reactor->remove();
         reactor->handleDelete();
      }
   }

   Members const* members_;
   Owner* owner_;
   Kind<K, Ptr<SetReactor>> reactors_;
};

} // namespace Orv
