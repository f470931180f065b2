// Why requests are where they are.
#include "agent/command/Explanation.h"

namespace Agent {

namespace {

// INTERFACE UNIT [flood VLAN]; a pattern or own explains each request that it names.
void explainCommand(Host& host, Arguments& arguments, std::ostream& out) {
   auto requests = parseRequests(host, arguments);
   arguments.end();
   Situations situations(host);
   for (TcamSharingRequest request : requests) {
      printExplanation(out, explain(situations.of(request), host), arguments.format());
   }
}

// Each request of which something is to be said, with the sentences that say it.
void problems(Host& host, Arguments& arguments, std::ostream& out) {
   arguments.end();
   Table table{"problems", {"request", "merged policy", "status", "why"}, {}};
   Situations situations(host);
   for (TcamSharingRequest request : knownRequests(host)) {
      Situation situation = situations.of(request);
      if (!situation.sound()) {
         table.add({formatRequest(request), formatPolicy(situation.merged),
                    std::string(formatStatus(situation.response.status)),
                    explain(situation, host).verdict});
      }
   }
   print(out, table, arguments.format());
}

} // namespace

void addExplainCommands(Registry& registry) {
   registry.add(
       {"explain", "INTERFACE UNIT|own [flood VLAN] [--format json]",
        "why a request is where it is: what it waits for, since when, who shares its entry", false,
        explainCommand});
   registry.add({"problems", "[--format json]",
                 "every request that is not in hardware, not successful, or has left an entry "
                 "behind, and why",
                 false, problems});
}

} // namespace Agent
