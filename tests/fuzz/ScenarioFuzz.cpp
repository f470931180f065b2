// Any bytes as a scenario: errors, but never the end of the agent.
#include "agent/host/ScenarioRunner.h"
#include "agent/inventory/InventoryReader.h"

#include <sstream>
#include <string>

namespace {

constexpr char const* inventory = R"({
  "u|0": {"PORT": {"Ethernet0": {}, "Ethernet4": {}}, "PORTCHANNEL": {"PortChannel1": {}},
          "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}}, "VLAN_INTERFACE": {"Vlan9": {}},
          "VLAN_SUB_INTERFACE": {"PortChannel1.1": {"vlan": 10}, "PortChannel1.2": {"vlan": 10}, "Ethernet0.5": {"vlan": 5}}},
  "u|1": {"PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}}, "VXLAN_TUNNEL": {"t": {}},
          "VLAN_SUB_INTERFACE": {"Ethernet0.7": {"vlan": 7}}, "SHOAL_UNIT": {"u|1": {"fap_type": 2}}}})";

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   std::istringstream bytes(std::string(reinterpret_cast<char const*>(data), size));
   std::string scenario;
   for (std::string line; std::getline(bytes, line);) {
      // Those write files of any name.
      if (line.find("trace") == std::string::npos) {
         scenario += line + "\n";
      }
   }
   Agent::Host host(Agent::parseInventory(inventory, "fuzz"));
   std::ostringstream out;
   Agent::ScenarioRunner runner(host, out, out, {true, false});
   std::istringstream in(scenario);
   runner.run(in, "fuzz");
   return 0;
}
