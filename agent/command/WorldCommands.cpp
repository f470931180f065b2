// What happens around the library: interfaces, VLANs, units and ports change.
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

IntfId parseInterface(Host& host, Arguments& arguments, std::string_view what) {
   return host.world().interface(arguments.next(what));
}

void encapsulation(Host& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "SUBINTERFACE");
   Dot1qEncap encap = parseEncapsulation(arguments);
   arguments.end();
   host.world().encapsulationIs(intf, encap);
}

void dynamicEncapsulation(Host& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "SUBINTERFACE");
   Dot1qEncap encap = parseEncapsulation(arguments);
   arguments.end();
   host.world().dynamicEncapsulationIs(intf, encap);
}

void deleteSubInterface(Host& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "SUBINTERFACE");
   arguments.end();
   host.world().subInterfaceDel(intf);
}

void programInHw(Host& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "SUBINTERFACE");
   bool on = arguments.parseSwitch("on or off");
   arguments.end();
   host.world().programInHwIs(intf, on);
}

void encapKind(Host& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "SUBINTERFACE");
   auto kind = static_cast<uint32_t>(arguments.parseNumber("KIND", 0, 255));
   arguments.end();
   host.world().encapKindIs(intf, kind);
}

void internalVlan(Host& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "INTERFACE");
   VlanIdOrNone vlan;
   if (!arguments.accept("none")) {
      vlan = VlanIdOrNone(static_cast<uint32_t>(arguments.parseNumber("VLAN", 1, 4094)));
   }
   arguments.end();
   if (vlan.value() != 0) {
      for (auto const& [other, taken] : host.world().intfVlanIdTable->internalVlanIdIter()) {
         if (other != intf && taken == vlan &&
             host.world().unitsOf(other) == host.world().unitsOf(intf)) {
            throw CommandError("VLAN " + std::to_string(vlan.value()) +
                               " is the internal VLAN of " + other.name());
         }
      }
   }
   host.world().internalVlanIs(intf, vlan);
}

void vlanDomain(Host& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "INTERFACE");
   std::optional<VlanDomain> domain;
   if (!arguments.accept("none")) {
      domain = VlanDomain(static_cast<uint8_t>(arguments.parseNumber("DOMAIN", 1, 254)));
   }
   arguments.end();
   host.world().vlanDomainIs(intf, domain);
}

// Requests of the features on a unit; those of `from` on.
std::size_t requestsOn(Host const& host, FapId unit, Requester from) {
   std::size_t count = 0;
   for (auto i = static_cast<std::size_t>(from); i < kRequesters; ++i) {
      for (auto const& [request, policy] :
           host.sharing().config(static_cast<Requester>(i))->requestIter()) {
         count += request.fapId() == unit ? 1 : 0;
      }
   }
   return count;
}

void unit(Host& host, Arguments& arguments, std::ostream&) {
   World& world = host.world();
   FapId fapId = world.unit(arguments.next("UNIT"));
   std::string what = arguments.next("type, lookup, available or unavailable");
   if (what == "type") {
      bool none = arguments.accept("none");
      bool arad = !none && arguments.accept("arad");
      auto type = none   ? 0
                  : arad ? Hardware::Shoal::fapTypeArad
                         : static_cast<uint32_t>(arguments.parseNumber("TYPE", 1, 255));
      arad = type == Hardware::Shoal::fapTypeArad;
      arguments.end();
      // Units of the two generations must never meet in one pipeline.
      bool otherGeneration =
          arad != (world.shoalStatus->fapType(fapId) == Hardware::Shoal::fapTypeArad);
      std::size_t count = requestsOn(host, fapId, Requester::acl);
      if (otherGeneration && count > 0) {
         throw CommandError("unit " + std::to_string(fapId.value()) + " has " +
                            std::to_string(count) +
                            " requests in the pipeline of its present type; withdraw them before "
                            "it changes");
      }
      world.fapTypeIs(fapId, type);
   } else if (what == "lookup") {
      uint32_t type = arguments.accept("none") ? 0
                      : arguments.accept("lumen")
                          ? Hardware::Shoal::extLkupTypeLumen_
                          : static_cast<uint32_t>(arguments.parseNumber("LOOKUP", 1, 255));
      arguments.end();
      std::size_t count = requestsOn(host, fapId, Requester::lumen);
      if (type != Hardware::Shoal::extLkupTypeLumen_ && count > 0) {
         throw CommandError("unit " + std::to_string(fapId.value()) + " has " +
                            std::to_string(count) +
                            " lumen or rampart requests, which need the lumen lookup; withdraw "
                            "them first");
      }
      world.extLkupTypeIs(fapId, type);
   } else if (what == "available" || what == "unavailable") {
      arguments.end();
      world.fapAvailableIs(fapId, what == "available");
   } else {
      throw CommandError("a unit has type, lookup, available and unavailable, not '" + what + "'");
   }
}

void portMap(Host& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "PORT");
   std::optional<PortMap> place;
   if (!arguments.accept("none")) {
      FapId fapId = host.world().unit(arguments.next("UNIT"));
      place = PortMap{fapId, static_cast<uint16_t>(arguments.parseNumber("UNITPORT", 0, 255))};
   }
   arguments.end();
   host.world().portMapIs(intf, place);
}

void systemPort(Host& host, Arguments& arguments, std::ostream&) {
   IntfId intf = parseInterface(host, arguments, "PORT");
   std::optional<SystemPhyPortId> port;
   if (!arguments.accept("none")) {
      port = SystemPhyPortId(
          static_cast<uint32_t>(arguments.parseNumber("SYSTEMPORT", 0, SystemPhyPortId::null - 1)));
   }
   arguments.end();
   host.world().systemPortIs(intf, port);
}

void portMapState(Host& host, Arguments& arguments, std::ostream&) {
   std::size_t what = arguments.parseChoice("WHAT", {"version", "invalid", "valid"});
   arguments.end();
   if (what == 0) {
      host.world().portMapVersionInc();
   } else {
      host.world().portMapValidIs(what == 2);
   }
}

void member(Host& host, Arguments& arguments, std::ostream&) {
   IntfId lag = parseInterface(host, arguments, "PORTCHANNEL");
   bool present = arguments.parseChoice("add or remove", {"remove", "add"}) == 1;
   IntfId port = parseInterface(host, arguments, "PORT");
   arguments.end();
   host.world().memberIs(lag, port, present);
}

} // namespace

void addWorldCommands(Registry& registry) {
   registry.add({"encapsulation", "SUBINTERFACE OUTER[,INNER]|none",
                 "the configured tags of a sub-interface change", true, encapsulation});
   registry.add({"dynamic-encapsulation", "SUBINTERFACE OUTER[,INNER]|none",
                 "tags assigned at run time, which override the configured ones", true,
                 dynamicEncapsulation});
   registry.add({"delete-subinterface", "SUBINTERFACE", "a sub-interface goes, with all it had",
                 true, deleteSubInterface});
   registry.add({"program-in-hw", "SUBINTERFACE on|off",
                 "whether a sub-interface is to be programmed", true, programInHw});
   registry.add({"encap-kind", "SUBINTERFACE KIND",
                 "the kind of its encapsulation (4: the chip matches its tags in another type)",
                 true, encapKind});
   registry.add({"internal-vlan", "INTERFACE VLAN|none",
                 "the internal VLAN of a routed port changes", true, internalVlan});
   registry.add(
       {"vlan-domain", "PORT|PORTCHANNEL DOMAIN|none", "a VLAN domain changes", true, vlanDomain});
   registry.add({"unit", "UNIT type arad|N|none | lookup lumen|N|none | available | unavailable",
                 "a forwarding unit changes", true, unit});
   registry.add({"port-map", "PORT UNIT UNITPORT | PORT none",
                 "the place of a port's system port changes, or goes", true, portMap});
   registry.add({"system-port", "PORT SYSTEMPORT|none", "a port takes another system port, or goes",
                 true, systemPort});
   registry.add({"port-map-state", "version|invalid|valid",
                 "a new version of the port map; or whether it is whole", true, portMapState});
   registry.add({"member", "PORTCHANNEL add|remove PORT", "a port joins or leaves a port-channel",
                 true, member});
}

} // namespace Agent
