// Reactors on a set inside each member of an owned collection: one per member.
//
//    using Members = Orv::SetReactors<Orv::KeyedByIndex, LagConfig, &LagConfig::portCollection,
//                                     &Monitor::handlePort>;
//
// They call handlePort(lag, port) for each port that is inserted or erased, and for each that is
// there when a whole member is added, removed or replaced. The handler looks up what there is now.
// It is not called for what is there already when the reactors are made.
#pragma once

#include "platform/Orv/Collection.h"
#include "platform/Orv/Ptr.h"

#include <utility>
#include <vector>

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
         reactors_.set(key, make<SetReactor>(key, member, owner_));
      }
   }

 private:
   class SetReactor : public Reactor<M>, public RefCounted, private Observer<M> {
    public:
      SetReactor(K key, Ptr<E> member, Owner* owner)
          : key_(key), member_(std::move(member)), owner_(owner) {
         set().observe(*this);
         set().watch(*this);
      }
      ~SetReactor() override { set().unobserve(*this); }
      void handle(M const& inSet) override {
         std::erase(untold_, inSet);
         (owner_->*handler)(key_, inSet);
      }
      bool watches(Ptr<E> const& member) const { return member_ == member; }
      void handleAll() {
         for (M const& inSet : std::exchange(untold_, {})) {
            (owner_->*handler)(key_, inSet);
         }
         for (auto const& [inSet, present] : set().walk()) {
            handle(inSet);
         }
      }

    private:
      void inserted(M const&) override {}
      void erased(M const& inSet) override { untold_.push_back(inSet); }
      auto const& set() const { return ((*member_).*setOf)(); }

      K key_;
      Ptr<E> member_;
      Owner* owner_;
      // Erased, and the handler does not know: another reactor, which was told first, may remove
      // the whole set, and then this one is not told.
      std::vector<M> untold_;
   };

   // The member of this key was added, replaced or removed.
   void handle(K const& key) override {
      K changed = key;
      auto member = members_->get(changed);
      auto before = reactors_.get(changed);
      if (before && before->watches(member)) {
         return; // put there again by a handler
      }
      Ptr<SetReactor> now;
      if (member) {
         now = make<SetReactor>(changed, member, owner_);
         reactors_.set(changed, now);
      } else {
         reactors_.del(changed);
      }
      if (before) {
         before->remove();
         before->handleAll();
      }
      if (now) {
         now->handleAll();
      }
   }

   Members const* members_;
   Owner* owner_;
   Kind<K, Ptr<SetReactor>> reactors_;
};

} // namespace Orv
