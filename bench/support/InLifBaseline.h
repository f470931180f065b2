// The baseline of the paths to the in-LIFs of sub-interfaces and tunnels.
#pragma once

#include "bench/support/BaselineFront.h"

namespace Bench {

template<class T>
class InLifBaseline : public BaselineFront<T, InLifBaseline<T>> {
   using Front = BaselineFront<T, InLifBaseline<T>>;
   using typename Front::Request, typename Front::Entry;
   using MapperKey = typename T::MapperKey;
   using TunnelKey = typename T::TunnelKey;

 public:
   explicit InLifBaseline(World const& world) : Front(world) {
      for (auto const& of : world.targets) {
         if (Plexus::SubIntfId::isSubIntfId(of.intf)) {
            MapperKey key = T::mapperKey(of.port, of.intf, of.tag, 0);
            mapper_.set(key, {of.tag, 0});
            mapperStatus_.set(key, {0, done});
         }
      }
   }

   uint64_t programmed(std::size_t which) const {
      auto const& of = this->target(which);
      return isTunnel(this->requestOf(which))
                 ? tunnels_.get(T::tunnelKey(of.intf, of.unit))
                 : mapper_.get(T::mapperKey(of.port, of.intf, of.tag, 0)).data;
   }
   std::size_t leftOver() const {
      return this->leftInFront() + tagOutput_.size() + tunnelOutput_.size() + tunnels_.size() +
             tunnelStatus_.size() + awaited_.size() + errors_.size() + pending_.size() +
             pendingTunnels_.size() + mapping_.size();
   }

   auto& output(Request const& request) { return isTunnel(request) ? tunnelOutput_ : tagOutput_; }

   void program(Request const& request) {
      if (isTunnel(request)) {
         programTunnel(request);
      } else {
         programSubIntf(request);
      }
   }

 private:
   static constexpr uint64_t dataMask = 0x3ff;
   static constexpr uint32_t done = 9;
   static constexpr uint32_t programmedTunnel = 2;
   struct Result {
      uint32_t lif = 0;
      uint64_t data = 0;
      friend bool operator==(Result const&, Result const&) = default;
   };
   struct Status {
      uint64_t data = 0;
      uint32_t code = 0;
      friend bool operator==(Status const&, Status const&) = default;
   };

   static bool isTunnel(Request const& request) {
      return Plexus::TunnelIntfId::isTunnelIntfId(T::intfOf(request));
   }

   void programSubIntf(Request const& request) {
      uint64_t policy = tagOutput_.get(request);
      if (this->types_.get(T::unit(T::unitOf(request))) == 1) {
         return;
      }
      auto place = this->resolve(request);
      if (policy == 0) {
         dropMapping(request);
         this->answer(request, 0, 0);
      }
      if (!place.known) {
         if (policy != 0) {
            this->retryLater(request, policy);
         }
         return;
      }
      IntfId intf = T::intfOf(request);
      auto kind = this->encapKind_.get(T::intf(intf));
      MapperKey key =
          T::mapperKey(Plexus::SubIntfId::parentIntfId(intf), intf, place.tag, kind ? *kind : 0);
      auto result = mapper_.find(key);
      if (!result) {
         this->retryLater(request, policy);
         return;
      }
      if (result->data == (policy & dataMask)) {
         this->answer(request, policy, Front::success);
         return;
      }
      result->data = policy & dataMask;
      Entry entry = T::entry(request, policy);
      pending_.set(key, entry);
      awaited_.set(entry, 1);
      mapper_.set(key, *result);
      // The chip, and its answer.
      mapperStatus_.set(key, Status{mapper_.get(key).data, done});
      completeSubIntf(key);
   }

   void completeSubIntf(MapperKey const& key) {
      Entry entry = pending_.get(key);
      if (entry == Entry()) {
         return;
      }
      Status status = mapperStatus_.get(key);
      if (status.data != mapper_.get(key).data) {
         awaitOneLess(entry);
         return;
      }
      if (errors_.get(entry) == 0 || status.code != done) {
         errors_.set(entry, status.code);
      }
      Request request = T::requestOf(entry);
      if (mapping_.add(request, key)) {
         mappingByIntf_.add(request);
      }
      awaitOneLess(entry);
      if (awaited_.get(entry) == 0) {
         bool stands = errors_.get(entry) == done && status.data != 0;
         this->answer(request, T::policyOf(entry), stands ? Front::success : 0);
         if (!stands) {
            dropMapping(request);
         }
         errors_.del(entry);
      }
      pending_.del(key);
   }

   void awaitOneLess(Entry const& entry) {
      uint32_t count = awaited_.get(entry);
      if (count == 1) {
         awaited_.del(entry);
      } else if (count > 1) {
         awaited_.set(entry, count - 1);
      }
   }

   void dropMapping(Request const& request) {
      if (mapping_.drop(request)) {
         mappingByIntf_.remove(request);
      }
   }

   void programTunnel(Request const& request) {
      uint64_t policy = tunnelOutput_.get(request);
      TunnelKey key = T::tunnelKey(T::intfOf(request), T::unitOf(request));
      if (policy != 0) {
         pendingTunnels_.set(key, T::entry(request, policy));
         tunnels_.set(key, policy & dataMask);
         tunnelStatus_.set(key, Status{tunnels_.get(key), programmedTunnel});
         completeTunnel(key);
      } else if (tunnels_.get(key) != 0) {
         pendingTunnels_.set(key, T::entry(request, 0));
         tunnels_.del(key);
         tunnelStatus_.del(key);
         completeTunnel(key);
      } else {
         this->answer(request, 0, 0);
      }
   }

   void completeTunnel(TunnelKey const& key) {
      Status status = tunnelStatus_.get(key);
      Entry entry = pendingTunnels_.get(key);
      if (entry == Entry()) {
         return;
      }
      uint64_t policy = T::policyOf(entry);
      if (status != Status()) {
         if (status.data == (policy & dataMask) && status.code == programmedTunnel) {
            this->answer(T::requestOf(entry), policy, Front::success);
         }
      } else if (policy == 0) {
         this->answer(T::requestOf(entry), 0, 0);
         pendingTunnels_.del(key);
      }
   }

   template<class K, class V>
   using Map = typename T::template Map<K, V>;
   Map<Request, uint64_t> tagOutput_;
   Map<Request, uint64_t> tunnelOutput_;
   typename T::template Sets<Request, MapperKey> mapping_;
   typename T::Groups mappingByIntf_;
   Map<Entry, uint32_t> awaited_;
   Map<Entry, uint32_t> errors_;
   Map<MapperKey, Entry> pending_;
   Map<MapperKey, Result> mapper_;
   Map<MapperKey, Status> mapperStatus_;
   Map<TunnelKey, Entry> pendingTunnels_;
   Map<TunnelKey, uint64_t> tunnels_;
   Map<TunnelKey, Status> tunnelStatus_;
};

} // namespace Bench
