// What a written history needs beyond what an operator does: machines that are built again, and
// checks.
#include "agent/command/Registry.h"
#include "agent/simulate/Auditor.h"

namespace Agent {

namespace {

void rebuild(Host& host, Arguments& arguments, std::ostream&) {
   auto machine = static_cast<Machine>(
       arguments.takeChoice("MACHINE", {machineNames.begin(), machineNames.end()}));
   arguments.end();
   host.rebuild(machine);
}

void follow(Host& host, Arguments& arguments, std::ostream&) {
   arguments.end();
   Auditor::follow(host);
}

void check(Host& host, Arguments& arguments, std::ostream&) {
   bool fresh = arguments.takeWord("fresh");
   bool settled = fresh || arguments.takeWord("settled");
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
   std::string machines;
   for (std::string_view name : machineNames) {
      machines += (machines.empty() ? "" : ", ") + std::string(name);
   }
   registry.add({"rebuild", "MACHINE",
                 "a machine of the library goes and is built again on the same tables: " + machines,
                 true, rebuild});
   registry.add({"follow", "",
                 "keep an account of what the machines should do, for check; at the "
                 "start, before anything is asked for",
                 false, follow});
   registry.add({"check", "[settled|fresh]",
                 "fail unless every table is what the account says; settled: also what holds only "
                 "then; fresh: unless an agent started now would come to the same",
                 false, check});
}

} // namespace Agent
