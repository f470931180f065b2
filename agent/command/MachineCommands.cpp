// The library's machines, built again.
#include "agent/command/Names.h"

namespace Agent {

namespace {

void rebuild(Host& host, Arguments& arguments, std::ostream&) {
   auto machine = static_cast<Machine>(
       arguments.parseChoice("MACHINE", {machineNames.begin(), machineNames.end()}));
   arguments.end();
   host.rebuild(machine);
}

void startFeaturesFresh(Host& host, Arguments& arguments, std::ostream&) {
   arguments.end();
   host.startFeaturesFresh();
}

} // namespace

void addMachineCommands(Registry& registry) {
   std::string machines;
   for (std::string_view name : machineNames) {
      machines += (machines.empty() ? "" : ", ") + std::string(name);
   }
   registry.add({"rebuild", "MACHINE",
                 "a machine of the library goes and is built again on the same tables: " + machines,
                 true, rebuild});
   registry.add({"start-features-fresh", "",
                 "build the in-LIF feature machines anew on empty tables, as an agent that starts "
                 "now would",
                 true, startFeaturesFresh});
}

} // namespace Agent
