// Key types and tables that the in-LIF feature baselines need besides those of BaselineTables.h.
#pragma once

#include "bench/support/BaselineTables.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureKey.h"

namespace Bench {

template<class T>
struct FeatureTables;

template<>
struct FeatureTables<Standard> : Standard {
   using Tcam = uint32_t;
   using Type = uint32_t;
   struct InLifKey {
      Intf intf = 0;
      uint16_t tcam = 0;
      friend bool operator==(InLifKey const&, InLifKey const&) = default;
      auto fields() const { return std::tuple(intf, tcam); }
   };
   struct FeatureKey {
      InLifKey inLif;
      uint8_t type = 0;
      friend bool operator==(FeatureKey const&, FeatureKey const&) = default;
      auto fields() const { return std::tuple(inLif.intf, inLif.tcam, type); }
   };
   // Feature type -> V.
   template<class V>
   using PerType = Map<Type, V>;

   static Tcam tcam(uint16_t number) { return number; }
   static Type type(unsigned number) { return number; }
   static InLifKey inLifKey(IntfId intf, uint16_t tcam) { return {intf.index(), tcam}; }
   static FeatureKey featureKey(InLifKey key, unsigned type) {
      return {key, static_cast<uint8_t>(type)};
   }
   // A key for a look-up that may find nothing.
   static FeatureKey existing(InLifKey key, unsigned type) { return featureKey(key, type); }
   static IntfId intfIdOf(InLifKey key) { return IntfId::fromIndex(key.intf); }
   static Intf intfOf(InLifKey key) { return key.intf; }
   static Tcam tcamOf(InLifKey key) { return key.tcam; }
};

template<>
struct FeatureTables<Platform> : Platform {
   using Tcam = Hardware::Shoal::SystemTcamId;
   using Type = Hardware::ShoalTunnel::InLifFeatureType;
   using InLifKey = Hardware::ShoalTunnel::InLifIntfKey;
   using FeatureKey = Hardware::ShoalTunnel::InLifFeatureKey;
   template<class V>
   struct PerType : Bare<Hardware::ShoalTunnel::InLifFeatureMap<V>> {
      std::optional<V> find(Type type) const {
         return this->has(type) ? std::optional<V>(this->get(type)) : std::nullopt;
      }
   };

   static Tcam tcam(uint16_t number) { return Tcam(number); }
   static Type type(unsigned number) { return static_cast<Type>(number); }
   static InLifKey inLifKey(IntfId intf, uint16_t tcam) { return {intf, Tcam(tcam)}; }
   static FeatureKey featureKey(InLifKey key, unsigned number) { return {key, type(number)}; }
   static FeatureKey existing(InLifKey key, unsigned number) {
      return FeatureKey::existing(key, type(number));
   }
   static IntfId intfIdOf(InLifKey key) { return key.intfId(); }
   static Intf intfOf(InLifKey key) { return key.intfId(); }
   static Tcam tcamOf(InLifKey key) { return key.tcamId(); }
};

} // namespace Bench
