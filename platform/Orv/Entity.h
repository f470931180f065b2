// Entities: reference-counted objects whose attributes notify reactors, and the schema macros that
// declare the attributes.
//
//    class PortConfig : public Orv::Entity {
//       ORV_ENTITY(PortConfig, "Example::PortConfig")
//       ORV_COLLECTION(speed, PortId, uint32_t, Orv::KeyedByIndex)
//    };
//
// For the collection `speed` the operations are speed(key), speedIs(key, value), speedDel(key),
// speedDelAll(), speedHas(key), the count speeds(), speedIter() for range-for, and
// speedCollection() for reactors, cursors and indices.
//
// Each macro ends in the public section of the class.
#pragma once

#include "platform/Orv/Attribute.h"
#include "platform/Orv/Collection.h"
#include "platform/Orv/OrderedCollection.h"
#include "platform/Orv/Ptr.h"
#include "platform/Orv/Type.h"

#include <string>

namespace Orv {

using Name = std::string;

class ORV_EXPORT Entity : public RefCounted {
 public:
   ~Entity() override;
   virtual Type const& orvType() const = 0;
};

} // namespace Orv

#define ORV_ENTITY(T, fullName)                                                                    \
 public:                                                                                           \
   static constexpr char const* orvFullName = fullName;                                            \
   ::Orv::Type const& orvType() const override {                                                   \
      return ::Orv::typeOf<T>();                                                                   \
   }                                                                                               \
   static inline ::Orv::TypeRegistration<T> const orvRegistration{};

// `Kind` is Orv::Keyed, Orv::KeyedByIndex, Orv::Small or Orv::OrderedCollection.
#define ORV_COLLECTION(attr, K, V, Kind) ORV_COLLECTION_AS(attr, K, V, Kind<K, V>)

// A collection of which every write is an event. `Storage` is one of Storage.h.
#define ORV_EVENTS(attr, K, V, Storage)                                                            \
   ORV_COLLECTION_AS(attr, K, V,                                                                   \
                     ::Orv::Collection<K, V, Storage<K, V>, ::Orv::Notify::onEveryWrite>)

#define ORV_COLLECTION_AS(attr, K, V, ...)                                                         \
 private:                                                                                          \
   __VA_ARGS__ attr##_;                                                                            \
                                                                                                   \
 public:                                                                                           \
   V attr(K const& key) const {                                                                    \
      return attr##_.get(key);                                                                     \
   }                                                                                               \
   void attr##Is(K const& key, V const& value) {                                                   \
      attr##_.set(key, value);                                                                     \
   }                                                                                               \
   ORV_COLLECTION_COMMON(attr, K)

// A collection that makes its members, which are entities: fooIs(key) returns the member, and
// constructs it from its key when it is absent; foo(key) is null when it is absent.
#define ORV_OWNED_COLLECTION(attr, K, E, Kind)                                                     \
 private:                                                                                          \
   Kind<K, ::Orv::Ptr<E>> attr##_;                                                                 \
                                                                                                   \
 public:                                                                                           \
   ::Orv::Ptr<E> attr(K const& key) const {                                                        \
      return attr##_.get(key);                                                                     \
   }                                                                                               \
   ::Orv::Ptr<E> attr##Is(K const& key) {                                                          \
      ::Orv::Ptr<E> member = attr##_.get(key);                                                     \
      if (!member) {                                                                               \
         member = ::Orv::make<E>(key);                                                             \
         attr##_.set(key, member);                                                                 \
      }                                                                                            \
      return member;                                                                               \
   }                                                                                               \
   ORV_COLLECTION_COMMON(attr, K)

// A set of keys: fooIs(key) inserts, fooIs(key, false) erases, foo(key) tells membership.
#define ORV_SET(attr, K, Kind)                                                                     \
 private:                                                                                          \
   Kind<K, bool> attr##_;                                                                          \
                                                                                                   \
 public:                                                                                           \
   bool attr(K const& key) const {                                                                 \
      return attr##_.get(key);                                                                     \
   }                                                                                               \
   void attr##Is(K const& key, bool present = true) {                                              \
      if (present) {                                                                               \
         attr##_.set(key, true);                                                                   \
      } else {                                                                                     \
         attr##_.del(key);                                                                         \
      }                                                                                            \
   }                                                                                               \
   ORV_COLLECTION_COMMON(attr, K)

#define ORV_COLLECTION_COMMON(attr, K)                                                             \
   void attr##Del(K const& key) {                                                                  \
      attr##_.del(key);                                                                            \
   }                                                                                               \
   void attr##DelAll() {                                                                           \
      attr##_.delAll();                                                                            \
   }                                                                                               \
   bool attr##Has(K const& key) const {                                                            \
      return attr##_.has(key);                                                                     \
   }                                                                                               \
   std::size_t attr##s() const {                                                                   \
      return attr##_.size();                                                                       \
   }                                                                                               \
   auto attr##Iter() const {                                                                       \
      return attr##_.walk();                                                                       \
   }                                                                                               \
   auto const& attr##Collection() const {                                                          \
      return attr##_;                                                                              \
   }

// One value: foo(), fooIs(value), fooAttribute() for reactors.
#define ORV_ATTRIBUTE(attr, T, initial)                                                            \
 private:                                                                                          \
   ::Orv::Attribute<T> attr##_{initial};                                                           \
                                                                                                   \
 public:                                                                                           \
   T attr() const {                                                                                \
      return attr##_.get();                                                                        \
   }                                                                                               \
   void attr##Is(T const& value) {                                                                 \
      attr##_.set(value);                                                                          \
   }                                                                                               \
   auto const& attr##Attribute() const {                                                           \
      return attr##_;                                                                              \
   }

// An unsigned counter: foo(), fooInc(n), fooDec(n) (not below 0).
#define ORV_COUNTER(attr)                                                                          \
 private:                                                                                          \
   uint64_t attr##_ = 0;                                                                           \
                                                                                                   \
 public:                                                                                           \
   uint64_t attr() const {                                                                         \
      return attr##_;                                                                              \
   }                                                                                               \
   void attr##Inc(uint64_t n) {                                                                    \
      attr##_ += n;                                                                                \
   }                                                                                               \
   void attr##Dec(uint64_t n) {                                                                    \
      attr##_ -= n < attr##_ ? n : attr##_;                                                        \
   }

// A first-in first-out queue: fooEnq(value), fooDeq(), the head foo(), the count foos(),
// fooDelAll(), fooMetadata(), and fooQueue() for its values.
#define ORV_QUEUE(attr, T)                                                                         \
 private:                                                                                          \
   ::Orv::Queue<T> attr##_;                                                                        \
                                                                                                   \
 public:                                                                                           \
   T attr() const {                                                                                \
      return attr##_.head();                                                                       \
   }                                                                                               \
   void attr##Enq(T const& value) {                                                                \
      attr##_.enqueue(value);                                                                      \
   }                                                                                               \
   void attr##Deq() {                                                                              \
      attr##_.dequeue();                                                                           \
   }                                                                                               \
   void attr##DelAll() {                                                                           \
      attr##_.clear();                                                                             \
   }                                                                                               \
   std::size_t attr##s() const {                                                                   \
      return attr##_.size();                                                                       \
   }                                                                                               \
   ::Orv::QueueMetadata const& attr##Metadata() const {                                            \
      return attr##_.metadata();                                                                   \
   }                                                                                               \
   auto const& attr##Queue() const {                                                               \
      return attr##_;                                                                              \
   }
