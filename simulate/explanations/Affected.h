// Whose explanations may have changed: the requests and in-LIF features whose rows, entries or
// interfaces were written since they were explained last. What nothing tells of, such as the layout
// of a TCAM, is not followed.
#pragma once

#include "agent/host/AgentHost.h"
#include "simulate/Table.h"
#include "simulate/Watcher.h"

#include <map>
#include <set>

namespace Simulate {

using namespace Agent;

using Hardware::ShoalTunnel::InLifFeatureKey;
using Hardware::ShoalTunnel::InLifIntfKey;

class Leads;

class Affected {
 public:
   explicit Affected(AgentHost& host);

   // The pipeline's intake was built again, with another backlog.
   void intakeBuilt(SharingPipeline const& pipeline);
   void unitTouched(FapId unit) { units_.add(unit); }
   void everyFeatureTouched() { everyFeature_ = true; }
   // What requests lead to may have changed since the last take.
   bool leadsMoved() const { return worldMoved() || mergedMoved_; }
   bool worldMoved() const { return !interfaces_.empty() || !units_.empty(); }
   bool anyRequest() const { return leadsMoved() || !requests_.empty() || !entries_.empty(); }
   // `leads`: as they are now.
   std::vector<TcamSharingRequest> requests(Leads const& leads) const;
   std::vector<InLifFeatureKey> features() const;
   void forget();

 private:
   template<class Key, class Collection, class Note>
   void watch(Collection const& collection, Note note) {
      watchers_.watch<Key>(collection, note);
   }
   template<class Collection>
   void watchInto(Touched<typename Collection::Key>& list, Collection const& collection) {
      watchers_.watch<typename Collection::Key>(collection,
                                                [&list](auto const& key) { list.add(key); });
   }
   void watchRequests();
   void watchEntries();
   void watchWorld();
   void watchFlags(IntfId subIntf);
   void watchMembers(IntfId lag);
   void watchDomain(Hardware::ShoalTunnel::LagFapKey const& key);
   void watchFeatures();
   void watchDirectory(Orv::Name const& name);
   void watchVersion(InLifIntfKey key, Hardware::ShoalTunnel::InLifIntfFeatureAggr const* aggregate,
                     bool handled);
   std::set<IntfId> touchedInterfaces() const;

   AgentHost& host_;
   Touched<TcamSharingRequest> requests_;
   bool mergedMoved_ = false;
   Touched<PolicyKey> entries_;
   Touched<IntfId> interfaces_;
   Touched<FapId> units_;
   Touched<InLifFeatureKey> features_;
   Touched<InLifIntfKey> inLifs_;
   Touched<IntfId> words_; // of ports
   bool everyFeature_ = false;
   std::map<IntfId, std::vector<std::unique_ptr<Orv::ReactorBase>>> flags_;
   std::map<IntfId, std::unique_ptr<Orv::ReactorBase>> members_;
   std::map<Hardware::ShoalTunnel::LagFapKey, std::vector<std::unique_ptr<Orv::ReactorBase>>>
       domains_; // of port-channels
   std::map<Orv::Name, std::unique_ptr<Orv::ReactorBase>> directories_;
   std::map<std::pair<InLifIntfKey, bool>, std::unique_ptr<Orv::ReactorBase>> versions_;
   Watchers watchers_;
};

} // namespace Simulate
