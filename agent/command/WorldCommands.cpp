// Changes of what surrounds the library: interfaces, VLANs, units and ports.
#include "agent/command/Names.h"

#include <algorithm>

namespace Agent {

namespace {

using Bridging::Dot1qEncap;
using Bridging::VlanIdOrNone;
using Hardware::Shoal::PortMap;
using Hardware::Shoal::SystemPhyPortId;
using Hardware::Shoal::VlanDomain;

// OUTER[,INNER] or none.
Dot1qEncap parseEncapsulation(Arguments& arguments) {
   std::string text = arguments.next("OUTER[,INNER] or none");
   if (text == "none") {
      return {};
   }
   auto comma = text.find(',');
   Dot1qEncap encap;
   encap.outer = static_cast<uint16_t>(parseNumber(text.substr(0, comma), "OUTER", 1, 4094));
   if (comma != std::string::npos) {
      encap.inner = static_cast<uint16_t>(parseNumber(text.substr(comma + 1), "INNER", 1, 4094));
   }
   return encap;
}

// VLAN or none.
VlanIdOrNone parseVlan(Arguments& arguments) {
   return arguments.accept("none") ? VlanIdOrNone()
                                   : VlanIdOrNone(arguments.parse<uint32_t>("VLAN", 1, 4094));
}

IntfId parseInterface(AgentHost& host, Arguments& arguments, std::string_view what) {
   return host.world().interface(arguments.next(what));
}

template<void (Changes::*set)(IntfId, Dot1qEncap)>
void encapsulation(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "SUBINTERFACE");
   Dot1qEncap encap = parseEncapsulation(arguments);
   arguments.end();
   (host.changes().*set)(intf, encap);
}

void deleteSubInterface(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "SUBINTERFACE");
   arguments.end();
   host.changes().subInterfaceDel(intf);
}

void programInHw(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "SUBINTERFACE");
   bool on = arguments.parseSwitch("on or off");
   arguments.end();
   host.changes().programInHwIs(intf, on);
}

void encapKind(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "SUBINTERFACE");
   auto kind = arguments.parse<uint32_t>("KIND", 0, 255);
   arguments.end();
   host.changes().encapKindIs(intf, kind);
}

void internalVlan(AgentHost& host, Arguments& arguments, std::ostream&) {
   World& world = host.world();
   IntfId intf = parseInterface(host, arguments, "INTERFACE");
   VlanIdOrNone vlan = parseVlan(arguments);
   arguments.end();
   for (auto const& [other, taken] : world.intfVlanIdTable->internalVlanIdIter()) {
      if (vlan.value() != 0 && other != intf && taken == vlan &&
          world.unitsOf(other) == world.unitsOf(intf)) {
         throw CommandError("VLAN {} is the internal VLAN of {}", vlan.value(), other.name());
      }
   }
   host.changes().internalVlanIs(intf, vlan);
}

void untaggedVlan(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "INTERFACE");
   VlanIdOrNone vlan = parseVlan(arguments);
   arguments.end();
   host.changes().untaggedVlanIs(intf, vlan);
}

void taggedVlan(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "INTERFACE");
   Bridging::VlanId vlan(static_cast<uint32_t>(arguments.parseNumber("VLAN", 1, 4094)));
   bool carries = arguments.parseChoice("on or off", {"off", "on"}) == 1;
   arguments.end();
   host.changes().taggedVlanIs(intf, vlan, carries);
}

void vlanDomain(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "INTERFACE");
   std::optional<VlanDomain> domain;
   if (!arguments.accept("none")) {
      domain = VlanDomain(arguments.parse<uint8_t>("DOMAIN", 1, 254));
   }
   arguments.end();
   host.changes().vlanDomainIs(intf, domain);
}

// The number that a word stands for, that of `none`, or any other up to 255.
uint32_t parseType(Arguments& arguments, std::string_view word, uint32_t type,
                   std::string_view what) {
   uint32_t parsed = arguments.accept("none") ? 0
                     : arguments.accept(word) ? type
                                              : arguments.parse<uint32_t>(what, 1, 255);
   arguments.end();
   return parsed;
}

void unit(AgentHost& host, Arguments& arguments, std::ostream&) {
   FapId unit = host.world().unit(arguments.next("UNIT"));
   std::size_t what = arguments.parseChoice("WHAT", {"unavailable", "available", "type", "lookup"});
   if (what == 2) {
      host.changes().fapTypeIs(unit,
                               parseType(arguments, "arad", Hardware::Shoal::fapTypeArad, "TYPE"));
   } else if (what == 3) {
      host.changes().extLkupTypeIs(
          unit, parseType(arguments, "lumen", Hardware::Shoal::extLkupTypeLumen_, "LOOKUP"));
   } else {
      arguments.end();
      host.changes().fapAvailableIs(unit, what == 1);
   }
}

void portMap(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "PORT");
   std::optional<PortMap> place;
   if (!arguments.accept("none")) {
      FapId fapId = host.world().unit(arguments.next("UNIT"));
      place = PortMap{fapId, arguments.parse<uint16_t>("UNITPORT", 0, 255)};
   }
   arguments.end();
   host.changes().portMapIs(intf, place);
}

void systemPort(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "PORT");
   std::optional<SystemPhyPortId> port;
   if (!arguments.accept("none")) {
      port = SystemPhyPortId(arguments.parse<uint32_t>("SYSTEMPORT", 0, SystemPhyPortId::null - 1));
   }
   arguments.end();
   host.changes().systemPortIs(intf, port);
}

void portMapState(AgentHost& host, Arguments& arguments, std::ostream&) {
   std::size_t what = arguments.parseChoice("WHAT", {"invalid", "valid", "version"});
   arguments.end();
   what == 2 ? host.changes().portMapVersionInc() : host.changes().portMapValidIs(what == 1);
}

void member(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId lag = parseInterface(host, arguments, "PORTCHANNEL");
   bool present = arguments.parseChoice("add or remove", {"remove", "add"}) == 1;
   IntfId port = parseInterface(host, arguments, "PORT");
   arguments.end();
   host.changes().memberIs(lag, port, present);
}

void portChannel(AgentHost& host, Arguments& arguments, std::ostream&) {
   IntfId lag = parseInterface(host, arguments, "PORTCHANNEL");
   bool present = arguments.parseChoice("add or remove", {"remove", "add"}) == 1;
   arguments.end();
   host.changes().portChannelIs(lag, present);
}

} // namespace

std::span<Command const> worldCommands() {
   static constexpr Command table[] = {
       {"encapsulation", "SUBINTERFACE OUTER[,INNER]|none",
        "set the configured tags of a sub-interface", encapsulation<&Changes::encapsulationIs>},
       {"dynamic-encapsulation", "SUBINTERFACE OUTER[,INNER]|none",
        "set the tags assigned at run time, which override the configured ones",
        encapsulation<&Changes::dynamicEncapsulationIs>},
       {"delete-subinterface", "SUBINTERFACE", "delete a sub-interface with all that it had",
        deleteSubInterface},
       {"program-in-hw", "SUBINTERFACE on|off", "set whether a sub-interface is to be programmed",
        programInHw},
       {"encap-kind", "SUBINTERFACE KIND",
        "set the kind of a sub-interface's encapsulation; 4: the chip matches its tags in another "
        "type",
        encapKind},
       {"internal-vlan", "INTERFACE VLAN|none", "set the internal VLAN of a routed port",
        internalVlan},
       {"untagged-vlan", "PORT|PORTCHANNEL VLAN|none", "set the VLAN of untagged frames",
        untaggedVlan},
       {"tagged-vlan", "PORT|PORTCHANNEL VLAN on|off", "set whether a VLAN is carried with its tag",
        taggedVlan},
       {"vlan-domain", "PORT|PORTCHANNEL DOMAIN|none", "set a VLAN domain", vlanDomain},
       {"unit",
        "UNIT type arad|TYPE|none | UNIT lookup lumen|LOOKUP|none | UNIT available|unavailable",
        "set the type or the external look-up type of a unit, or its availability", unit},
       {"port-map", "PORT UNIT UNITPORT | PORT none",
        "set the place of a port's system port; UNITPORT is the port's number on the unit, 0 to "
        "255, and the port keeps its core",
        portMap},
       {"system-port", "PORT SYSTEMPORT|none", "set the system port of a port; none: the port goes",
        systemPort},
       {"port-map-state", "version|invalid|valid",
        "publish a new version of the port map, or set whether the map is whole", portMapState},
       {"member", "PORTCHANNEL add|remove PORT",
        "add a port to a port-channel, or remove one that is a member", member},
       {"port-channel", "PORTCHANNEL add|remove",
        "remove a port-channel, its members first, or add it again without any", portChannel},
   };
   return table;
}

} // namespace Agent
