// Common part of the baselines: requesters, merge, intake and the look-ups in the switch.
//
// A baseline does the table operations of a pipeline in the same order in straight-line code,
// without entities, reactors, timers or traces. The derived class `Back` gives the output table of
// a request (output) and programs a changed request (program).
#pragma once

#include "bench/support/BaselineTables.h"

namespace Bench {

template<class T, class Back>
class BaselineFront {
 public:
   using Request = typename T::Request;
   using Entry = typename T::Entry;

   void ask(std::size_t which, uint64_t policy) {
      Request request = requestOf(which);
      if (policy == 0) {
         acl_.del(request);
      } else {
         acl_.set(request, policy);
      }
      uint64_t asked = acl_.get(request);
      if (lookup_.get(T::unit(T::unitOf(request))) == lumen) {
         return;
      }
      if (asked == 0) {
         merged_.del(request);
         mergedByIntf_.remove(request);
      } else if (merged_.set(request, asked)) {
         mergedByIntf_.add(request);
      }
      if (merged_.get(request) != back().output(request).get(request) && !backlog_.has(request)) {
         backlog_.add(request);
      }
   }

   void drain() {
      while (!backlog_.empty()) {
         Request request = backlog_.take();
         uint64_t in = merged_.get(request);
         Entry entry = T::entry(request, back().output(request).get(request));
         if (retry_.get(entry)) {
            retry_.del(entry);
         }
         if (in == 0) {
            back().output(request).del(request);
         } else {
            back().output(request).set(request, merged_.get(request));
         }
         back().program(request);
      }
   }

   // Whether acl's status reports success for `policy`, or nothing if it is 0.
   bool isAnswered(std::size_t which, uint64_t policy) const {
      return aclStatus_.get(requestOf(which)) ==
             (policy == 0 ? Response() : Response{success, policy});
   }

 protected:
   template<class K, class V>
   using Map = typename T::template Map<K, V>;
   template<class V>
   using ByRequest = Map<Request, V>;
   struct Response {
      uint8_t status = 0;
      uint64_t policy = 0;
      friend bool operator==(Response const&, Response const&) = default;
   };
   static constexpr uint8_t success = 1;
   static constexpr uint8_t inProgress = 2;
   struct Place {
      bool known = false;
      uint8_t domain = 0;
      uint16_t tag = 0;
   };

   explicit BaselineFront(World const& world) : world_(world) {
      for (auto const& target : world.targets) {
         names_.set(T::unit(target.unit), 1);
         types_.set(T::unit(target.unit), 3);
         if (Plexus::SubIntfId::isSubIntfId(target.intf)) {
            config_.set(T::intf(target.intf), std::make_shared<uint32_t>(target.tag));
            encapKind_.set(T::intf(target.intf), std::make_shared<uint32_t>(0));
         }
      }
      for (auto const& port : world.ports) {
         auto systemPort = static_cast<uint32_t>(&port - world.ports.data()) + 1;
         systemPort_.set(T::intf(port.intf), systemPort);
         portMap_.set(T::port(systemPort), T::place(port.unit, port.unitPort));
         domain_.set(T::place(port.unit, port.unitPort), port.domain);
      }
   }

   Target const& target(std::size_t which) const { return world_.targets[which]; }
   Request requestOf(std::size_t which) const {
      return T::request(target(which).intf, target(which).unit);
   }
   std::size_t leftInFront() const {
      return acl_.size() + merged_.size() + backlog_.size() + retry_.size() + mergedStatus_.size() +
             aclStatus_.size();
   }

   // Unit, VLAN domain and tag of a sub-interface.
   Place resolve(Request const& request) const {
      IntfId intf = T::intfOf(request);
      bool available = names_.has(T::unit(T::unitOf(request)));
      auto port = systemPort_.find(T::intf(Plexus::SubIntfId::parentIntfId(intf)));
      uint8_t domain = port ? domain_.get(portMap_.get(T::port(*port))) : 0;
      auto config = config_.get(T::intf(intf));
      uint32_t tag = dynamic_.get(T::intf(intf));
      if (tag == 0 && config) {
         tag = *config;
      }
      return {available && domain != 0 && tag != 0, domain, static_cast<uint16_t>(tag)};
   }

   // `status` 0 removes the response.
   void answer(Request const& request, uint64_t policy, uint8_t status) {
      if (status != 0) {
         mergedStatus_.set(request, Response{status, policy});
      } else if (!mergedStatus_.del(request)) {
         return;
      }
      Response response = mergedStatus_.get(request);
      if (response == Response()) {
         aclStatus_.del(request);
         lumenStatus_.del(request);
      } else if (lookup_.get(T::unit(T::unitOf(request))) != lumen) {
         aclStatus_.set(request, response);
      }
   }
   uint8_t answered(Request const& request) const { return mergedStatus_.get(request).status; }
   // For a request that cannot be resolved.
   void retryLater(Request const& request, uint64_t policy) {
      retry_.set(T::entry(request, policy), true);
      answer(request, policy, inProgress);
   }

   Map<typename T::Unit, uint32_t> types_;
   Map<typename T::Intf, std::shared_ptr<uint32_t>> encapKind_;

 private:
   static constexpr int lumen = 4;
   Back& back() { return static_cast<Back&>(*this); }

   World const& world_;
   Map<typename T::Unit, int> names_;
   Map<typename T::Unit, int> lookup_;
   typename T::template ByIntfInOrder<uint32_t> systemPort_;
   Map<typename T::Port, typename T::Place> portMap_;
   Map<typename T::Place, uint8_t> domain_;
   Map<typename T::Intf, std::shared_ptr<uint32_t>> config_;
   Map<typename T::Intf, uint32_t> dynamic_;
   ByRequest<uint64_t> acl_;
   ByRequest<uint64_t> merged_;
   typename T::Groups mergedByIntf_;
   typename T::Backlog backlog_;
   Map<Entry, bool> retry_;
   ByRequest<Response> mergedStatus_;
   ByRequest<Response> aclStatus_;
   ByRequest<Response> lumenStatus_;
};

} // namespace Bench
