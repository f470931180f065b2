// The baseline of the in-LIF feature paths: the table operations of the pipeline in straight-line
// code, in the same order. It leaves out the reactors and the tables in which the machines keep
// them.
#pragma once

#include "bench/support/FeatureTables.h"
#include "bench/support/FeatureWorld.h"

namespace Bench {

template<class Of>
class FeatureBaseline {
   using T = FeatureTables<Of>;
   using InLifKey = typename T::InLifKey;
   using FeatureKey = typename T::FeatureKey;
   using Intf = typename T::Intf;
   template<class K, class V>
   using Map = typename T::template Map<K, V>;
   template<class V>
   using PerType = typename T::template PerType<V>;

 public:
   explicit FeatureBaseline(FeatureWorld const& world) : world_(world) {
      for (uint16_t tcam = 0; tcam < FeatureWorld::tcams; ++tcam) {
         auto layout = std::make_shared<PerType<Place>>();
         for (unsigned type = 1; type <= FeatureWorld::types; ++type) {
            layout->set(T::type(type), {FeatureWorld::offsetOf(type), FeatureWorld::mask});
         }
         layouts_.set(T::tcam(tcam), layout);
      }
   }

   void ask(std::size_t which, uint64_t value) {
      auto const& asked = world_.requests[which];
      auto& directory = directories_[asked.directory()];
      InLifKey key = T::inLifKey(asked.intf, asked.tcam);
      FeatureKey featureKey = T::featureKey(key, asked.type);
      if (value == 0) {
         directory.del(featureKey);
      } else {
         directory.set(featureKey, static_cast<uint32_t>(value));
      }
      if (auto request = directory.find(featureKey)) {
         auto aggregate = madeIn(config_, key);
         aggregate->features.set(T::type(asked.type), *request);
         ++aggregate->version;
         handle(key, true);
         return;
      }
      auto aggregate = config_.get(key);
      if (!aggregate) {
         return;
      }
      aggregate->features.del(T::type(asked.type));
      if (aggregate->features.size() != 0) {
         ++aggregate->version;
         handle(key, true);
      } else {
         config_.del(key);
         handle(key, false);
      }
   }
   void drain() {}

   uint64_t programmed(std::size_t which) const {
      auto const& asked = world_.requests[which];
      InLifKey key = T::inLifKey(asked.intf, asked.tcam);
      uint64_t word = Plexus::SubIntfId::isSubIntfId(asked.intf) ? subIntfWords_.get(key)
                                                                 : mergedWords_.get(T::intfOf(key));
      return word >> FeatureWorld::offsetOf(asked.type) & FeatureWorld::mask;
   }
   bool isAnswered(std::size_t which, uint64_t value) const {
      auto const& asked = world_.requests[which];
      auto key = T::featureKey(T::inLifKey(asked.intf, asked.tcam), asked.type);
      return status_.get(key) ==
             (value == 0 ? Response() : Response{static_cast<uint32_t>(value), success});
   }
   std::size_t leftOver() const {
      std::size_t left = 0;
      for (auto const& directory : directories_) {
         left += directory.size();
      }
      return left + config_.size() + expanded_.size() + handled_.size() + status_.size() +
             portWords_.size() + vlanWords_.size() + mergedWords_.size() + subIntfWords_.size();
   }

 private:
   static constexpr uint32_t success = 1;
   static constexpr uint32_t failure = 2;
   struct Place {
      uint16_t offset = 0;
      uint32_t mask = 0;
      friend bool operator==(Place const&, Place const&) = default;
   };
   struct Response {
      uint32_t value = 0;
      uint32_t status = 0;
      friend bool operator==(Response const&, Response const&) = default;
   };
   struct Aggregate {
      PerType<uint32_t> features;
      uint64_t version = 0;
   };
   using Aggregates = Map<InLifKey, std::shared_ptr<Aggregate>>;

   static std::shared_ptr<Aggregate> madeIn(Aggregates& table, InLifKey key) {
      auto aggregate = table.get(key);
      if (!aggregate) {
         aggregate = std::make_shared<Aggregate>();
         table.set(key, aggregate);
      }
      return aggregate;
   }

   void handle(InLifKey key, bool isAdd) {
      IntfId intf = T::intfIdOf(key);
      if (Plexus::SubIntfId::isSubIntfId(intf)) {
         if (!isAdd) {
            subIntfWords_.del(key);
         } else if (config_.has(key)) {
            subIntfWords_.set(key, wordOf(key, *config_.get(key)));
         }
      } else if (!lagOf_.has(T::intfOf(key))) {
         handlePort(key, isAdd);
      }
      respond(key);
   }

   void handlePort(InLifKey key, bool isAdd) {
      Intf port = T::intfOf(key);
      if (!isAdd) {
         portWords_.del(port);
         merge(port);
         expanded_.del(key);
         followPort(key);
      } else if (config_.has(key)) {
         auto aggregate = config_.get(key);
         portWords_.set(port, wordOf(key, *aggregate));
         merge(port);
         auto expanded = madeIn(expanded_, key);
         copy(aggregate->features, expanded->features);
         ++expanded->version;
         followPort(key);
      }
   }

   uint64_t wordOf(InLifKey key, Aggregate const& aggregate) const {
      auto layout = layouts_.get(T::tcamOf(key));
      uint64_t word = 0;
      aggregate.features.each([&](auto type, uint32_t value) {
         if (auto place = layout->find(type)) {
            word &= ~(static_cast<uint64_t>(place->mask) << place->offset);
            word |= static_cast<uint64_t>(value) << place->offset;
         }
      });
      return word;
   }

   void merge(Intf port) {
      if (vlanWords_.has(port)) {
         mergedWords_.set(port, vlanWords_.get(port));
      } else if (portWords_.has(port)) {
         mergedWords_.set(port, portWords_.get(port));
      } else {
         mergedWords_.del(port);
      }
   }

   // In these runs no VLAN covers a port.
   void followPort(InLifKey key) {
      if (vlanKeys_.has(T::intfOf(key))) {
         vlanWords_.set(T::intfOf(key), wordOf(key, *expanded_.get(key)));
      }
   }

   static void copy(PerType<uint32_t> const& from, PerType<uint32_t>& to) {
      from.each([&](auto type, uint32_t value) { to.set(type, value); });
      if (to.size() != from.size()) {
         for (unsigned type = 1; type <= FeatureWorld::types; ++type) {
            if (!from.has(T::type(type))) {
               to.del(T::type(type));
            }
         }
      }
   }

   void respond(InLifKey key) {
      auto aggregate = config_.get(key);
      if (!aggregate) {
         handled_.del(key);
         for (unsigned type = 1; type <= FeatureWorld::types; ++type) {
            status_.del(T::existing(key, type));
         }
         return;
      }
      auto handled = madeIn(handled_, key);
      copy(aggregate->features, handled->features);
      handled->version = aggregate->version;
      for (unsigned type = 1; type <= FeatureWorld::types; ++type) {
         answer(key, type);
      }
   }

   void answer(InLifKey key, unsigned type) {
      auto handled = handled_.get(key);
      if (!handled || !handled->features.has(T::type(type))) {
         status_.del(T::existing(key, type));
         return;
      }
      auto requested = config_.get(key);
      if (!requested || requested->version != handled->version) {
         return;
      }
      uint32_t value = handled->features.get(T::type(type));
      bool stands = requested->features.find(T::type(type)) == value;
      status_.set(T::featureKey(key, type), Response{value, stands ? success : failure});
   }

   FeatureWorld const& world_;
   Map<typename T::Tcam, std::shared_ptr<PerType<Place>>> layouts_;
   Map<FeatureKey, uint32_t> directories_[FeatureWorld::directories];
   Aggregates config_;
   Aggregates expanded_;
   Aggregates handled_;
   Map<FeatureKey, Response> status_;
   Map<InLifKey, uint64_t> subIntfWords_;
   Map<Intf, uint64_t> portWords_;
   Map<Intf, uint64_t> vlanWords_;
   Map<Intf, uint64_t> mergedWords_;
   Map<Intf, InLifKey> vlanKeys_;
   Map<Intf, Intf> lagOf_;
};

} // namespace Bench
