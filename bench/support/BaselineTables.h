// Tables and keys of the baselines in two variants: (a) Standard and (b) Platform.
#pragma once

#include "bench/support/World.h"
#include "platform/Hardware/ShoalTunnel/VlanTagToVsiMapper.h"
#include "platform/Orv/GroupIndex.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCommon.h"

#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Bench {

// Key -> a small set, in an object of its own.
template<class Map, class Few>
class SharedSets {
 public:
   // True when the key is new.
   template<class K, class M>
   bool add(K const& key, M const& member) {
      auto set = map_.get(key);
      bool fresh = !set;
      if (fresh) {
         set = std::make_shared<Few>();
         map_.set(key, set);
      }
      set->add(member);
      return fresh;
   }
   // The key goes with its last member.
   template<class K, class M>
   void remove(K const& key, M const& member) {
      if (auto set = map_.get(key); set && set->removeLast(member)) {
         map_.del(key);
      }
   }
   // True when the key was there.
   template<class K>
   bool drop(K const& key) {
      return map_.del(key);
   }
   std::size_t size() const { return map_.size(); }

 private:
   Map map_;
};

// Key -> a queue, in an object of its own.
template<class Map, class V>
class SharedQueues {
 public:
   template<class K>
   void push(K const& key, V const& value) {
      auto queue = map_.get(key);
      if (!queue) {
         queue = std::make_shared<std::vector<V>>();
         map_.set(key, queue);
      }
      queue->push_back(value);
   }
   template<class K>
   std::optional<V> pop(K const& key) {
      auto queue = map_.get(key);
      if (!queue) {
         return std::nullopt;
      }
      V value = queue->front();
      queue->erase(queue->begin());
      if (queue->empty()) {
         map_.del(key);
      }
      return value;
   }
   std::size_t size() const { return map_.size(); }

 private:
   Map map_;
};

// Requests that wait, in the order of a map.
template<class Map>
class MapBacklog {
 public:
   template<class Request>
   bool has(Request const& request) const {
      return map_.get(request);
   }
   template<class Request>
   void add(Request const& request) {
      map_.set(request, true);
   }
   auto take() {
      auto request = map_.first();
      map_.del(request);
      return request;
   }
   bool empty() const { return map_.empty(); }
   std::size_t size() const { return map_.size(); }

 private:
   Map map_;
};

// (a) What an engineer would write first: std::unordered_map over plain structs.
struct Standard {
   using Intf = uint32_t;
   using Unit = uint32_t;
   using Port = uint32_t;
   using Place = uint32_t;
   struct Request {
      Intf intf = 0;
      uint16_t unit = 0;
      uint16_t flood = 0;
      friend bool operator==(Request const&, Request const&) = default;
      auto fields() const { return std::tuple(intf, unit, flood); }
   };
   struct Entry {
      Request request;
      uint64_t policy = 0;
      friend bool operator==(Entry const&, Entry const&) = default;
      auto fields() const { return std::tuple(request.intf, request.unit, request.flood, policy); }
   };
   struct SemKey {
      uint32_t keyType = 0;
      uint32_t value = 0;
      uint16_t unit = 0;
      friend bool operator==(SemKey const&, SemKey const&) = default;
      auto fields() const { return std::tuple(keyType, value, unit); }
   };
   struct PendingKey {
      SemKey key;
      bool isInsert = false;
      friend bool operator==(PendingKey const&, PendingKey const&) = default;
      auto fields() const { return std::tuple(key.keyType, key.value, key.unit, isInsert); }
   };
   struct MapperKey {
      Intf port = 0;
      uint16_t outer = 0;
      uint16_t inner = 0;
      uint32_t aux = 0;
      uint32_t tagType = 0;
      Intf subIntf = 0;
      bool auxFlag = false;
      friend bool operator==(MapperKey const&, MapperKey const&) = default;
      auto fields() const { return std::tuple(port, outer, inner, aux, tagType, subIntf, auxFlag); }
   };
   struct TunnelKey {
      Intf intf = 0;
      uint16_t unit = 0;
      friend bool operator==(TunnelKey const&, TunnelKey const&) = default;
      auto fields() const { return std::tuple(intf, unit); }
   };
   struct Hash {
      std::size_t operator()(uint32_t id) const { return std::hash<uint32_t>{}(id); }
      template<class Key>
      std::size_t operator()(Key const& key) const {
         std::size_t seed = 0;
         std::apply([&](auto... field) { ((seed = mix(seed, field)), ...); }, key.fields());
         return seed;
      }
      static std::size_t mix(std::size_t seed, std::size_t value) {
         return seed ^ (std::hash<std::size_t>{}(value) + 0x9e3779b97f4a7c15ULL + (seed << 6) +
                        (seed >> 2));
      }
   };

   template<class K, class V>
   class Map {
    public:
      V get(K const& key) const {
         auto found = map_.find(key);
         return found == map_.end() ? V{} : found->second;
      }
      std::optional<V> find(K const& key) const {
         auto found = map_.find(key);
         return found == map_.end() ? std::nullopt : std::optional<V>(found->second);
      }
      bool has(K const& key) const { return map_.find(key) != map_.end(); }
      // True when the key is new.
      bool set(K const& key, V value) {
         return map_.insert_or_assign(key, std::move(value)).second;
      }
      // True when the key was there.
      bool del(K const& key) { return map_.erase(key) > 0; }
      bool empty() const { return map_.empty(); }
      std::size_t size() const { return map_.size(); }
      K first() const { return map_.begin()->first; }
      template<class Use>
      void each(Use&& use) const {
         for (auto const& [key, value] : map_) {
            use(key, value);
         }
      }

    private:
      std::unordered_map<K, V, Hash> map_;
   };
   template<class V>
   using ByIntfInOrder = Map<Intf, V>; // the order is not used
   template<class K>
   class Few {
    public:
      void add(K const& key) { keys_.insert(key); }
      bool removeLast(K const& key) {
         keys_.erase(key);
         return keys_.empty();
      }

    private:
      std::unordered_set<K, Hash> keys_;
   };
   template<class K, class M>
   using Sets = SharedSets<Map<K, std::shared_ptr<Few<M>>>, Few<M>>;
   template<class K, class V>
   using Queues = SharedQueues<Map<K, std::shared_ptr<std::vector<V>>>, V>;
   using Backlog = MapBacklog<Map<Request, bool>>;
   // Interface -> its requests.
   class Groups {
    public:
      void add(Request const& request) { groups_[request.intf].insert(request); }
      void remove(Request const& request) {
         auto found = groups_.find(request.intf);
         found->second.erase(request);
         if (found->second.empty()) {
            groups_.erase(found);
         }
      }

    private:
      std::unordered_map<Intf, std::unordered_set<Request, Hash>> groups_;
   };

   static Intf intf(IntfId id) { return id.index(); }
   static Unit unit(uint16_t unit) { return unit; }
   static Port port(uint32_t systemPort) { return systemPort; }
   static Place place(uint16_t unit, uint16_t port) {
      return static_cast<uint32_t>(unit) << 8 | port;
   }
   static Request request(IntfId id, uint16_t unit) { return {id.index(), unit, 0}; }
   static IntfId intfOf(Request const& request) { return IntfId::fromIndex(request.intf); }
   static uint16_t unitOf(Request const& request) { return request.unit; }
   static Entry entry(Request const& request, uint64_t policy) { return {request, policy}; }
   static Request requestOf(Entry const& entry) { return entry.request; }
   static uint64_t policyOf(Entry const& entry) { return entry.policy; }
   static SemKey semKey(uint16_t vlan, uint8_t domain, uint16_t unit) {
      return {11, static_cast<uint32_t>(vlan) << 8 | domain, unit};
   }
   static MapperKey mapperKey(IntfId port, IntfId subIntf, uint16_t tag, uint32_t encapKind) {
      return {port.index(), tag, 0, 0, encapKind == 4 ? 3U : 0U, subIntf.index(), false};
   }
   static TunnelKey tunnelKey(IntfId intf, uint16_t unit) { return {intf.index(), unit}; }
};

// (b) The platform's own collections, bare.
struct Platform {
   using Intf = IntfId;
   using Unit = FapId;
   using Port = Hardware::Shoal::SystemPhyPortId;
   using Place = Hardware::Shoal::PortMap;
   using Request = Hardware::ShoalTunnel::TcamSharingRequest;
   using Entry = Hardware::ShoalTunnel::TcamSharingEntry;
   using SemKey = Hardware::ShoalTunnel::AradSemKeyAndFap;
   using PendingKey = Hardware::ShoalTunnel::PendingSemWriteKey;
   using MapperKey = Hardware::ShoalTunnel::VlanTagToVsiMapperKey;
   using TunnelKey = Hardware::ShoalTunnel::TunnelPolicyMapperKey;

   template<class Of>
   class Bare {
    public:
      using K = typename Of::Key;
      using V = typename Of::Value;
      V get(K const& key) const { return of_.get(key); }
      std::optional<V> find(K const& key) const { return of_.find(key); }
      bool has(K const& key) const { return of_.has(key); }
      bool set(K const& key, V value) {
         std::size_t before = of_.size();
         of_.set(key, std::move(value));
         return of_.size() != before;
      }
      bool del(K const& key) {
         std::size_t before = of_.size();
         of_.del(key);
         return of_.size() != before;
      }
      bool empty() const { return of_.size() == 0; }
      std::size_t size() const { return of_.size(); }
      K first() const {
         typename Of::Cursor cursor(of_, Of::Cursor::unbounded);
         return *cursor.peekKey();
      }
      template<class Use>
      void each(Use&& use) const {
         for (auto const& [key, value] : of_.walk()) {
            use(key, value);
         }
      }

    private:
      Of of_;
   };
   template<class K, class V>
   struct Suited {
      using type = Orv::Keyed<K, V>;
   };
   template<Orv::Indexed K, class V>
   struct Suited<K, V> {
      using type = Orv::KeyedByIndex<K, V>;
   };
   template<class K, class V>
   using Map = Bare<typename Suited<K, V>::type>;
   template<class V>
   using ByIntfInOrder = Bare<Orv::OrderedCollection<Intf, V>>;
   template<class K>
   class Few {
    public:
      void add(K const& key) { keys_.set(key, true); }
      bool removeLast(K const& key) {
         keys_.del(key);
         return keys_.size() == 0;
      }

    private:
      Orv::Small<K, bool> keys_;
   };
   template<class K, class M>
   using Sets = SharedSets<Map<K, std::shared_ptr<Few<M>>>, Few<M>>;
   template<class K, class V>
   using Queues = SharedQueues<Map<K, std::shared_ptr<std::vector<V>>>, V>;
   using Backlog = MapBacklog<Map<Request, bool>>;
   class Groups {
    public:
      void add(Request const& request) { index_.inserted(request); }
      void remove(Request const& request) { index_.erased(request); }

    private:
      using Nothing = Orv::KeyedByIndex<Request, bool>;
      Nothing nothing_; // the index follows no collection: it is told by hand
      Orv::GroupIndex<Request, Nothing, &Request::intfId> index_{nothing_};
   };

   static Intf intf(IntfId id) { return id; }
   static Unit unit(uint16_t unit) { return FapId(unit); }
   static Port port(uint32_t systemPort) { return Port(systemPort); }
   static Place place(uint16_t unit, uint16_t port) { return {FapId(unit), port}; }
   static Request request(IntfId id, uint16_t unit) { return {id, FapId(unit)}; }
   static IntfId intfOf(Request const& request) { return request.intfId(); }
   static uint16_t unitOf(Request const& request) { return request.fapId().value(); }
   static Entry entry(Request const& request, uint64_t policy) {
      return {request, Hardware::ShoalTunnel::TcamSharingPolicyId(policy)};
   }
   static Request requestOf(Entry const& entry) { return entry.request(); }
   static uint64_t policyOf(Entry const& entry) { return entry.policyId().value(); }
   static SemKey semKey(uint16_t vlan, uint8_t domain, uint16_t unit) {
      return {Hardware::ShoalTunnel::AradISemKeyTcamSharing(Bridging::VlanId(vlan),
                                                            Hardware::Shoal::VlanDomain(domain))
                  .key(),
              FapId(unit)};
   }
   static MapperKey mapperKey(IntfId port, IntfId subIntf, uint16_t tag, uint32_t encapKind) {
      return MapperKey::ofSubIntf(port, subIntf, {tag, 0}, encapKind);
   }
   static TunnelKey tunnelKey(IntfId intf, uint16_t unit) { return {intf, FapId(unit)}; }
};

} // namespace Bench
