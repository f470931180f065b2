#include "simulate/WordModel.h"

#include <algorithm>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

InLifIntfKey on(IntfId intf, SystemTcamId tcam) {
   return {intf, tcam};
}

bool isVlan(InLifIntfKey key) {
   return Plexus::VlanIntfId::isVlanIntfId(key.intfId());
}

} // namespace

bool WordModel::isMember(IntfId port) const {
   return world().lagPhyIntfMapping->phyIntfLag(port) != IntfId();
}

std::vector<IntfId> WordModel::covered(InLifIntfKey key) const {
   std::vector<IntfId> ports;
   IntfId intf = key.intfId();
   if (intf.fields().kind == Plexus::IntfKind::port) {
      if (!isMember(intf)) {
         ports.push_back(intf);
      }
   } else if (auto members = world().lagPhyIntfMapping->lagPhyIntfConfig(intf)) {
      for (auto const& [port, present] : members->phyIntfIter()) {
         if (world().shoalStatus->sysTcamId(port) == key.tcamId()) {
            ports.push_back(port);
         }
      }
   }
   return ports;
}

void WordModel::handleKey(InLifIntfKey key, bool present) {
   if (present && !portMapValid()) {
      hit("features: not added while the port map is not valid"_met);
   } else if (isVlan(key)) {
      handleVlanKey(key, present);
   } else {
      handlePortKey(key, present);
   }
}

void WordModel::handlePortKey(InLifIntfKey key, bool present) {
   IntfId intf = key.intfId();
   bool lag = intf.fields().kind == Plexus::IntfKind::portChannel;
   if (lag && !world().lagPhyIntfMapping->lagPhyIntfConfigHas(intf)) {
      hit("features: a port-channel that is not there"_met);
      if (!present) {
         features_.respond(key);
      }
      return;
   }
   if (!lag && isMember(intf)) {
      hit("features: a member's own request"_met);
   }
   for (IntfId port : covered(key)) {
      hit(lag ? "features: a member's word"_met : "features: a port's word"_met);
      if (present) {
         write(key, port);
      } else {
         portWords_.erase(port);
         erase(on(port, key.tcamId()));
      }
   }
   features_.respond(key);
}

void WordModel::write(InLifIntfKey key, IntfId port) {
   auto const& features = features_.asked().at(key).features;
   portWords_[port] = featureWord(key.tcamId(), features);
   Aggregate& expanded = expanded_[on(port, key.tcamId())];
   expanded.features = features;
   ++expanded.version;
   expandedChanged(on(port, key.tcamId()));
}

void WordModel::erase(InLifIntfKey key) {
   if (expanded_.erase(key) != 0) {
      expandedChanged(key);
   }
}

// The VLAN's word of a port carries the port's own features, too.
void WordModel::expandedChanged(InLifIntfKey key) {
   auto has = vlanKey_.find(key.intfId());
   if (has != vlanKey_.end() && has->second.tcamId() == key.tcamId()) {
      hit("features: a port's features change below a VLAN's"_met);
      updateVlanWord(key.intfId());
   }
}

void WordModel::memberChanged(IntfId lag, IntfId port) {
   SystemTcamId tcam = world().shoalStatus->sysTcamId(port);
   bool joined = world().lagPhyIntfMapping->isMember(lag, port);
   bool lagAsks = features_.asked().contains(on(lag, tcam));
   bool portAsks = features_.asked().contains(on(port, tcam));
   if (!portMapValid()) {
      hit("features: a member changes while the port map is not valid"_met);
   } else if (joined && lagAsks) {
      hit("features: a member joins"_met);
      write(on(lag, tcam), port);
      features_.respond(on(lag, tcam));
   } else if (joined) {
      hit("features: a port that joins keeps its word"_met);
   } else if (portAsks) {
      hit("features: a port that leaves has its own request"_met);
      handleKey(on(port, tcam), true);
   } else if (lagAsks) {
      hit("features: a member leaves"_met);
      portWords_.erase(port);
      erase(on(port, tcam));
   }
   followPort(port);
}

void WordModel::portMapVersionChanged() {
   if (!portMapValid()) {
      context_.failuresDue.emplace("shoalStatus()->portMapValid()");
      return;
   }
   hit("features: a new port map"_met);
   for (auto const& [port, word] : portWords_) {
      if (world().shoalStatus->sysTcamId(port) == SystemTcamId()) {
         context_.failuresDue.emplace("sysTcamId != Hardware::Shoal::SystemTcamId()");
      }
   }
   dropUncovered();
   vlanKeys_.clear();
   for (InLifIntfKey key : features_.order()) {
      if (!Plexus::SubIntfId::isSubIntfId(key.intfId())) {
         isVlan(key) ? handleVlanKey(key, true) : handlePortKey(key, true);
      }
   }
   for (auto const& [port, vlan] : std::map(vlan_)) {
      followPort(port);
   }
   vlanWords_.eraseIf([&](auto const& each) { return !vlanKey_.contains(each.first); });
}

void WordModel::dropUncovered() {
   std::set<IntfId> ports;
   std::set<InLifIntfKey> keys;
   for (InLifIntfKey key : features_.order()) {
      if (!Plexus::SubIntfId::isSubIntfId(key.intfId()) && !isVlan(key)) {
         for (IntfId port : covered(key)) {
            ports.insert(port);
            keys.insert(on(port, key.tcamId()));
         }
      }
   }
   if (portWords_.eraseIf([&](auto const& each) { return !ports.contains(each.first); }) != 0) {
      hit("features: a word that nobody asks for goes"_met);
   }
   for (auto const& [key, features] : std::map(expanded_.rows())) {
      if (!keys.contains(key)) {
         erase(key);
      }
   }
}

void WordModel::portMachineRestarts() {
   if (portMapValid()) {
      dropUncovered();
   }
}

void WordModel::allRestart() {
   portWords_.clear();
   expanded_.clear();
   vlanWords_.clear();
   vlanMachineStarts();
   vlanMachineStarted();
}

// --- VLANs -----------------------------------------------------------------------------------

WordModel::Vlan WordModel::vlanNow(IntfId port) const {
   auto const& mapping = *world().lagPhyIntfMapping;
   IntfId lag = mapping.phyIntfLag(port);
   if (lag == IntfId()) {
      return world().untaggedVlanDir->untaggedVlan(port);
   }
   // Half in, half out: neither its own VLAN nor the port-channel's.
   return mapping.isMember(lag, port) ? world().untaggedVlanDir->untaggedVlan(lag) : Vlan();
}

InLifIntfKey WordModel::laidOver(IntfId port) const {
   Vlan vlan = vlan_.contains(port) ? vlan_.at(port) : Vlan();
   if (!portMapValid()) {
      auto has = vlanKey_.find(port);
      bool stays = has != vlanKey_.end() && features_.asked().contains(has->second) &&
                   has->second.intfId().fields().vlanId == vlan.value();
      return stays ? has->second : InLifIntfKey();
   }
   SystemTcamId tcam = world().shoalStatus->sysTcamId(port);
   auto own = vlanKeys_.find({Facts::unitIn(port), vlan, tcam});
   auto any = own != vlanKeys_.end() ? own : vlanKeys_.find({"", vlan, tcam});
   return any != vlanKeys_.end() ? any->second : InLifIntfKey();
}

void WordModel::followPort(IntfId port) {
   IntfId lag = world().lagPhyIntfMapping->phyIntfLag(port);
   bool halfIn = lag != IntfId() && !world().lagPhyIntfMapping->isMember(lag, port);
   Vlan vlan = vlanNow(port);
   if (halfIn && !portMapValid()) {
      // Keeps its VLAN until the member list names it.
   } else if (vlan == Vlan()) {
      vlan_.erase(port);
   } else {
      vlan_[port] = vlan;
   }
   updateVlanWord(port);
}

void WordModel::updateVlanWord(IntfId port) {
   InLifIntfKey key = laidOver(port);
   if (key == InLifIntfKey()) {
      if (vlanKey_.erase(port) != 0) {
         hit("features: a port leaves a VLAN's features"_met);
         vlanWords_.erase(port);
      }
      return;
   }
   auto laid = features_.asked().at(key).features;
   if (auto own = expanded_.find(on(port, key.tcamId())); own != expanded_.end()) {
      hit("features: a VLAN's word over a port's"_met);
      laid.insert(own->second.features.begin(), own->second.features.end());
   }
   hit("features: a VLAN's word"_met);
   vlanKey_[port] = key;
   vlanWords_[port] = featureWord(key.tcamId(), laid);
}

void WordModel::handleVlanKey(InLifIntfKey key, bool present) {
   Vlan vlan(key.intfId().fields().vlanId);
   std::tuple place{Facts::unitIn(key.intfId()), vlan, key.tcamId()};
   vlanKeys_.erase(place);
   if (present) {
      vlanKeys_[place] = key;
   }
   for (auto const& [port, of] : std::map(vlan_)) {
      auto has = vlanKey_.find(port);
      if (of == vlan && (laidOver(port) == key || (has != vlanKey_.end() && has->second == key))) {
         updateVlanWord(port);
      }
   }
   features_.respond(key);
}

void WordModel::untaggedVlanChanged(IntfId intf) {
   if (intf.fields().kind == Plexus::IntfKind::port) {
      followPort(intf);
   } else if (auto members = world().lagPhyIntfMapping->lagPhyIntfConfig(intf)) {
      for (auto const& [port, present] : members->phyIntfIter()) {
         followPort(port);
      }
   }
}

void WordModel::vlanMachineStarts() {
   vlanKey_.clear();
   vlan_.clear();
   vlanKeys_.clear();
   for (auto const& [intf, vlan] : world().untaggedVlanDir->untaggedVlanIter()) {
      untaggedVlanChanged(intf);
   }
}

void WordModel::vlanMachineStarted() {
   if (portMapValid()) {
      vlanWords_.eraseIf([&](auto const& each) { return !vlanKey_.contains(each.first); });
   }
}

} // namespace Simulate
