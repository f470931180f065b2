// What the machines of port and VLAN words should have done so far; part of FeatureShadow.
#pragma once

#include "agent/simulate/FeatureShadow.h"

namespace Agent {

class DefaultLifShadow {
 public:
   DefaultLifShadow(Host const& host, FeatureShadow& features, Probes& probes)
       : host_(host), features_(features), probes_(probes) {
      handleVlanMachineGone();
      handleVlanMachineBuilt();
   }

   // A key of a port, port-channel or VLAN interface is to be handled.
   void handleKey(InLifIntfKey key, bool present);
   // The port's own entry in the membership changed; the member list did; or the whole list.
   void handlePortLag(IntfId port) { followPort(port); }
   void handleMember(IntfId lag, IntfId port);
   void handleLag(IntfId lag);
   void handleUntaggedVlan(IntfId intf);
   void handlePortMapVersion();
   void handleTcam(IntfId port);
   void handlePortMachineBuilt();
   void handleVlanMachineGone();
   void handleVlanMachineBuilt();
   void handleFreshStart();
   void compare(Findings& findings) const;
   void compareFresh(Findings& findings, FeaturePipeline const& fresh) const;

   std::map<InLifIntfKey, Asked> const& spread() const { return spread_; }
   // A port-channel that is not there, or came after its request.
   bool unanswered(InLifIntfKey key) const;

 private:
   World const& world() const { return host_.world(); }
   bool portMapValid() const { return world().shoalStatus->portMapValid(); }
   bool isMember(IntfId port) const;
   // "" for a name without one.
   static std::string unitIn(IntfId intf);
   // The ports whose words are made from a port's or port-channel's key.
   std::vector<IntfId> covered(InLifIntfKey key) const;
   void handlePortKey(InLifIntfKey key, bool present);
   void handleVlanKey(InLifIntfKey key, bool present);
   void write(InLifIntfKey key, IntfId port);
   void erase(InLifIntfKey expanded);
   // Words and spread features that no key leads to.
   void dropUncovered();
   void spreadChanged(InLifIntfKey expanded);

   using Vlan = Bridging::VlanIdOrNone;
   Vlan vlanNow(IntfId port) const;
   // The VLAN interface's key that a port's word is made from now; the default key: none.
   InLifIntfKey laidOver(IntfId port) const;
   void followPort(IntfId port);
   void updateVlanWord(IntfId port);
   // The key's features are in the port's words, or would be after a fresh start.
   bool leadsTo(InLifIntfKey key, IntfId port) const;
   bool comparable(IntfId port) const;
   void compareWords(Findings& findings, char const* check, std::map<IntfId, Word> const& words,
                     Orv::Ptr<Hardware::ShoalTunnel::DefaultLifFeatureConfig> const& fresh) const;

   Host const& host_;
   FeatureShadow& features_;
   Probes& probes_;
   std::map<IntfId, Word> portWords_;
   std::map<InLifIntfKey, Asked> spread_;
   std::map<IntfId, Word> vlanWords_;
   std::map<IntfId, InLifIntfKey> vlanKey_; // whose word a port has
   std::map<IntfId, Vlan> vlan_;
   // By unit, as in the interface's name, VLAN and TCAM.
   std::map<std::tuple<std::string, Vlan, SystemTcamId>, InLifIntfKey> vlanKeys_;
   // Ports to whom something happened that a fresh start would not know of, since the port map's
   // last version.
   std::set<IntfId> marked_;
   std::set<InLifIntfKey> unanswered_;
};

} // namespace Agent
