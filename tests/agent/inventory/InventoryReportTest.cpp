// What a file has that is not used as it stands there is reported, and handled as the report says.
#include "agent/inventory/FileContent.h"
#include "agent/inventory/InventoryReader.h"
#include "tests/agent/inventory/Reports.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace Agent {
namespace {

using Lines = std::vector<std::string>;

TEST(InventoryReportTest, NothingIsDroppedSilently) {
   struct Case {
      std::string tables; // of a single-unit file with ports Ethernet0, 4 and 8
      Lines reports;
   };
   for (
       auto const& [tables, reports] : {
           Case{R"("lc1|a0": {"PORT": {}}, "asic0": {"PORT": {"Ethernet0": {}}}, "localhost": {},
                    "FLEX_COUNTER_TABLE": {"PORT": {"FLEX_COUNTER_STATUS": "enable"}})",
                {"- asic0: is beside the tables of a file of one unit, left out",
                 "- lc1|a0: is beside the tables of a file of one unit, left out",
                 "- localhost: is beside the tables of a file of one unit, left out"}},
           Case{
               R"("SHOAL_PORTS": {}, "SHOALPORT": {}, "shoal-unit": {}, "SHOAL_CORE": {},
                    "VLAN_SUB_INTERFACES": {}, "PORT_CHANNEL": {}, "SYSTEMPORT": {})",
               {"PORT_CHANNEL -: is not a known table, left out; did you mean PORTCHANNEL?",
                "SHOALPORT -: is not a known table, left out; did you mean SHOAL_PORT?",
                "SHOAL_CORE -: is not a known table, left out; there are SHOAL_UNIT and SHOAL_PORT",
                "SHOAL_PORTS -: is not a known table, left out; did you mean SHOAL_PORT?",
                "SYSTEMPORT -: is not a known table, left out; did you mean SYSTEM_PORT?",
                "VLAN_SUB_INTERFACES -: is not a known table, left out; did you mean "
                "VLAN_SUB_INTERFACE?",
                "shoal-unit -: is not a known table, left out; did you mean SHOAL_UNIT?"}},
           Case{R"("PORT": {"Ethernet0.1": {}, "Ethernet4.0": {}, "Ethernet0": {}})",
                {"PORT Ethernet0.1: is the name of a sub-interface, left out",
                 "PORT Ethernet4.0: is the name of a sub-interface, left out"}},
           Case{R"("PORTCHANNEL": {"PortChannel1": {"members": ["Ethernet0"]},
                                    "PortChannel2": {"members": ["Ethernet4, Ethernet0"]},
                                    "PortChannel3": {"members": "Ethernet8"},
                                    "PortChannel4": {"members": [7]}},
                    "PORTCHANNEL_MEMBER": {"PortChannel2|Ethernet4": {}, "PortChannel3|Ethernet8": {},
                                           "PortChannel4|Ethernet0": {}})",
                {"PORTCHANNEL PortChannel1: members has Ethernet0, which has no row in "
                 "PORTCHANNEL_MEMBER: it is not a member",
                 "PORTCHANNEL PortChannel2: members has Ethernet0, which has no row in "
                 "PORTCHANNEL_MEMBER: it is not a member",
                 "PORTCHANNEL PortChannel4: members is not a list of ports, left out"}},
           Case{R"("PORTCHANNEL": {"PortChannel1": {"members": []}},
                    "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}})",
                {"PORTCHANNEL PortChannel1: members lacks Ethernet0, which has a row in "
                 "PORTCHANNEL_MEMBER: the row is used"}},
           Case{R"("VLAN": {"Vlan10": {}, "Vlan20": {}},
                    "VLAN_MEMBER": {"Vlan10|Ethernet0": {}, "Vlan20|Ethernet0": {"tagging_mode": "untagged"},
                                    "Vlan20|Ethernet4": {"tagging_mode": "Tagged"},
                                    "Vlan20|Ethernet8": {"tagging_mode": "priority_tagged"}})",
                {"VLAN_MEMBER Vlan20|Ethernet0: Ethernet0 is untagged in Vlan10, left out",
                 "VLAN_MEMBER Vlan20|Ethernet4: tagging_mode Tagged is not tagged, untagged or "
                 "priority_tagged: taken as untagged"}},
           Case{R"("VLAN": {"Vlan10": {}}, "VXLAN_TUNNEL": {"t": {}},
                    "VXLAN_TUNNEL_MAP": {"t|a": {"vlan": "Vlan10"}, "t|b": {"vlan": "Vlan11"}, "t|c": {},
                                         "u|d": {"vlan": "Vlan10"}, "t": {}})",
                {"VXLAN_TUNNEL_MAP t: is not a key of two parts, left out",
                 "VXLAN_TUNNEL_MAP t|b: there is no Vlan11, left out",
                 "VXLAN_TUNNEL_MAP t|c: has no vlan, left out",
                 "VXLAN_TUNNEL_MAP u|d: there is no tunnel u, left out"}},
           Case{
               R"("PORT": {"Ethernet0": {"speed": 10000000000000000000000000}, "Ethernet4": {"speed": "99999999999999999999999"}})",
               {"PORT Ethernet0: speed 1e+25 is above 4294967295, left out",
                "PORT Ethernet4: speed 99999999999999999999999 is above 4294967295, left out"}},
       }) {
      std::string ports = R"("PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}})";
      bool own = tables.starts_with("\"PORT\"");
      auto got = texts(parseInventory("{" + tables + (own ? "" : "," + ports) + "}", "f"));
      std::sort(got.begin(), got.end());
      EXPECT_EQ(got, reports) << tables;
   }
   EXPECT_EQ(texts(parseInventory(R"({"localhost": {"PORT": {}, "SHOAL_UNITS": {}},
                                      "u|0": {"PORT": {}, "SHOAL_PROT": {}}})",
                                  "f")),
             (Lines{"SHOAL_UNITS -: is not a known table, left out; did you mean SHOAL_UNIT?",
                    "PORT -: describes interfaces of no unit: it belongs to a unit, left out",
                    "SHOAL_PROT -: is not a known table, left out; there are SHOAL_UNIT and "
                    "SHOAL_PORT"}));
}

TEST(InventoryReportTest, MembersFollowTheRowsAndOnePortIsUntaggedOnce) {
   Inventory inventory = parseInventory(R"({
      "PORT": {"Ethernet0": {}, "Ethernet4": {}},
      "PORTCHANNEL": {"PortChannel1": {"members": ["Ethernet0"]}},
      "VLAN": {"Vlan10": {}, "Vlan20": {}},
      "VLAN_MEMBER": {"Vlan10|Ethernet0": {}, "Vlan20|Ethernet0": {}, "Vlan20|Ethernet4": {"tagging_mode": "tagged"}}})",
                                        "f");
   EXPECT_TRUE(inventory.portChannels[0].members.empty());
   ASSERT_EQ(inventory.vlans.size(), 2U);
   EXPECT_EQ(inventory.vlans[0].members.size(), 1U);
   ASSERT_EQ(inventory.vlans[1].members.size(), 1U);
   EXPECT_TRUE(inventory.vlans[1].members[0].tagged);
}

TEST(InventoryReportTest, ATagThatIsNoneLeavesTheSubInterfaceWithoutTags) {
   for (char const* vlan : {"0", "4095", "\"4095\"", "\"ten\"", "-1", "null"}) {
      Inventory inventory = parseInventory(
          std::string(R"({"PORT": {"Ethernet0": {}}, "VLAN_SUB_INTERFACE": {
              "Ethernet0.7": {"vlan": )") +
              vlan + R"(, "inner_vlan": 5}, "Ethernet0.8": {"inner_vlan": )" + vlan + "}}}",
          "f");
      std::string shown(vlan);
      shown.erase(std::remove(shown.begin(), shown.end(), '"'), shown.end());
      EXPECT_EQ(texts(inventory), (Lines{"VLAN_SUB_INTERFACE Ethernet0.7: vlan " + shown +
                                             " is not a tag from 1 to 4094: it has no tags",
                                         "VLAN_SUB_INTERFACE Ethernet0.8: inner_vlan " + shown +
                                             " is not a tag from 1 to 4094: it has no inner tag"}));
      EXPECT_EQ(inventory.subInterfaces[0].outer, 0U);
      EXPECT_EQ(inventory.subInterfaces[0].inner, 0U);
      EXPECT_EQ(inventory.subInterfaces[1].outer, 8U);
      EXPECT_EQ(inventory.subInterfaces[1].inner, 0U);
   }
}

TEST(InventoryReportTest, KeysThatComeTwiceAreReportedWhereTheyStand) {
   Inventory inventory = parseInventory(
       R"({"PORT": {"Ethernet0": {"alias": "a"}, "Ethernet4": {},
                    "Ethernet0": {"alias": "b", "alias": "c", "lanes": [{"x": 1, "x": 2}, {"x": 1}]}},
           "NTP": 1, "NTP": 2})",
       "f");
   EXPECT_EQ(texts(inventory), (Lines{"PORT Ethernet0: comes twice; the later one is used",
                                      "PORT/Ethernet0 alias: comes twice; the later one is used",
                                      "PORT/Ethernet0/lanes x: comes twice; the later one is used",
                                      "- NTP: comes twice; the later one is used"}));
   EXPECT_EQ(inventory.ports[0].alias, "c");
}

// Every report on a published configuration is about an oddity that it has.
TEST(InventoryReportTest, PublishedConfigurationsGiveNoNoise) {
   struct Case {
      char const* file;
      Lines tables; // that have reports
   };
   for (auto const& [file, tables] :
        {Case{"01-two-unit-small", {"ACL_TABLE", "VLAN_MEMBER", "VLAN_SUB_INTERFACE"}},
         Case{"02-mixed-features-32port", {"ACL_TABLE", "VXLAN_TUNNEL_MAP"}},
         Case{"04-chassis-3card-lab", {"SYSTEM_PORT"}}, Case{"07-chassis-8card-assembled", {}}}) {
      std::string path = std::string("../shared/inventories/") + file + ".json";
      auto content = fileContent(path);
      if (!content) {
         GTEST_SKIP() << "no published configurations here";
      }
      Lines got;
      for (auto const& each : parseInventory(*content, path).diagnostics) {
         got.push_back(each.table);
      }
      std::sort(got.begin(), got.end());
      got.erase(std::unique(got.begin(), got.end()), got.end());
      EXPECT_EQ(got, tables) << path;
   }
}

} // namespace
} // namespace Agent
