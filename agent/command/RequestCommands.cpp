// What the features do: ask for policies, and withdraw them.
#include "agent/command/Names.h"

namespace Agent {

namespace {

using Hardware::Shoal::extLkupTypeLumen_;

// The invariants of the merge, told as refusals.
void checkPolicy(World const& world, Requester requester, TcamSharingRequest request,
                 TcamSharingPolicyId policy) {
   std::string unit = "unit " + std::to_string(request.fapId().value());
   bool lumenUnit = world.shoalStatus->fapExtLkupType(request.fapId()) == extLkupTypeLumen_;
   if (requester == Requester::acl) {
      if (lumenUnit && policy.lumenAclLabel() != 0) {
         throw CommandError(unit + " has the lumen lookup, where the lumen label is not the acl "
                                   "feature's to ask for");
      }
      return;
   }
   std::string name(requesterNames[static_cast<std::size_t>(requester)]);
   if (!lumenUnit) {
      throw CommandError(unit + " has no lumen lookup, so the " + name +
                         " feature cannot ask there (unit UNIT lookup lumen)");
   }
   if (policy.qosPolicy() != 0 || policy.pbrPolicy() != 0) {
      throw CommandError("the " + name + " feature asks for lumen= only, not for qos= or pbr=");
   }
}

void checkUnit(World const& world, FapId unit) {
   bool arad = world.shoalStatus->fapType(unit) == Hardware::Shoal::fapTypeArad;
   if (arad && unit.value() > AradSemKeyAndFap::maxFapId) {
      throw CommandError("unit " + std::to_string(unit.value()) + " is above " +
                         std::to_string(AradSemKeyAndFap::maxFapId) +
                         ", the last that an ISEM key can name");
   }
}

void request(Host& host, Arguments& arguments, std::ostream&) {
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

void withdraw(Host& host, Arguments& arguments, std::ostream&) {
   Requester requester = parseRequester(arguments);
   auto requests = parseRequests(host, arguments, Naming::requests);
   arguments.end();
   auto const& config = host.sharing().config(requester);
   // A pattern names what is there; a single name that asks for nothing is a slip.
   std::erase_if(requests, [&](TcamSharingRequest each) { return !config->requestHas(each); });
   if (requests.empty()) {
      throw CommandError("the " + std::string(requesterNames[static_cast<std::size_t>(requester)]) +
                         " feature asks for nothing there");
   }
   for (TcamSharingRequest each : requests) {
      config->requestDel(each);
   }
}

} // namespace

void addRequestCommands(Registry& registry) {
   registry.add({"request", "FEATURE INTERFACE UNIT [flood VLAN] POLICY",
                 "a feature (acl, lumen, rampart) asks for a policy", true, request});
   registry.add({"withdraw", "FEATURE INTERFACE UNIT [flood VLAN]",
                 "a feature asks for it no longer", true, withdraw});
}

} // namespace Agent
