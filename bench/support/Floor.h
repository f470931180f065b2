// The floors: the pipeline's table operations in straight-line code, without entities, reactors,
// timers or traces. Each look-up and write stands where the pipeline has it.
#pragma once

#include "bench/support/World.h"
#include "platform/Orv/Collection.h"

#include <deque>
#include <map>
#include <memory>
#include <unordered_map>
#include <unordered_set>

namespace Bench {

// (a) What an engineer would write first.
struct Standard {
   struct Request {
      uint32_t intf = 0;
      uint16_t unit = 0;
      uint16_t flood = 0;
      friend bool operator==(Request const&, Request const&) = default;
   };
   struct Key {
      uint32_t keyType = 0;
      uint32_t value = 0;
      uint16_t unit = 0;
      friend bool operator==(Key const&, Key const&) = default;
   };
   struct PendingKey {
      Key key;
      bool isInsert = false;
      friend bool operator==(PendingKey const&, PendingKey const&) = default;
   };
   struct Entry {
      Request request;
      uint64_t policy = 0;
      friend bool operator==(Entry const&, Entry const&) = default;
   };
   struct Hash {
      static std::size_t mix(std::size_t seed, std::size_t value) {
         return seed ^ (std::hash<std::size_t>{}(value) + 0x9e3779b97f4a7c15ULL + (seed << 6) +
                        (seed >> 2));
      }
      std::size_t operator()(uint32_t id) const { return std::hash<uint32_t>{}(id); }
      std::size_t operator()(Request const& of) const {
         return mix(mix(mix(0, of.intf), of.unit), of.flood);
      }
      std::size_t operator()(Key const& of) const {
         return mix(mix(mix(0, of.keyType), of.value), of.unit);
      }
      std::size_t operator()(PendingKey const& of) const {
         return mix((*this)(of.key), of.isInsert);
      }
      std::size_t operator()(Entry const& of) const { return mix((*this)(of.request), of.policy); }
   };
   template<class K, class V>
   class Map {
    public:
      V* find(K const& key) {
         auto found = map_.find(key);
         return found == map_.end() ? nullptr : &found->second;
      }
      V get(K const& key) const {
         auto found = map_.find(key);
         return found == map_.end() ? V{} : found->second;
      }
      bool has(K const& key) const { return map_.find(key) != map_.end(); }
      void set(K const& key, V value) { map_[key] = std::move(value); }
      V& make(K const& key) { return map_[key]; }
      void del(K const& key) { map_.erase(key); }
      bool empty() const { return map_.empty(); }
      std::size_t size() const { return map_.size(); }
      K first() const { return map_.begin()->first; }

    private:
      std::unordered_map<K, V, Hash> map_;
   };
   using Intf = uint32_t;
   static Intf intf(IntfId id) { return id.index(); }
   static Request request(IntfId id, uint16_t unit) { return {id.index(), unit, 0}; }
   static Request requestOf(Entry const& entry) { return entry.request; }
   static Key key(uint16_t vlan, uint8_t domain, uint16_t unit) {
      return {11, static_cast<uint32_t>(vlan) << 8 | domain, unit};
   }
   class Users {
    public:
      void add(Request const& request) { users_.insert(request); }
      bool removeLast(Request const& request) {
         users_.erase(request);
         return users_.empty();
      }

    private:
      std::unordered_set<Request, Hash> users_;
   };
   template<class V>
   using ByRequest = Map<Request, V>;
   template<class V>
   using ByKey = Map<Key, V>;
   template<class V>
   using ByPending = Map<PendingKey, V>;
   template<class V>
   using ByEntry = Map<Entry, V>;
   template<class V>
   using ByIntf = Map<Intf, V>;
   template<class V>
   using ByUnit = Map<uint32_t, V>;
   template<class V>
   using ByPort = Map<uint32_t, V>;
   // The requests of each interface.
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
};

// (b) The platform's own collections, bare.
struct Platform {
   using Request = Hardware::ShoalTunnel::TcamSharingRequest;
   using Key = Hardware::ShoalTunnel::AradSemKeyAndFap;
   using Entry = Hardware::ShoalTunnel::TcamSharingEntry;
   struct PendingKey {
      Key key;
      bool isInsert = false;
      uint32_t index() const { return key.index() * 2 + (isInsert ? 1 : 0); }
      static PendingKey fromIndex(uint32_t index) {
         return {Key::fromIndex(index / 2), index % 2 != 0};
      }
   };
   template<class Of>
   class Map {
    public:
      using K = typename Of::Key;
      using V = typename Of::Value;
      V get(K const& key) const { return of_.get(key); }
      bool has(K const& key) const { return of_.has(key); }
      void set(K const& key, V value) { of_.set(key, std::move(value)); }
      void del(K const& key) { of_.del(key); }
      bool empty() const { return of_.size() == 0; }
      std::size_t size() const { return of_.size(); }
      K first() const {
         typename Of::Cursor cursor(of_, Of::Cursor::unbounded);
         return *cursor.peekKey();
      }

    private:
      Of of_;
   };
   using Intf = IntfId;
   static Intf intf(IntfId id) { return id; }
   static Request request(IntfId id, uint16_t unit) { return {id, FapId(unit)}; }
   static Key key(uint16_t vlan, uint8_t domain, uint16_t unit) {
      return {Hardware::ShoalTunnel::AradISemKeyTcamSharing(Bridging::VlanId(vlan),
                                                            Hardware::Shoal::VlanDomain(domain))
                  .key(),
              FapId(unit)};
   }
   class Users {
    public:
      void add(Request const& request) { users_.set(request, true); }
      bool removeLast(Request const& request) {
         users_.del(request);
         return users_.size() == 0;
      }

    private:
      Orv::Small<Request, bool> users_;
   };
   template<class V>
   using ByRequest = Map<Orv::KeyedByIndex<Request, V>>;
   template<class V>
   using ByKey = Map<Orv::KeyedByIndex<Key, V>>;
   template<class V>
   using ByPending = Map<Orv::KeyedByIndex<PendingKey, V>>;
   template<class V>
   using ByEntry = Map<Orv::Keyed<Entry, V>>;
   template<class V>
   using ByIntf = Map<Orv::KeyedByIndex<Intf, V>>;
   template<class V>
   using ByUnit = Map<Orv::KeyedByIndex<FapId, V>>;
   template<class V>
   using ByPort = Map<Orv::Keyed<uint32_t, V>>;
   class Groups {
    public:
      void add(Request const& request) {
         auto group = groups_.get(request.intfId());
         if (group == nullptr) {
            group = std::make_shared<Orv::Small<Request, bool>>();
            groups_.set(request.intfId(), group);
         }
         group->set(request, true);
      }
      void remove(Request const& request) {
         auto group = groups_.get(request.intfId());
         group->del(request);
         if (group->size() == 0) {
            groups_.del(request.intfId());
         }
      }

    private:
      Orv::KeyedByIndex<Intf, std::shared_ptr<Orv::Small<Request, bool>>> groups_;
   };
};

struct Response {
   uint8_t status = 0;
   uint64_t policy = 0;
   friend bool operator==(Response const&, Response const&) = default;
};
struct Status {
   uint32_t code = 0;
   uint32_t payload = 0;
   friend bool operator==(Status const&, Status const&) = default;
};

template<class T>
class Floor {
 public:
   using Request = typename T::Request;
   using Key = typename T::Key;
   using Entry = typename T::Entry;

   explicit Floor(World const& world) : world_(world) {
      for (auto const& port : world.ports) {
         auto systemPort = static_cast<uint32_t>(&port - world.ports.data());
         names_.set(unitKey(port.unit), 1);
         systemPort_[port.intf.index()] = systemPort;
         portMap_.set(systemPort, static_cast<uint32_t>(port.unit) << 8 | port.unitPort);
         domain_.set(static_cast<uint32_t>(port.unit) << 8 | port.unitPort, port.domain);
      }
      for (auto const& sub : world.subInterfaces) {
         config_.set(T::intf(sub.intf), std::make_shared<uint32_t>(sub.tag));
      }
   }

   void ask(std::size_t which, uint64_t policy) {
      auto const& sub = world_.subInterfaces[which];
      uint16_t unit = world_.ports[sub.port].unit;
      Request request = T::request(sub.intf, unit);
      if (policy == 0) {
         acl_.del(request);
      } else {
         acl_.set(request, policy);
      }
      uint64_t asked = acl_.get(request);
      if (lookup_.get(unitKey(unit)) == 4) {
         return;
      }
      bool there = merged_.has(request);
      if (asked == 0) {
         merged_.del(request);
         groups_.remove(request);
      } else {
         merged_.set(request, asked);
         if (!there) {
            groups_.add(request);
         }
      }
      if (merged_.get(request) != output_.get(request) && !backlog_.get(request)) {
         backlog_.set(request, true);
      }
   }

   void drain() {
      while (!backlog_.empty()) {
         Request request = backlog_.first();
         backlog_.del(request);
         uint64_t in = merged_.get(request);
         uint64_t out = output_.get(request);
         if (retry_.get(Entry{request, policyOf(out)})) {
            retry_.del(Entry{request, policyOf(out)});
         }
         if (in == 0) {
            output_.del(request);
            remove(request);
         } else {
            output_.set(request, merged_.get(request));
            program(request);
         }
      }
   }

   bool isAnswered(std::size_t which, uint64_t policy) const {
      auto const& sub = world_.subInterfaces[which];
      return aclStatus_.get(T::request(sub.intf, world_.ports[sub.port].unit)) ==
             Response{1, policy};
   }
   std::size_t entries() const { return table_.size(); }
   std::size_t leftOver() const {
      return acl_.size() + merged_.size() + output_.size() + table_.size() + tableStatus_.size() +
             mergedStatus_.size() + aclStatus_.size() + users_.size() + pending_.size() +
             mapping_.size();
   }

 private:
   using Queue = std::vector<Entry>;
   static auto unitKey(uint16_t unit) {
      if constexpr (std::is_same_v<T, Platform>) {
         return FapId(unit);
      } else {
         return static_cast<uint32_t>(unit);
      }
   }
   static auto policyOf(uint64_t value) {
      if constexpr (std::is_same_v<T, Platform>) {
         return Hardware::ShoalTunnel::TcamSharingPolicyId(value);
      } else {
         return value;
      }
   }
   static IntfId intfOf(Request const& request) {
      if constexpr (std::is_same_v<T, Platform>) {
         return request.intfId();
      } else {
         return IntfId::fromIndex(request.intf);
      }
   }
   static uint16_t unitOf(Request const& request) {
      if constexpr (std::is_same_v<T, Platform>) {
         return request.fapId().value();
      } else {
         return request.unit;
      }
   }

   void program(Request const& request) {
      uint64_t policy = output_.get(request);
      IntfId intf = intfOf(request);
      uint16_t unit = unitOf(request);
      auto port = systemPort_.find(Plexus::SubIntfId::parentIntfId(intf).index());
      bool resolved = names_.has(unitKey(unit)) && port != systemPort_.end();
      uint8_t domain = resolved ? domain_.get(portMap_.get(port->second)) : 0;
      auto config = config_.get(T::intf(intf));
      uint32_t tag = dynamic_.get(T::intf(intf));
      if (tag == 0 && config) {
         tag = *config;
      }
      if (domain == 0 || tag == 0) {
         retry_.set(Entry{request, policyOf(policy)}, true);
         return;
      }
      auto payload = static_cast<uint32_t>((policy & 0x1ffff) << 3 | 1);
      Key key = T::key(static_cast<uint16_t>(tag), domain, unit);
      if (table_.has(key) && table_.get(key) == payload) {
         answer(request, policy, 1);
         return;
      }
      Key previous = mapping_.get(request);
      if (previous != Key() && previous != key) {
         dropUser(previous, request);
         table_.del(previous);
      }
      enqueue({key, true}, Entry{request, policyOf(policy)});
      auto users = users_.get(key);
      if (!users) {
         users = std::make_shared<typename T::Users>();
         users_.set(key, users);
      }
      users->add(request);
      mapping_.set(request, key);
      table_.set(key, payload);
      // The chip, and its answer.
      tableStatus_.set(key, Status{1, table_.get(key)});
      complete(key);
   }

   void remove(Request const& request) {
      if (output_.get(request) != 0) {
         return;
      }
      Key key = mapping_.get(request);
      if (mergedStatus_.get(request).status == 2) {
         mergedStatus_.del(request);
      }
      if (table_.has(key)) {
         enqueue({key, false}, Entry{request, policyOf(0)});
         table_.del(key);
         tableStatus_.del(key);
         complete(key);
      }
      dropUser(key, request);
      mapping_.del(request);
   }

   void enqueue(typename T::PendingKey const& key, Entry const& entry) {
      auto queue = pending_.get(key);
      if (!queue) {
         queue = std::make_shared<Queue>();
         pending_.set(key, queue);
      }
      queue->push_back(entry);
   }

   void dropUser(Key const& key, Request const& request) {
      if (auto users = users_.get(key); users && users->removeLast(request)) {
         users_.del(key);
      }
   }

   void complete(Key const& key) {
      Status status = tableStatus_.get(key);
      bool isInsert = status != Status();
      auto queue = pending_.get({key, isInsert});
      if (!queue) {
         return;
      }
      Entry entry = queue->front();
      queue->erase(queue->begin());
      if (queue->empty()) {
         pending_.del({key, isInsert});
      }
      if constexpr (std::is_same_v<T, Platform>) {
         answer(entry.request(), entry.policyId().value(), isInsert ? 1 : 0);
      } else {
         answer(entry.request, entry.policy, isInsert ? 1 : 0);
      }
   }

   void answer(Request const& request, uint64_t policy, uint8_t status) {
      if (status == 0) {
         mergedStatus_.del(request);
      } else {
         mergedStatus_.set(request, Response{status, policy});
      }
      Response response = mergedStatus_.get(request);
      if (response == Response()) {
         aclStatus_.del(request);
         lumenStatus_.del(request);
      } else if (lookup_.get(unitKey(unitOf(request))) != 4) {
         aclStatus_.set(request, response);
      }
   }

   World const& world_;
   typename T::template ByUnit<int> names_;
   typename T::template ByUnit<int> lookup_;
   std::map<uint32_t, uint32_t> systemPort_;
   typename T::template ByPort<uint32_t> portMap_;
   typename T::template ByPort<uint8_t> domain_;
   typename T::template ByIntf<std::shared_ptr<uint32_t>> config_;
   typename T::template ByIntf<uint32_t> dynamic_;
   typename T::template ByRequest<uint64_t> acl_;
   typename T::template ByRequest<uint64_t> merged_;
   typename T::Groups groups_;
   typename T::template ByRequest<bool> backlog_;
   typename T::template ByRequest<uint64_t> output_;
   typename T::template ByEntry<bool> retry_;
   typename T::template ByRequest<Key> mapping_;
   typename T::template ByKey<std::shared_ptr<typename T::Users>> users_;
   typename T::template ByPending<std::shared_ptr<Queue>> pending_;
   typename T::template ByKey<uint32_t> table_;
   typename T::template ByKey<Status> tableStatus_;
   typename T::template ByRequest<Response> mergedStatus_;
   typename T::template ByRequest<Response> aclStatus_;
   typename T::template ByRequest<Response> lumenStatus_;
};

} // namespace Bench
