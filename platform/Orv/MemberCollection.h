// Owned collections whose members are watched by one reactor for all of them.
//
//    class PortConfig : public Orv::Entity {
//       ORV_ENTITY(PortConfig, "Example::PortConfig")
//       explicit PortConfig(PortId key);
//       PortId key() const;
//       ORV_MEMBER_ATTRIBUTE(speed, PortId, uint32_t, 0)
//    };
//    class PortConfigDir : public Orv::Entity {
//       ORV_ENTITY(PortConfigDir, "Example::PortConfigDir")
//       ORV_OWNED_COLLECTION(port, PortId, PortConfig, Orv::MemberCollection)
//    };
//
// A reactor that is registered with portCollection().watchMembers(reactor) is called with the key
// of each member whose speed changes. The alternative, a reactor on the speed of each member, takes
// memory for each member.
#pragma once

#include "platform/Orv/Collection.h"
#include "platform/Orv/Notifier.h"

#include <memory>
#include <utility>

namespace Orv {

// The reactors on all members of a collection.
template<class K>
class MemberNotifier : public NotifierBase {
 public:
   // Delivers the change of one member to its own reactors and to those on all members, together in
   // order of registration. Either may be null. `member` identifies the member in memberLeft().
   static void deliver(Notifier<>* own, MemberNotifier* all, K key, void const* member) {
      Delivery toOwn(own);
      Delivery toAll(all, member);
      for (;;) {
         if (ReactorBase* reactor = toOwn.takeBefore(toAll)) {
            static_cast<Reactor<>*>(reactor)->handle();
         } else if ((reactor = toAll.take()) != nullptr) {
            static_cast<Reactor<K>*>(reactor)->handle(key);
         } else {
            return;
         }
      }
   }
   // A change of this member that is being delivered is delivered to no more reactors.
   void memberLeft(void const* member) { endDeliveries(member); }
};

// The attribute of a member that the reactors on all members watch. It may have reactors of its
// own, too (Attribute.h).
template<class T, class K>
class MemberAttribute {
 public:
   explicit MemberAttribute(T initial) : value_(std::move(initial)) {}

   T get() const { return value_; }
   // `key` is that of the member. Notifies the reactors before it returns. An equal value is no
   // change and notifies nobody.
   void set(T value, K key) {
      if (value_ != value) {
         std::swap(value_, value);
         MemberNotifier<K>::deliver(own_.get(), all_, key, this);
      }
   }
   void watch(Reactor<>& reactor) const {
      if (own_ == nullptr) {
         own_ = std::make_unique<Notifier<>>();
      }
      own_->add(reactor);
   }
   // Null when the member has left.
   void memberNotifierIs(MemberNotifier<K>* all) {
      if (all_ != nullptr) {
         all_->memberLeft(this);
      }
      all_ = all;
   }

 private:
   T value_{};
   MemberNotifier<K>* all_ = nullptr;
   mutable std::unique_ptr<Notifier<>> own_;
};

// A KeyedByIndex collection of entities with a member attribute. An entity is a member of one
// collection only.
template<class K, class P>
class MemberCollection : public KeyedByIndex<K, P> {
   using Base = KeyedByIndex<K, P>;

 public:
   ~MemberCollection() {
      for (auto const& [key, member] : this->walk()) {
         leave(key);
      }
   }
   void set(K key, P member) {
      leave(key);
      member->orvMemberNotifierIs(&members_);
      Base::set(key, std::move(member));
   }
   // A member that is deleted has left before any reactor is called.
   void del(K key) {
      leave(key);
      Base::del(key);
   }
   void delAll() {
      for (auto const& [key, member] : this->walk()) {
         del(key);
      }
   }
   // For a change of a member, the reactor is called in order of registration among the reactors of
   // that member.
   void watchMembers(Reactor<K>& reactor) const { members_.add(reactor); }

 private:
   void leave(K key) {
      if (P member = this->get(key)) {
         member->orvMemberNotifierIs(nullptr);
      }
   }
   mutable MemberNotifier<K> members_;
};

} // namespace Orv

// As ORV_ATTRIBUTE (Entity.h), for the attribute that is watched in all members of the collection.
// An entity has one. key() is its key in the collection.
#define ORV_MEMBER_ATTRIBUTE(attr, K, T, initial)                                                  \
 private:                                                                                          \
   ::Orv::MemberAttribute<T, K> attr##_{initial};                                                  \
                                                                                                   \
 public:                                                                                           \
   T attr() const {                                                                                \
      return attr##_.get();                                                                        \
   }                                                                                               \
   void attr##Is(T const& value) {                                                                 \
      attr##_.set(value, key());                                                                   \
   }                                                                                               \
   auto const& attr##Attribute() const {                                                           \
      return attr##_;                                                                              \
   }                                                                                               \
   void orvMemberNotifierIs(::Orv::MemberNotifier<K>* all) {                                       \
      attr##_.memberNotifierIs(all);                                                               \
   }
