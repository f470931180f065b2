// What the requesters do: ask for policies, and withdraw them.
#include "agent/command/Names.h"

namespace Agent {

namespace {

void request(AgentHost& host, Arguments& arguments, std::ostream&) {
   Requester requester = parseRequester(arguments);
   auto requests = parseRequests(host, arguments, Naming::interfaces);
   TcamSharingPolicyId policy = parsePolicy(arguments.next("POLICY"));
   arguments.end();
   host.changes().requestIs(requester, requests, policy);
}

void withdraw(AgentHost& host, Arguments& arguments, std::ostream&) {
   Requester requester = parseRequester(arguments);
   auto requests = parseRequests(host, arguments, Naming::requests);
   arguments.end();
   auto const& config = host.sharing().config(requester);
   // A pattern names what is there; a single name that asks for nothing is a slip.
   std::erase_if(requests, [&](TcamSharingRequest each) {
      return !config->requestHas(each) &&
             host.changes().detours().heldBack(requester, each).empty();
   });
   if (requests.empty()) {
      throw CommandError("{} asks for nothing there", requesterName(requester));
   }
   host.changes().requestIs(requester, requests, TcamSharingPolicyId());
}

} // namespace

std::span<Command const> requestCommands() {
   static constexpr Command table[] = {
       {"request", "acl|lumen|rampart INTERFACE UNIT|own [flood VLAN] POLICY",
        "a requester asks for a policy", request},
       {"withdraw", "acl|lumen|rampart INTERFACE UNIT|own [flood VLAN]",
        "the requester asks for it no longer", withdraw},
   };
   return table;
}

} // namespace Agent
