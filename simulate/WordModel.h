// What the words of ports and VLANs should be: the default in-LIFs' part of FeatureModel.
#pragma once

#include "simulate/FeatureModel.h"

namespace Simulate {

class WordModel {
 public:
   WordModel(Context& context, FeatureModel& features) : context_(context), features_(features) {
      vlanMachineStarts();
   }

   // A key of a port, port-channel or VLAN interface is handled.
   void handleKey(InLifIntfKey key, bool present);
   // The port's own entry in the membership changed; the port-channel's list of members did.
   void portLagChanged(IntfId port) { followPort(port); }
   void memberChanged(IntfId lag, IntfId port);
   void untaggedVlanChanged(IntfId intf);
   void portMapVersionChanged();
   void portMachineRestarts();
   void vlanMachineStarts();
   void vlanMachineStarted();
   void allRestart();

   // The expanded configuration: port-channels' features copied to their members.
   Table<InLifIntfKey, Aggregate> const& expanded() const { return expanded_; }
   Table<IntfId, uint64_t> const& ofPorts() const { return portWords_; }
   Table<IntfId, uint64_t> const& ofVlans() const { return vlanWords_; }

 private:
   using Vlan = Bridging::VlanIdOrNone;
   World const& world() const { return context_.world; }
   bool portMapValid() const { return world().shoalStatus->portMapValid(); }
   bool isMember(IntfId port) const;
   // The ports whose words are made from a port's or port-channel's key.
   std::vector<IntfId> covered(InLifIntfKey key) const;
   void handlePortKey(InLifIntfKey key, bool present);
   void handleVlanKey(InLifIntfKey key, bool present);
   void write(InLifIntfKey key, IntfId port);
   void erase(InLifIntfKey key);
   // Words and expanded features that no key leads to.
   void dropUncovered();
   void expandedChanged(InLifIntfKey key);

   Vlan vlanNow(IntfId port) const;
   // The VLAN interface's key that a port's word is made from now; the default key: none.
   InLifIntfKey laidOver(IntfId port) const;
   void followPort(IntfId port);
   void updateVlanWord(IntfId port);

   Context& context_;
   FeatureModel& features_;
   Table<IntfId, uint64_t> portWords_;
   Table<InLifIntfKey, Aggregate> expanded_;
   Table<IntfId, uint64_t> vlanWords_;
   std::map<IntfId, InLifIntfKey> vlanKey_; // whose word a port has
   std::map<IntfId, Vlan> vlan_;
   // By unit as in the interface's name, VLAN and TCAM.
   std::map<std::tuple<std::string, Vlan, SystemTcamId>, InLifIntfKey> vlanKeys_;
};

} // namespace Simulate
