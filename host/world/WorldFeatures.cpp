// The facts that in-LIF features depend on: membership of port-channels, untagged VLANs, TCAMs and
// their layouts.
#include "host/text/Errors.h"
#include "host/world/World.h"
#include "platform/ShoalTcam/TcamDbStatusInterface.h"

#include <algorithm>

namespace ShoalHost {

using Bridging::VlanIdOrNone;
using Hardware::Shoal::SystemTcamId;
using Hardware::ShoalTunnel::InLifFeatureType;
using Plexus::PortChannelIntfId;
using Plexus::SubIntfId;
using ShoalTcam::TcamDbStatusInterface;
using ShoalTcam::TcamShareQualInfo;

namespace {

// Twelve fields of five bits side by side.
constexpr uint16_t defaultWidth = 5;

} // namespace

void World::fillFeatures() {
   // The layouts belong to the process. A new world replaces them with its own.
   auto const& layouts = TcamDbStatusInterface::tcamDbStatusInterface();
   layouts->inLifDataDelAll();
   for (SystemTcamId tcam : tcams()) {
      for (InLifFeatureType type : Hardware::ShoalTunnel::inLifFeatureTypes) {
         auto place = static_cast<uint16_t>((static_cast<unsigned>(type) - 1) * defaultWidth);
         layouts->inLifDataIs(tcam)->tcamShareQualInfoIs(
             type, TcamShareQualInfo(place, (1U << defaultWidth) - 1));
      }
   }
   for (auto const& lag : inventory().portChannels) {
      portChannelIs(IntfId(lag.name), true);
      for (auto const& member : lag.members) {
         joinLag(IntfId(lag.name), IntfId(member));
      }
   }
   for (auto const& vlan : inventory().vlans) {
      for (auto const& member : vlan.members) {
         IntfId intf(member.interface);
         if (member.tagged) {
            taggedVlanDir->taggedVlanIs({intf, VlanIdOrNone(vlan.vlanId)});
         } else {
            untaggedVlanDir->untaggedVlanIs(intf, VlanIdOrNone(vlan.vlanId));
         }
      }
   }
}

// A port's own entry is written before the member list, and a port leaves its old port-channel
// before it joins the new one: a machine that is notified of a list then finds the port where the
// list says. A list that still named a port that has moved would give it the features of two
// port-channels.
void World::joinLag(IntfId lag, IntfId port) {
   lagPhyIntfMapping->phyIntfLagIs(port, lag);
   lagPhyIntfMapping->lagPhyIntfConfigIs(lag)->phyIntfIs(port);
}

void World::leaveLag(IntfId lag, IntfId port) {
   lagPhyIntfMapping->phyIntfLagDel(port);
   if (auto members = lagPhyIntfMapping->lagPhyIntfConfig(lag)) {
      members->phyIntfDel(port);
   }
}

void World::portChannelIs(IntfId lag, bool present) {
   if (!PortChannelIntfId::isPortChannelIntfId(lag) || SubIntfId::isSubIntfId(lag)) {
      throw HostError("{} is not a port-channel", lag.name());
   }
   if (present) {
      ethIntfStatusDir->ethLagIntfStatusIs(lag);
      lagConfig->lagIs(lag);
      lagPhyIntfMapping->lagPhyIntfConfigIs(lag);
      return;
   }
   for (IntfId port : portsOf(lag)) {
      memberIs(lag, port, false);
   }
   lagPhyIntfMapping->lagPhyIntfConfigDel(lag);
   lagConfig->lagDel(lag);
   ethIntfStatusDir->ethLagIntfStatusDel(lag);
}

void World::requireVlanMember(IntfId intf) {
   if (intf.l3Flood() || SubIntfId::isSubIntfId(intf) ||
       (!isPort(intf) && !PortChannelIntfId::isPortChannelIntfId(intf))) {
      throw HostError("{} is neither a port nor a port-channel", intf.name());
   }
}

void World::taggedVlanIs(IntfId intf, Bridging::VlanId vlan, bool carries) {
   requireVlanMember(intf);
   Bridging::VlanMember member{intf, VlanIdOrNone(vlan.value())};
   if (carries) {
      taggedVlanDir->taggedVlanIs(member);
   } else {
      taggedVlanDir->taggedVlanDel(member);
   }
}

void World::untaggedVlanIs(IntfId intf, VlanIdOrNone vlan) {
   requireVlanMember(intf);
   if (vlan.value() == 0) {
      untaggedVlanDir->untaggedVlanDel(intf);
   } else {
      untaggedVlanDir->untaggedVlanIs(intf, vlan);
   }
}

void World::checkServesFeatures(IntfId intf) {
   auto const& fields = intf.fields();
   bool served = !intf.l3Flood() && (fields.kind == Plexus::IntfKind::port ||
                                     fields.kind == Plexus::IntfKind::portChannel ||
                                     fields.kind == Plexus::IntfKind::vlan);
   if (!served) {
      throw HostError("{} is not a port, port-channel, sub-interface or VLAN interface: nothing "
                      "serves in-LIF features there",
                      intf.name());
   }
   if (fields.kind == Plexus::IntfKind::vlan && !fields.subIntf &&
       (fields.vlanId == 0 || fields.vlanId > 4094)) {
      throw HostError("{} is not a VLAN interface of 1 to 4094", intf.name());
   }
}

void World::tcamLayoutIs(SystemTcamId tcam, InLifFeatureType type,
                         std::optional<TcamShareQualInfo> place) {
   auto layout = TcamDbStatusInterface::tcamDbStatusInterface()->inLifDataIs(tcam);
   if (place) {
      layout->tcamShareQualInfoIs(type, *place);
   } else {
      layout->tcamShareQualInfoDel(type);
   }
}

void World::tcamKeyVersionInc() {
   shoalStatus->tcamKeyVersionIs(shoalStatus->tcamKeyVersion() + 1);
}

} // namespace ShoalHost
