#include "agent/simulate/SimulateCommands.h"

#include "agent/simulate/Auditor.h"

namespace Agent {

namespace {

void follow(Host& host, Arguments& arguments, std::ostream&) {
   arguments.end();
   Auditor::follow(host);
}

void check(Host& host, Arguments& arguments, std::ostream&) {
   bool fresh = arguments.accept("fresh");
   bool settled = fresh || arguments.accept("settled");
   arguments.end();
   if (settled && !host.quiet()) {
      throw CommandError("something is queued or unanswered; settle first");
   }
   Auditor const& auditor = Auditor::of(host);
   Findings findings = fresh ? auditor.compareFresh() : auditor.check(settled);
   host.activate();
   if (!findings.empty()) {
      Finding const& first = findings.list().front();
      throw ExpectationFailed(first.check + ": " + first.text);
   }
}

} // namespace

void addSimulateCommands(Registry& registry) {
   static constexpr Command table[] = {
       {"follow", "",
        "keep an account of what the machines should do, for check; at the start, before anything "
        "is asked for",
        Effect::none, follow},
       {"check", "[settled|fresh]",
        "fail unless every table is what the account says; settled: also what holds only then; "
        "fresh: unless an agent started now would come to the same",
        Effect::none, check},
   };
   registry.add(table);
}

} // namespace Agent
