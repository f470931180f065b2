#include "agent/simulate/DefaultLifShadow.h"

#include <algorithm>

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

InLifIntfKey on(IntfId port, SystemTcamId tcam) {
   return {port, tcam};
}

} // namespace

std::string DefaultLifShadow::unitIn(IntfId intf) {
   return intf.name().substr(0, intf.name().rfind('/') + 1);
}

bool DefaultLifShadow::isMember(IntfId port) const {
   return world().lagPhyIntfMapping->phyIntfLag(port) != IntfId();
}

std::vector<IntfId> DefaultLifShadow::covered(InLifIntfKey key) const {
   std::vector<IntfId> ports;
   IntfId intf = key.intfId();
   if (intf.fields().kind == Plexus::IntfKind::port) {
      if (!isMember(intf)) {
         ports.push_back(intf);
      }
      return ports;
   }
   if (auto members = world().lagPhyIntfMapping->lagPhyIntfConfig(intf)) {
      for (auto const& [port, present] : members->phyIntfIter()) {
         if (world().shoalStatus->sysTcamId(port) == key.tcamId()) {
            ports.push_back(port);
         } else {
            probes_.hit("features: a member on another TCAM");
         }
      }
   }
   return ports;
}

void DefaultLifShadow::handleKey(InLifIntfKey key, bool present) {
   if (present && !portMapValid()) {
      probes_.hit("rule: nothing is added while the port map is not valid");
      unanswered_.insert(key);
      for (IntfId port : covered(key)) {
         marked_.insert(port);
      }
      return;
   }
   if (Plexus::VlanIntfId::isVlanIntfId(key.intfId())) {
      handleVlanKey(key, present);
   } else {
      handlePortKey(key, present);
   }
}

void DefaultLifShadow::handlePortKey(InLifIntfKey key, bool present) {
   IntfId intf = key.intfId();
   bool lag = intf.fields().kind == Plexus::IntfKind::portChannel;
   if (lag && !world().lagPhyIntfMapping->lagPhyIntfConfigHas(intf)) {
      probes_.hit("rule: a port-channel that is not there is not answered");
      unanswered_.insert(key);
      if (!present) {
         unanswered_.erase(key);
         features_.respond(key);
      }
      return;
   }
   if (!lag && isMember(intf)) {
      probes_.hit("features: a member's own request");
      if (!present && portWords_.contains(intf)) {
         marked_.insert(intf);
      }
   }
   for (IntfId port : covered(key)) {
      probes_.hit(lag ? "features: a member's word" : "features: a port's word");
      if (present) {
         write(key, port);
      } else {
         portWords_.erase(port);
         erase(on(port, key.tcamId()));
      }
      // A second key of the same port: a fresh start would handle them in another order.
      for (InLifIntfKey other : features_.order()) {
         auto ports = other == key || Plexus::SubIntfId::isSubIntfId(other.intfId()) ||
                              Plexus::VlanIntfId::isVlanIntfId(other.intfId())
                          ? std::vector<IntfId>()
                          : covered(other);
         if (std::find(ports.begin(), ports.end(), port) != ports.end()) {
            probes_.hit("rule: two keys share a port's word");
            marked_.insert(port);
         }
      }
   }
   unanswered_.erase(key);
   features_.respond(key);
}

void DefaultLifShadow::write(InLifIntfKey key, IntfId port) {
   auto const& features = features_.asked().at(key).features;
   portWords_[port] = Word(key.tcamId(), features);
   Asked& expanded = spread_[on(port, key.tcamId())];
   expanded.features = features;
   ++expanded.version;
   spreadChanged(on(port, key.tcamId()));
}

void DefaultLifShadow::erase(InLifIntfKey expanded) {
   if (spread_.erase(expanded) != 0) {
      spreadChanged(expanded);
   }
}

// The VLAN's word of a port carries the port's own features, too.
void DefaultLifShadow::spreadChanged(InLifIntfKey expanded) {
   auto has = vlanKey_.find(expanded.intfId());
   if (has != vlanKey_.end() && has->second.tcamId() == expanded.tcamId()) {
      probes_.hit("features: a port's features change below a VLAN's");
      updateVlanWord(expanded.intfId());
   }
}

void DefaultLifShadow::handleMember(IntfId lag, IntfId port) {
   bool joined = world().lagPhyIntfMapping->isMember(lag, port);
   if (!portMapValid()) {
      probes_.hit("rule: a member comes or goes while the port map is not valid");
      marked_.insert(port);
      followPort(port);
      return;
   }
   InLifIntfKey lagKey = on(lag, world().shoalStatus->sysTcamId(port));
   InLifIntfKey portKey = on(port, world().shoalStatus->sysTcamId(port));
   bool lagAsks = features_.asked().contains(lagKey);
   bool portAsks = features_.asked().contains(portKey);
   if (joined && lagAsks) {
      probes_.hit("features: a member joins");
      write(lagKey, port);
      unanswered_.erase(lagKey);
      features_.respond(lagKey);
   } else if (joined) {
      if (portWords_.contains(port)) {
         probes_.hit("rule: a port that joins keeps its word");
         marked_.insert(port);
      }
   } else if (portAsks) {
      probes_.hit("features: a port that leaves has its own request");
      handleKey(portKey, true);
   } else if (lagAsks) {
      probes_.hit("features: a member leaves");
      portWords_.erase(port);
      erase(portKey);
   }
   // Its request under another TCAM is not looked at.
   if (!joined &&
       std::any_of(features_.asked().begin(), features_.asked().end(), [&](auto const& each) {
          return each.first.intfId() == port && each.first != portKey;
       })) {
      marked_.insert(port);
   }
   followPort(port);
}

void DefaultLifShadow::handleLag(IntfId lag) {
   bool present = world().lagPhyIntfMapping->lagPhyIntfConfigHas(lag);
   for (auto const& [key, asked] : features_.asked()) {
      if (key.intfId() == lag) {
         probes_.hit(present ? "rule: a port-channel that comes after its request is not answered"
                             : "rule: a port-channel that goes leaves its answers");
         unanswered_.insert(key);
      }
   }
}

void DefaultLifShadow::handleTcam(IntfId port) {
   probes_.hit("rule: a port's place shows with the port map's version");
   marked_.insert(port);
}

void DefaultLifShadow::handlePortMapVersion() {
   if (!portMapValid()) {
      probes_.stopIsDue("shoalStatus()->portMapValid()");
      return;
   }
   probes_.hit("features: a new port map");
   for (auto const& [port, word] : portWords_) {
      if (world().shoalStatus->sysTcamId(port) == SystemTcamId()) {
         probes_.stopIsDue("sysTcamId != Hardware::Shoal::SystemTcamId()");
      }
   }
   marked_.clear();
   dropUncovered();
   vlanKeys_.clear();
   for (InLifIntfKey key : features_.order()) {
      if (Plexus::SubIntfId::isSubIntfId(key.intfId())) {
         continue;
      }
      if (Plexus::VlanIntfId::isVlanIntfId(key.intfId())) {
         handleVlanKey(key, true);
      } else {
         handlePortKey(key, true);
      }
   }
   for (auto const& [port, vlan] : std::map(vlan_)) {
      followPort(port);
   }
   std::erase_if(vlanWords_, [&](auto const& each) { return !vlanKey_.contains(each.first); });
}

void DefaultLifShadow::dropUncovered() {
   std::set<IntfId> ports;
   std::set<InLifIntfKey> keys;
   for (InLifIntfKey key : features_.order()) {
      if (!Plexus::SubIntfId::isSubIntfId(key.intfId()) &&
          !Plexus::VlanIntfId::isVlanIntfId(key.intfId())) {
         for (IntfId port : covered(key)) {
            ports.insert(port);
            keys.insert(on(port, key.tcamId()));
         }
      }
   }
   if (std::erase_if(portWords_, [&](auto const& each) { return !ports.contains(each.first); }) !=
       0) {
      probes_.hit("features: a word that nobody asks for goes");
   }
   for (auto const& [key, features] : std::map(spread_)) {
      if (!keys.contains(key)) {
         erase(key);
      }
   }
}

void DefaultLifShadow::handlePortMachineBuilt() {
   if (portMapValid()) {
      dropUncovered();
   }
}

void DefaultLifShadow::handleFreshStart() {
   portWords_.clear();
   spread_.clear();
   vlanWords_.clear();
   marked_.clear();
   unanswered_.clear();
   handleVlanMachineGone();
   handleVlanMachineBuilt();
}

bool DefaultLifShadow::unanswered(InLifIntfKey key) const {
   return unanswered_.contains(key);
}

void DefaultLifShadow::compare(Findings& findings) const {
   auto const& features = host_.inLifFeatures();
   findings.compare("words of ports", portWords_, features.portWords->lifFeatureAttrCollection());
   findings.compare("words of VLANs", vlanWords_, features.vlanWords->lifFeatureAttrCollection());
   // The VLAN's word wins outright.
   auto merged = vlanWords_;
   merged.insert(portWords_.begin(), portWords_.end());
   findings.compare("merged words", merged, features.mergedWords->lifFeatureAttrCollection());
}

// --- VLANs -----------------------------------------------------------------------------------

DefaultLifShadow::Vlan DefaultLifShadow::vlanNow(IntfId port) const {
   auto const& mapping = *world().lagPhyIntfMapping;
   IntfId lag = mapping.phyIntfLag(port);
   if (lag == IntfId()) {
      return world().untaggedVlanDir->untaggedVlan(port);
   }
   // Half in, half out: neither its own VLAN nor the port-channel's.
   return mapping.isMember(lag, port) ? world().untaggedVlanDir->untaggedVlan(lag) : Vlan();
}

InLifIntfKey DefaultLifShadow::laidOver(IntfId port) const {
   Vlan vlan = vlan_.contains(port) ? vlan_.at(port) : Vlan();
   if (!portMapValid()) {
      auto has = vlanKey_.find(port);
      bool stays = has != vlanKey_.end() && features_.asked().contains(has->second) &&
                   has->second.intfId().fields().vlanId == vlan.value();
      return stays ? has->second : InLifIntfKey();
   }
   SystemTcamId tcam = world().shoalStatus->sysTcamId(port);
   auto own = vlanKeys_.find({unitIn(port), vlan, tcam});
   auto any = own != vlanKeys_.end() ? own : vlanKeys_.find({"", vlan, tcam});
   return any != vlanKeys_.end() ? any->second : InLifIntfKey();
}

void DefaultLifShadow::followPort(IntfId port) {
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

void DefaultLifShadow::updateVlanWord(IntfId port) {
   InLifIntfKey key = laidOver(port);
   if (key == InLifIntfKey()) {
      if (vlanKey_.erase(port) != 0) {
         probes_.hit("features: a port leaves a VLAN's features");
         vlanWords_.erase(port);
      }
      return;
   }
   auto laid = features_.asked().at(key).features;
   if (auto own = spread_.find(on(port, key.tcamId())); own != spread_.end()) {
      probes_.hit("features: a VLAN's word over a port's");
      laid.insert(own->second.features.begin(), own->second.features.end());
   }
   probes_.hit("features: a VLAN's word");
   vlanKey_[port] = key;
   vlanWords_[port] = Word(key.tcamId(), laid);
}

void DefaultLifShadow::handleVlanKey(InLifIntfKey key, bool present) {
   Vlan vlan(key.intfId().fields().vlanId);
   vlanKeys_.erase({unitIn(key.intfId()), vlan, key.tcamId()});
   if (present) {
      vlanKeys_[{unitIn(key.intfId()), vlan, key.tcamId()}] = key;
   }
   for (auto const& [port, of] : std::map(vlan_)) {
      auto has = vlanKey_.find(port);
      if (of == vlan && (laidOver(port) == key || (has != vlanKey_.end() && has->second == key))) {
         updateVlanWord(port);
      }
   }
   unanswered_.erase(key);
   features_.respond(key);
}

void DefaultLifShadow::handleUntaggedVlan(IntfId intf) {
   if (intf.fields().kind == Plexus::IntfKind::port) {
      followPort(intf);
   } else if (auto members = world().lagPhyIntfMapping->lagPhyIntfConfig(intf)) {
      for (auto const& [port, present] : members->phyIntfIter()) {
         followPort(port);
      }
   }
}

void DefaultLifShadow::handleVlanMachineGone() {
   vlanKey_.clear();
   vlan_.clear();
   vlanKeys_.clear();
   for (auto const& [intf, vlan] : world().untaggedVlanDir->untaggedVlanIter()) {
      handleUntaggedVlan(intf);
   }
}

void DefaultLifShadow::handleVlanMachineBuilt() {
   if (portMapValid()) {
      std::erase_if(vlanWords_, [&](auto const& each) { return !vlanKey_.contains(each.first); });
   } else {
      probes_.hit("rule: VLAN words of an earlier machine stay while the port map is not valid");
      for (auto const& [port, word] : vlanWords_) {
         marked_.insert(port);
      }
   }
}

} // namespace Agent
