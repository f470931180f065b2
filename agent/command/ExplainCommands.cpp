// Why requests are where they are.
#include "agent/command/Explanation.h"

namespace Agent {

namespace {

// INTERFACE UNIT [flood VLAN]; a pattern or own explains each request that it names.
void explainCommand(Host& host, Arguments& arguments, std::ostream& out) {
   auto requests = takeRequests(host, arguments);
   arguments.end();
   for (TcamSharingRequest request : requests) {
      printExplanation(out, explain(host, request), arguments.format());
   }
}

// Each request that is not in hardware, with the sentence that says why.
void problems(Host& host, Arguments& arguments, std::ostream& out) {
   arguments.end();
   Table table{"problems", {"request", "merged policy", "status", "why"}, {}};
   for (TcamSharingRequest request : knownRequests(host)) {
      Explanation explanation = explain(host, request);
      SharingPipeline const& pipeline = host.pipelineOf(request);
      auto [status, policyId] = pipeline.mergedStatus->response(request);
      if (!explanation.inHardware || status != Hardware::ShoalTunnel::tcamSharingSuccess ||
          policyId != pipeline.merged->request(request)) {
         table.add({printedRequest(request), printedPolicy(pipeline.merged->request(request)),
                    std::string(printedStatus(status)), explanation.verdict});
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
                 "every request that is not in hardware or not successful, and why", false,
                 problems});
}

} // namespace Agent
