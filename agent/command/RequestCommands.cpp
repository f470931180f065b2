// What the requesters do: ask for policies, and withdraw them.
#include "agent/command/Names.h"

namespace Agent {

namespace {

using Hardware::Shoal::extLkupTypeLumen_;

// The invariants of the merge, told as refusals.
void checkPolicy(World const& world, Requester requester, TcamSharingRequest request,
                 TcamSharingPolicyId policy) {
   uint32_t unit = request.fapId().value();
   bool lumenUnit = world.shoalStatus->fapExtLkupType(request.fapId()) == extLkupTypeLumen_;
   if (requester == Requester::acl) {
      if (lumenUnit && policy.lumenAclLabel() != 0) {
         throw CommandError(
             "unit {} has the lumen lookup, where acl cannot ask for the lumen label", unit);
      }
      return;
   }
   std::string_view name = requesterName(requester);
   if (!lumenUnit) {
      throw CommandError(
          "unit {} has no lumen lookup, so {} cannot ask there (unit UNIT lookup lumen)", unit,
          name);
   }
   if (policy.qosPolicy() != 0 || policy.pbrPolicy() != 0) {
      throw CommandError("{} asks for lumen= only, not for qos= or pbr=", name);
   }
}

void checkUnit(World const& world, FapId unit) {
   bool arad = world.shoalStatus->fapType(unit) == Hardware::Shoal::fapTypeArad;
   if (arad && unit.value() > AradSemKeyAndFap::maxFapId) {
      throw CommandError("unit {} is above {}, the last that an ISEM key can name", unit.value(),
                         AradSemKeyAndFap::maxFapId);
   }
}

void request(AgentHost& host, Arguments& arguments, std::ostream&) {
   Requester requester = parseRequester(arguments);
   auto requests = parseRequests(host, arguments, Naming::interfaces);
   TcamSharingPolicyId policy = parsePolicy(arguments.next("POLICY"));
   arguments.end();
   for (TcamSharingRequest each : requests) {
      checkUnit(host.world(), each.fapId());
      checkPolicy(host.world(), requester, each, policy);
   }
   for (TcamSharingRequest each : requests) {
      host.sharing().config(requester)->requestIs(each, policy);
   }
}

void withdraw(AgentHost& host, Arguments& arguments, std::ostream&) {
   Requester requester = parseRequester(arguments);
   auto requests = parseRequests(host, arguments, Naming::requests);
   arguments.end();
   auto const& config = host.sharing().config(requester);
   // A pattern names what is there; a single name that asks for nothing is a slip.
   std::erase_if(requests, [&](TcamSharingRequest each) { return !config->requestHas(each); });
   if (requests.empty()) {
      throw CommandError("{} asks for nothing there", requesterName(requester));
   }
   for (TcamSharingRequest each : requests) {
      config->requestDel(each);
   }
}

} // namespace

std::span<Command const> requestCommands() {
   using enum Effect;
   static constexpr Command table[] = {
       {"request", "acl|lumen|rampart INTERFACE UNIT|own [flood VLAN] POLICY",
        "a requester asks for a policy", change, request},
       {"withdraw", "acl|lumen|rampart INTERFACE UNIT|own [flood VLAN]",
        "the requester asks for it no longer", change, withdraw},
   };
   return table;
}

} // namespace Agent
