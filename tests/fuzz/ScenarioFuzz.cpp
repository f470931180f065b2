// Any bytes as a scenario: errors, but never the end of the agent.
#include "agent/command/Registry.h"
#include "agent/command/ScenarioRunner.h"
#include "agent/inventory/InventoryReader.h"
#include "platform/Trace/Trace.h"

#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr char const* inventory = R"({
  "u|0": {"PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}}, "INTERFACE": {"Ethernet8": {}},
          "PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}},
          "VLAN_INTERFACE": {"Vlan9": {}}, "VXLAN_TUNNEL": {"t": {}},
          "VLAN_SUB_INTERFACE": {"PortChannel1.1": {"vlan": 10}, "PortChannel1.2": {"vlan": 10}, "Ethernet0.5": {"vlan": 5}}},
  "u|1": {"PORT": {"Ethernet0": {"core_id": 1}, "Ethernet4": {}, "Ethernet8": {"core_id": 1}},
          "PORTCHANNEL": {"PortChannel3": {}},
          "PORTCHANNEL_MEMBER": {"PortChannel3|Ethernet4": {}, "PortChannel3|Ethernet8": {}},
          "VLAN_SUB_INTERFACE": {"Ethernet0.7": {"vlan": 7}, "PortChannel3.1": {"vlan": 10}},
          "VLAN": {"Vlan7": {}}, "VLAN_MEMBER": {"Vlan7|Ethernet0": {"tagging_mode": "untagged"}},
          "VLAN_INTERFACE": {"Vlan7": {}}, "VXLAN_TUNNEL": {"t": {}}, "SHOAL_UNIT": {"u|1": {"fap_type": 2}}},
  "u|2": {"PORT": {"Ethernet0": {}}, "SHOAL_UNIT": {"u|2": {"ext_lkup_type": 4}}}})";

constexpr std::size_t maxLines = 100;

using Lines = std::vector<std::string>;

// Words of a line that is a command; none for what is no more than an error.
std::vector<std::string> wordsOf(std::string const& line) {
   try {
      auto words = Agent::splitWords(line);
      if (!words.empty()) {
         auto rest = words;
         (void)Agent::commandRegistry().take(rest);
      }
      return words;
   } catch (Agent::CommandError const&) {
      return {};
   }
}

// Without those that write files of any name, and what lets the library stop.
Lines linesOf(std::string const& text) {
   Lines lines;
   std::istringstream in(text);
   for (std::string line; lines.size() < maxLines && std::getline(in, line);) {
      auto words = wordsOf(line);
      bool file =
          words.size() > 1 && words[0] == "trace" && (words[1] == "file" || words[1] == "ring");
      bool admission = words.size() > 1 && words[0] == "set" && words[1] == "admission";
      if (!file && !admission) {
         lines.push_back(line);
      }
   }
   return lines;
}

Agent::Inventory const& chassis() {
   static auto const parsed = Agent::parseInventory(inventory, "fuzz");
   return parsed;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   auto lines = linesOf({reinterpret_cast<char const*>(data), size});
   Agent::AgentHost host(chassis());
   host.traceFile().pathIs("/dev/null");
   std::ostringstream told;
   Agent::ScenarioRunner runner(host, told, told, {true, true});
   for (std::size_t i = 0; i < lines.size(); ++i) {
      runner.runLine(lines[i], "fuzz", i + 1);
   }
   host.settle();
   Trace::enabledLevels = 0; // they are the process's
   return 0;
}
