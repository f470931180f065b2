// The library's machines, built again.
#include "agent/command/Names.h"

namespace Agent {

namespace {

void rebuild(AgentHost& host, Arguments& arguments, std::ostream&) {
   auto machine = static_cast<Machine>(
       arguments.parseChoice("MACHINE", {machineNames.begin(), machineNames.end()}));
   arguments.end();
   host.rebuild(machine);
}

void startFeaturesFresh(AgentHost& host, Arguments& arguments, std::ostream&) {
   arguments.end();
   host.startFeaturesFresh();
}

} // namespace

std::span<Command const> machineCommands() {
   static constexpr Command table[] = {
       {"rebuild",
        "merge|intake|isem|mapper|tunnel|vlan-domain|vlan-ports|vlan-xlate|vlan-tag-map|"
        "feature-requests|feature-responses|port-words|vlan-words|merged-words|"
        "sub-interface-words|default-mapping",
        "destroy a machine of the library and build it again on the same tables", rebuild},
       {"start-features-fresh", "",
        "build the in-LIF feature machines again on empty tables, as an agent that starts now "
        "does, to compare",
        startFeaturesFresh},
   };
   return table;
}

} // namespace Agent
