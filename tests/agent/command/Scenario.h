// Scenarios on a small chassis, for the tests of the agent.
#pragma once

#include "agent/command/ScenarioRunner.h"
#include "agent/inventory/InventoryReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace Agent {

// Two units; A and B are sub-interfaces of one port-channel, so of one VLAN domain, and of one tag.
inline constexpr char const* twins = R"({
  "u|0": {"PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}, "Ethernet12": {}},
          "PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet12": {}},
          "VLAN_SUB_INTERFACE": {"PortChannel1.1": {"vlan": 10}, "PortChannel1.2": {"vlan": 10},
                                 "Ethernet0.5": {"vlan": 5}, "Ethernet0.6": {"vlan": 6}, "Ethernet4.7": {}},
          "INTERFACE": {"Ethernet8": {}}, "VXLAN_TUNNEL": {"t": {}}},
  "u|1": {"PORT": {"Ethernet0": {}}, "SHOAL_UNIT": {"u|1": {"ext_lkup_type": 4}}, "VLAN_INTERFACE": {"Vlan9": {}}},
  "u|2": {"DEVICE_METADATA": {"localhost": {"switch_id": 200}}, "PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}}},
  "u|3": {"DEVICE_METADATA": {"localhost": {"switch_id": 3}}, "PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}, "Ethernet12": {}},
          "PORTCHANNEL": {"PortChannel3": {}}, "VLAN_SUB_INTERFACE": {"Ethernet0.5": {"vlan": 5}, "PortChannel3.1": {"vlan": 10}},
          "PORTCHANNEL_MEMBER": {"PortChannel3|Ethernet4": {}, "PortChannel3|Ethernet8": {}, "PortChannel3|Ethernet12": {}},
          "VLAN": {"Vlan7": {"vlanid": 7}}, "VLAN_MEMBER": {"Vlan7|Ethernet0": {"tagging_mode": "untagged"}},
          "VLAN_INTERFACE": {"Vlan7": {}}, "VXLAN_TUNNEL": {"t": {}}, "SHOAL_UNIT": {"u|3": {"fap_type": 2}}}
})";

struct Result {
   int code;
   std::string out;
   std::string errors;
};

inline Result run(std::string const& scenario, RunOptions options = {},
                  std::string const& inventory = twins) {
   AgentHost host(parseInventory(inventory, "test"));
   std::ostringstream out;
   std::ostringstream errors;
   ScenarioRunner runner(host, out, errors, options);
   std::istringstream in(scenario);
   int code = runner.run(in, "s");
   return {code, out.str(), errors.str()};
}

// What `scenario` says to its last line, which must be refused.
inline std::string refusal(std::string const& scenario) {
   Result result = run(scenario);
   auto lines = std::count(scenario.begin(), scenario.end(), '\n') + 1;
   std::string begin = "s:" + std::to_string(lines) + ": error: ";
   EXPECT_EQ(result.code, 1) << scenario;
   EXPECT_EQ(result.errors.rfind(begin, 0), 0U) << scenario << "\n" << result.errors;
   return result.errors.substr(std::min(begin.size(), result.errors.size()));
}

inline void expectSound(std::string const& scenario) {
   Result result = run(scenario);
   EXPECT_EQ(result.code, 0) << scenario << "\n" << result.errors;
}

// X, Y: sub-interfaces of one port on an arad unit; A, B: of one port-channel there, with one tag.
// P, L, T: a sub-interface of a port and of a port-channel, and a tunnel, on an in-LIF unit.
inline std::string named(std::string const& text) {
   std::string out;
   for (std::size_t i = 0; i < text.size(); ++i) {
      bool word = (i == 0 || text[i - 1] == ' ') &&
                  (i + 1 == text.size() || text[i + 1] == ' ' || text[i + 1] == '\n');
      switch (word ? text[i] : '\0') {
      case 'X':
         out += "u/0/Ethernet0.5";
         break;
      case 'Y':
         out += "u/0/Ethernet0.6";
         break;
      case 'A':
         out += "u/0/PortChannel1.1";
         break;
      case 'B':
         out += "u/0/PortChannel1.2";
         break;
      case 'P':
         out += "u/3/Ethernet0.5";
         break;
      case 'L':
         out += "u/3/PortChannel3.1";
         break;
      case 'T':
         out += "u/3/Tunnel-t";
         break;
      default:
         out += text[i];
      }
   }
   return out;
}

} // namespace Agent
