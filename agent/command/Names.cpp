#include "agent/command/Names.h"

#include "host/insight/Explanation.h"

#include <algorithm>
#include <set>

namespace Agent {

using Bridging::VlanIdOrNone;
using Hardware::ShoalTunnel::AradISemKeyTcamSharing;

TcamSharingPolicyId parsePolicy(std::string_view text) {
   if (text.find('=') == std::string_view::npos) {
      return TcamSharingPolicyId(parseNumber(text, "POLICY", 1, UINT64_MAX));
   }
   uint64_t value = 0;
   std::vector<std::string_view> seen;
   while (!text.empty()) {
      std::string_view part = text.substr(0, text.find(','));
      text.remove_prefix(std::min(text.size(), part.size() + 1));
      std::string_view name = part.substr(0, part.find('='));
      auto const* field = std::find_if(std::begin(policyFields), std::end(policyFields),
                                       [&](PolicyField const& each) { return each.name == name; });
      if (field == std::end(policyFields) || part.size() == name.size()) {
         throw CommandError("POLICY has fields qos=, pbr=, acl=, lumen=, other=, not '{}'", part);
      }
      if (std::find(seen.begin(), seen.end(), name) != seen.end()) {
         throw CommandError("POLICY has '{}' twice", name);
      }
      seen.push_back(name);
      value |= parseNumber(part.substr(name.size() + 1), name, 0, field->max) << field->shift;
   }
   if (value == 0) {
      throw CommandError("a POLICY of 0 is not a policy; withdraw the request instead");
   }
   return TcamSharingPolicyId(value);
}

TcamSharingResponseStatus parseStatus(Arguments& arguments) {
   return static_cast<TcamSharingResponseStatus>(arguments.parseChoice(
       "STATUS", std::vector<std::string_view>(std::begin(statusNames), std::end(statusNames))));
}

std::string formatUnitType(Hardware::Shoal::FapType type) {
   return type == 0 ? "none" : type == Hardware::Shoal::fapTypeArad ? "arad" : std::to_string(type);
}

std::string formatLookup(Hardware::Shoal::ExtLkupType type) {
   return type == 0                                    ? "none"
          : type == Hardware::Shoal::extLkupTypeLumen_ ? "lumen"
                                                       : std::to_string(type);
}

Requester parseRequester(Arguments& arguments) {
   return static_cast<Requester>(
       arguments.parseChoice("REQUESTER", {requesterNames.begin(), requesterNames.end()}));
}

namespace {

// INTERFACE UNIT [flood VLAN] as typed.
struct NamedRequests {
   std::string typed;
   std::vector<IntfId> interfaces;
   std::optional<FapId> unit; // none: own
   std::optional<VlanIdOrNone> flood;
};

// The VLAN that stands for the port is its internal one unless another is given. None: it has none.
std::optional<VlanIdOrNone> floodVlan(World const& world, IntfId intf, NamedRequests const& named) {
   if (!intf.l3Flood() || named.flood) {
      return named.flood.value_or(VlanIdOrNone());
   }
   auto vlan = world.intfVlanIdTable->internalVlanId(
       IntfId(intf.name().substr(0, intf.name().rfind("-L3Flood"))));
   return vlan.value() == 0 ? std::nullopt : std::optional(vlan);
}

// Those that are asked for, or answered still.
std::vector<TcamSharingRequest> existingRequests(AgentHost const& host,
                                                 NamedRequests const& named) {
   std::vector<TcamSharingRequest> found;
   if (World::isPattern(named.typed)) {
      for (TcamSharingRequest each : knownRequests(host)) {
         if (World::matches(named.typed, each.intfId()) &&
             (!named.unit || each.fapId() == *named.unit) &&
             (!named.flood || each.l3FloodPortVlanId() == *named.flood)) {
            found.push_back(each);
         }
      }
      return found;
   }
   if (named.unit) {
      return found;
   }
   IntfId intf = named.interfaces.front();
   auto vlan = floodVlan(host.world(), intf, named).value_or(VlanIdOrNone());
   for (Requester requester : requesters) {
      for (TcamSharingRequest each : host.asked(requester, intf)) {
         if (each.l3FloodPortVlanId() == vlan &&
             std::find(found.begin(), found.end(), each) == found.end()) {
            found.push_back(each);
         }
      }
   }
   if (found.size() > 1) {
      auto const& units = host.world().inventory().units;
      auto place = [&](TcamSharingRequest request) {
         return std::find_if(units.begin(), units.end(), [&](InventoryUnit const& unit) {
            return unit.fapId == request.fapId().value();
         });
      };
      std::sort(found.begin(), found.end(), [&](auto a, auto b) { return place(a) < place(b); });
   }
   return found;
}

} // namespace

std::vector<TcamSharingRequest> parseRequests(AgentHost const& host, Arguments& arguments,
                                              Naming naming) {
   World const& world = host.world();
   NamedRequests named;
   named.typed = arguments.next("INTERFACE");
   named.interfaces = world.interfaces(named.typed);
   if (std::string word = arguments.next("UNIT"); word != "own") {
      named.unit = world.unit(word);
   }
   if (arguments.accept("flood")) {
      named.flood = VlanIdOrNone(arguments.parse<uint32_t>("VLAN", 1, 4094));
   }
   bool pattern = World::isPattern(named.typed);
   std::vector<TcamSharingRequest> existing;
   if (naming == Naming::requests || (naming == Naming::patternsOfRequests && pattern)) {
      existing = existingRequests(host, named);
   }
   std::set<IntfId> asking;
   for (TcamSharingRequest each : existing) {
      asking.insert(each.intfId());
   }
   std::vector<TcamSharingRequest> requests;
   std::set<uint32_t> seen;
   auto add = [&](TcamSharingRequest request) {
      if (seen.insert(request.index()).second) {
         requests.push_back(request);
      }
   };
   for (IntfId intf : named.interfaces) {
      bool mayLack = asking.contains(intf) || (pattern && naming == Naming::requests);
      if (named.flood && !intf.l3Flood()) {
         throw CommandError("{} is not a flood entry, so it takes no flood VLAN", intf.name());
      }
      auto vlan = floodVlan(world, intf, named);
      if (!vlan && !mayLack) {
         throw CommandError("{} has no internal VLAN; say flood VLAN", intf.name());
      }
      auto units = named.unit ? std::vector{*named.unit} : world.unitsOf(intf);
      if (units.empty() && !mayLack) {
         throw CommandError("{} is on no unit", intf.name());
      }
      for (FapId unit : units) {
         if (vlan) {
            add(TcamSharingRequest(intf, unit, *vlan));
         }
      }
   }
   std::for_each(existing.begin(), existing.end(), add);
   return requests;
}

TcamSharingRequest parseRequest(AgentHost const& host, Arguments& arguments) {
   auto requests = parseRequests(host, arguments, Naming::interfaces);
   if (requests.size() != 1) {
      throw CommandError("that names {}; one is wanted here", counted(requests.size(), "request"));
   }
   return requests.front();
}

} // namespace Agent
