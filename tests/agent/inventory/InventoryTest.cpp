#include "host/world/InterfaceName.h"

#include "agent/host/AgentHost.h"
#include "agent/inventory/InventoryReader.h"
#include "tests/agent/inventory/Reports.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace Agent {
namespace {

template<class List>
auto const& named(List const& list, std::string const& name) {
   auto found =
       std::find_if(list.begin(), list.end(), [&](auto const& each) { return each.name == name; });
   if (found == list.end()) {
      throw std::runtime_error("no " + name);
   }
   return *found;
}

TEST(InterfaceNameTest, ShortFormsPaddingAndSubInterfaces) {
   EXPECT_EQ(longName("Eth0.10"), "Ethernet0.10");
   EXPECT_EQ(longName("lc1/asic0/Po1.20"), "lc1/asic0/PortChannel1.20");
   EXPECT_EQ(longName("PortChannel0001"), "PortChannel0001");
   EXPECT_EQ(longName("Ethernet-BP4"), "Ethernet-BP4");
   EXPECT_EQ(longName("Pool"), "Pool");
   EXPECT_EQ(parseSubInterface("Po01.99999999")->parent, "PortChannel01");
   EXPECT_EQ(parseSubInterface("Po1.99999999")->id, 99999999U);
   for (char const* no :
        {"Eth0", "Eth0.0", "Eth0.100000000", "Eth0.1x", ".5", "Eth0.", "Eth0.000000010"}) {
      EXPECT_FALSE(parseSubInterface(no)) << no;
   }
   EXPECT_EQ(parseVlanName("Vlan4095"), 4095U);
   EXPECT_FALSE(parseVlanName("Vlan010"));
   std::vector<std::string> names{"Ethernet12", "Ethernet4", "Ethernet-BP0", "Ethernet04", "E"};
   std::sort(names.begin(), names.end(), naturalLess);
   EXPECT_EQ(names, (std::vector<std::string>{"E", "Ethernet-BP0", "Ethernet04", "Ethernet4",
                                              "Ethernet12"}));
}

TEST(InventoryTest, MalformedJsonNamesThePlace) {
   struct Case {
      char const* content;
      char const* text;
   };
   for (auto const& [content, text] : {
            Case{"", "f:1:1: error: the file is empty"},
            Case{" \n", "f:1:1: error: the file is empty"},
            Case{"{\n  \"PORT\": {,}\n}", "f:2:12: error: ',' is not valid JSON here"},
            Case{"{\"PORT\": {}} x", "f:1:14: error: 'x' is not valid JSON here"},
            Case{"{\"PORT\" \"x\"}", "f:1:9: error: '\"x\"' is not valid JSON here"},
            Case{"{\"a\": tru}", "f:1:10: error: '}' is not valid JSON here"},
            Case{"{\"a\":\n [1, 2", "f:2:7: error: the file ends before its JSON does"},
            Case{"{\"a\": \"b", "f:1:9: error: the file ends before its JSON does"},
            Case{"{\"a\": 1 true}", "f:1:9: error: 'true' is not valid JSON here"},
            Case{"[]", "f:1:1: error: the file is not a JSON object of tables"},
            Case{"{\"a\": \"\xff\"}", "f:1:8: error: the string is not UTF-8 text at byte 0xff"},
            Case{"{\"a\": \"\xc3(\"}", "f:1:9: error: the string is not UTF-8 text at byte 0x28"},
            Case{"{\"a\n\": 1}", "f:1:4: error: the string does not end on its line"},
            Case{"{\"a\x01\": 1}",
                 "f:1:4: error: the string has an unescaped control character, 0x01"},
            Case{"{\"\\q\": 1}", "f:1:4: error: the string has an escape that is not valid"},
            Case{"{\"a\": 1e999}", "f:1:7: error: the number '1e999' is too large"},
            Case{"\xff\xfe{", "f:1:1: error: the file is UTF-16; only UTF-8 is read"},
            Case{"\x7f"
                 "ELF\x02",
                 "f:1:1: error: '<0x7f>' is not valid JSON here"},
        }) {
      try {
         parseInventory(content, "f");
         ADD_FAILURE() << content;
      } catch (InventoryError const& error) {
         EXPECT_STREQ(error.what(), text);
      }
   }
   auto failure = [](auto const& read) -> std::string {
      try {
         read();
         return "read";
      } catch (InventoryError const& error) {
         return error.what();
      }
   };
   using namespace std::string_literals;
   for (auto const& [content, text] :
        {std::pair("{\0\"\0"s,
                   "f:1:2: error: the file is UTF-16, UTF-32 or binary; only UTF-8 text is read"),
         std::pair("{\"PORT\": {}}\n\0{"s,
                   "f:2:1: error: the file has a NUL byte; only UTF-8 text is read")}) {
      EXPECT_EQ(failure([&file = content] { parseInventory(file, "f"); }), text);
   }
   EXPECT_EQ(failure([] { readInventory("/nonexistent"); }),
             "/nonexistent: error: cannot be read: No such file or directory");
   EXPECT_EQ(failure([] { readInventory("/"); }), "/: error: cannot be read: Is a directory");
   std::string deep(100000, '[');
   EXPECT_THROW(parseInventory("{\"PORT\": " + deep, "f"), InventoryError);
}

TEST(InventoryTest, AnyShapeOfJsonIsReadOrReported) {
   // Every table with every wrong kind of value, in single-unit and multi-unit files.
   for (char const* value : {"null", "7", "-1", "\"x\"", "[1,[2]]", "true", "{\"k\": null}",
                             "{\"k\": [\"a\"]}", "{\"a|b|c\": {}, \"|\": {}, \"\": {}}",
                             "{\"k\": {\"vlan\": [], \"ports\": {}, "
                             "\"switch_id\": {}, \"system_port_id\": -3}}"}) {
      for (char const* table :
           {"PORT", "SYSTEM_PORT", "PORTCHANNEL", "PORTCHANNEL_MEMBER", "VLAN", "VLAN_MEMBER",
            "VLAN_SUB_INTERFACE", "INTERFACE", "PORTCHANNEL_INTERFACE", "VLAN_INTERFACE",
            "VXLAN_TUNNEL", "TUNNEL", "DEVICE_METADATA", "ACL_TABLE", "SHOAL_UNIT", "SHOAL_PORT"}) {
         std::string row = std::string("\"") + table + "\": " + value;
         EXPECT_NO_THROW(parseInventory("{" + row + ", \"INTERFACE\": {}}", "f")) << row;
         EXPECT_NO_THROW(
             parseInventory("{\"localhost\": {" + row + "}, \"u|0\": {" + row + "}}", "f"))
             << row;
      }
   }
}

TEST(InventoryTest, UnitsNamesAndPlaces) {
   Inventory inventory = parseInventory(R"({
     "localhost": {"SYSTEM_PORT": {
        "lc2|a0|Ethernet0": {"system_port_id": "0", "switch_id": "6", "core_index": "0", "core_port_index": "1"},
        "lc2|a0|Ethernet4": {"system_port_id": 7, "switch_id": 6, "core_index": 1, "core_port_index": 1},
        "lc9|a0|Ethernet0": {"system_port_id": 8, "switch_id": 9, "core_index": 0, "core_port_index": 1},
        "lc9|a0|Ethernet4": {"system_port_id": 9, "switch_id": 9, "core_index": 0, "core_port_index": 2}},
       "SHOAL_UNIT": {"lc2|a0": {"ext_lkup_type": "4"}, "77": {"fap_type": 2}}},
     "lc10|a0": {"PORT": {"Ethernet0": {"core_id": "1", "core_port_id": "3"}, "Ethernet4": {}}},
     "lc2|a0": {"DEVICE_METADATA": {"localhost": {"switch_id": "6"}},
                "PORT": {"Ethernet4": {"alias": "E2"}, "Ethernet0": {}},
                "SHOAL_PORT": {"Ethernet4": {"vlan_domain": 1}}}})",
                                        "f");
   ASSERT_EQ(inventory.units.size(), 2U);
   EXPECT_EQ(inventory.units[0].name, "lc2/a0");
   EXPECT_EQ(inventory.units[0].fapId, 6U);
   EXPECT_EQ(inventory.units[0].extLkupType, 4U);
   EXPECT_EQ(inventory.units[1].fapId, 0U) << "a free id where none is given";
   // Core ports repeat per core: the core is part of the place.
   EXPECT_EQ(named(inventory.ports, "lc2/a0/Ethernet0").unitPort, 1U);
   EXPECT_EQ(named(inventory.ports, "lc2/a0/Ethernet4").unitPort, 65U);
   EXPECT_EQ(named(inventory.ports, "lc2/a0/Ethernet4").systemPort, 7U);
   EXPECT_EQ(named(inventory.ports, "lc2/a0/Ethernet4").vlanDomain, 1U);
   EXPECT_EQ(named(inventory.ports, "lc2/a0/Ethernet0").vlanDomain, 2U);
   EXPECT_EQ(named(inventory.ports, "lc10/a0/Ethernet0").unitPort, 3U);
   // Free system ports: 0, 7, 8, 9 are taken.
   EXPECT_EQ(named(inventory.ports, "lc10/a0/Ethernet0").systemPort, 1U);
   EXPECT_EQ(named(inventory.ports, "lc10/a0/Ethernet4").systemPort, 2U);
   EXPECT_EQ(inventory.systemPorts, 4U);
   EXPECT_EQ(texts(inventory),
             (std::vector<std::string>{
                 "SYSTEM_PORT lc9|a0|Ethernet0: unit 9 is known by its system ports only",
                 "SHOAL_UNIT 77: names no unit of this file"}));

   EXPECT_EQ(inventory.find("lc2/a0/Eth0").name, "lc2/a0/Ethernet0");
   EXPECT_EQ(inventory.find("Ethernet0").candidates,
             (std::vector<std::string>{"lc2/a0/Ethernet0", "lc10/a0/Ethernet0"}));
   EXPECT_EQ(inventory.find("lc3/a0/Ethernet0").name, "") << "another unit's port is not meant";
   EXPECT_EQ(inventory.find("Ethernet5").candidates.size(), 4U) << "one letter off";
}

TEST(InventoryTest, WhatIsMissingOrContradictoryIsReportedAndTheRestLoads) {
   Inventory inventory = parseInventory(R"({
     "DEVICE_METADATA": {"localhost": {"switch_id": 3000}},
     "PORT": {"Ethernet0": {}, "Ethernet4": {"speed": "fast"}, "Ethernet8": {}, "Ethernet8-L3Flood": {}, "Eth12": {},
              "Ethernet0": {}, "PortChannel1": {}, "Vlan10": {}},
     "PORTCHANNEL": {"PortChannel1": {}, "PortChannel0001": {}, "PortChannel1.5": {}, "Lag": {}},
     "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}, "PortChannel0001|Ethernet0": {},
                            "PortChannel1|Ethernet99": {}, "PortChannel7|Ethernet4": {}, "x": {}},
     "VLAN": {"Vlan10": {"vlanid": "11"}, "Vlan4094": {}, "Vlan5000": {}, "Vlan4092": {}},
     "VLAN_MEMBER": {"Vlan10|Ethernet0": {"tagging_mode": "tagged"}, "Vlan99|Ethernet4": {}, "Vlan10|Ethernet77": {}},
     "VLAN_SUB_INTERFACE": {"Po1.20": {}, "Ethernet8.5000": {}, "Ethernet8.7": {"vlan": "5", "inner_vlan": "6"},
                            "Ethernet4.8|1.2.3.4/31": {}, "Ethernet77.1": {}, "Eth8.7": {}, "Ethernet0.3": {}},
     "INTERFACE": {"Ethernet4|10.0.0.0/31": {}, "Ethernet8": {}, "Ethernet88": {}},
     "PORTCHANNEL_INTERFACE": {"PortChannel0001": {}},
     "VLAN_INTERFACE": {"Vlan10": {}, "Vlan10|1.1.1.1/24": {}, "Vlan12": {}},
     "VXLAN_TUNNEL": {"vtep": {}}, "TUNNEL": {"vtep": {}, "mux": {}},
     "ACL_TABLE": {"A": {"ports": ["Ethernet4", "PortChannel0017", 5]}}})",
                                        "f");
   std::vector<std::string> expected{
       "PORT Ethernet0: comes twice; the later one is used",
       "DEVICE_METADATA localhost: switch_id 3000 is above 2047, left out",
       "PORT Eth12: is a short name, left out",
       "PORT Ethernet4: speed is not a number, left out",
       "PORT PortChannel1: is not the name of a port, left out",
       "PORT Vlan10: is not the name of a port, left out",
       "PORT Ethernet8-L3Flood: L3Flood is reserved for flood entries, left out",
       "PORTCHANNEL Lag: is not the name of a port-channel, left out",
       "PORTCHANNEL PortChannel1.5: is not the name of a port-channel, left out",
       "PORTCHANNEL_MEMBER PortChannel1|Ethernet0: Ethernet0 is a member of PortChannel0001",
       "PORTCHANNEL_MEMBER PortChannel1|Ethernet99: there is no port Ethernet99",
       "PORTCHANNEL_MEMBER PortChannel7|Ethernet4: there is no port-channel PortChannel7",
       "PORTCHANNEL_MEMBER x: is not a key of two parts, left out",
       "VLAN Vlan10: vlanid 11 is not that of the name, which is used",
       "VLAN Vlan5000: is not a name from Vlan1 to Vlan4094, left out",
       "VLAN_MEMBER Vlan10|Ethernet77: there is no port or port-channel Ethernet77",
       "VLAN_MEMBER Vlan99|Ethernet4: there is no Vlan99",
       "VLAN_SUB_INTERFACE Ethernet0.3: Ethernet0 is a member of PortChannel0001",
       "VLAN_SUB_INTERFACE Ethernet4.8|1.2.3.4/31: has an address but no row of its own",
       "VLAN_SUB_INTERFACE Ethernet8.7: is present in another form of its name",
       "VLAN_SUB_INTERFACE Ethernet8.5000: has no vlan, and its id is not a tag",
       "VLAN_SUB_INTERFACE Ethernet77.1: there is no port or port-channel Ethernet77, left out",
       "INTERFACE Ethernet88: there is no port or port-channel Ethernet88",
       "VLAN_INTERFACE Vlan12: there is no Vlan12",
       "TUNNEL vtep: is the name of another tunnel, left out",
       "VLAN_MEMBER Ethernet0: is a member of PortChannel0001 and of a VLAN",
       "ACL_TABLE A: there is no port or port-channel PortChannel0017",
       "ACL_TABLE A: a port is not a name",
   };
   auto got = texts(inventory);
   std::sort(got.begin(), got.end());
   std::sort(expected.begin(), expected.end());
   EXPECT_EQ(got, expected);

   EXPECT_EQ(named(inventory.subInterfaces, "PortChannel1.20").outer, 20U);
   EXPECT_EQ(named(inventory.subInterfaces, "Ethernet8.5000").outer, 0U);
   EXPECT_EQ(named(inventory.subInterfaces, "Ethernet4.8").outer, 8U);
   // Internal VLANs are taken from the top, around configured VLANs.
   std::vector<uint32_t> internal;
   for (auto const& each : inventory.routedPorts) {
      internal.push_back(each.internalVlan);
   }
   EXPECT_EQ(internal, (std::vector<uint32_t>{4093, 4091, 4090}));
   EXPECT_EQ(inventory.tunnels.size(), 2U);
   EXPECT_EQ(named(inventory.tunnels, "Tunnel-mux").fapId, 0U);
}

TEST(InventoryTest, WhatNoCommandCouldNameOrNoTableHasIsReported) {
   Inventory inventory = parseInventory(R"({
     "PORTS": {"Ethernet0": {}}, "own": {"PORT": {}}, "17": {"PORT": {}}, "a b": {"PORT": {}},
     "a#b": {"PORT": {}}, "": {"PORT": {}}, "a\nb": {"PORT": {}},
     "localhost": {"SHOAL_PORT": {"Ethernet0": {"vlan_domain": 7}}},
     "u|0": {"SHOAL_UNIT": {"u|0": {"fap_typ": 2, "ext_lkup_type": 4}},
             "SHOAL_PORT": {"Ethernet0": {"domain": 7}}, "NTP": {"x": {"y": "z"}},
             "PORT": {"Ethernet0": {"core_id": "3", "speed": "100000", "mtu": "9100"},
                      "Ethernet1\u001b[2J": {}, "Ethernet4": {"core_id": "1"}}}})",
                                        "f");
   auto got = texts(inventory);
   std::sort(got.begin(), got.end());
   EXPECT_EQ(got, (std::vector<std::string>{
                      "- 17: is not the name of a unit, left out",
                      "- : is not the name of a unit, left out",
                      "- PORTS: has no table of a unit, left out",
                      "- a b: is not the name of a unit, left out",
                      "- a#b: is not the name of a unit, left out",
                      "- a\\x0ab: is not the name of a unit, left out",
                      "- own: is not the name of a unit, left out",
                      "PORT Ethernet0: a unit has cores 0 to 1: core 3 is taken as 1",
                      "PORT Ethernet1\\x1b[2J: is not the name of an interface, left out",
                      "SHOAL_PORT -: names ports of no unit: it belongs to a unit, left out",
                      "SHOAL_PORT Ethernet0: domain is not a field of this table, left out",
                      "SHOAL_UNIT u|0: fap_typ is not a field of this table, left out",
                  }));
   EXPECT_EQ(inventory.units.size(), 1U);
   EXPECT_EQ(texts(parseInventory("{}", "f")),
             std::vector<std::string>{"- -: the file has no unit"});
}

TEST(InventoryTest, PlacesAreUniqueAlsoWhereTheFileRepeatsThem) {
   std::string ports;
   for (int i = 0; i < 300; ++i) {
      ports += (i == 0 ? "" : ",") + ("\"Ethernet" + std::to_string(i)) +
               "\": {\"core_id\": 0, \"core_port_id\": 5}";
   }
   Inventory inventory = parseInventory("{\"PORT\": {" + ports + "}}", "f");
   std::set<uint32_t> places;
   std::set<uint32_t> systemPorts;
   std::set<uint32_t> domains;
   for (auto const& port : inventory.ports) {
      EXPECT_TRUE(places.insert(port.unitPort).second);
      EXPECT_TRUE(systemPorts.insert(port.systemPort).second);
      EXPECT_TRUE(port.vlanDomain == 0 || domains.insert(port.vlanDomain).second);
   }
   EXPECT_EQ(places.size(), 256U);
   EXPECT_EQ(domains.size(), 254U);
   // And one that the places repeat.
   EXPECT_EQ(inventory.diagnostics.size(), 300U - 256 + 256 - 254 + 1);
}

TEST(InventoryTest, WhatFindsNoRoomInTheChassisIsLeftOutAndTheSwitchIsBuilt) {
   // 2051 units for 2048 ids, "u|0" named like "u/0", 63 * 256 + 1983 ports for 16384 system ports.
   std::string units = R"("u/0": {"PORT": {}})";
   for (int i = 0; i < 2050; ++i) {
      std::string ports = "\"Ethernet" + std::string(400, '.') + "\": {}";
      for (int j = 0; j < (i < 64 ? 256 : 1); ++j) {
         ports += ",\"Ethernet" + std::to_string(j) + "\": {}";
      }
      units += ",\"u|" + std::to_string(i) + "\": {\"PORT\": {" + ports + "}}";
   }
   Inventory inventory = parseInventory("{" + units + "}", "f");
   EXPECT_EQ(inventory.units.size(), 2047U);
   std::map<std::string, int> reports;
   for (auto const& each : inventory.diagnostics) {
      ++reports[each.text];
   }
   EXPECT_EQ(reports["no unit id is left for it, left out"], 3);
   EXPECT_EQ(reports["u/0 is the name of another unit, left out"], 1);
   EXPECT_EQ(reports["no system port is left for it"], 63 * 256 + 1983 - 16384);
   EXPECT_EQ(reports["is not the name of an interface, left out"], 2046);
   AgentHost host(std::move(inventory));
   EXPECT_EQ(host.world().shoalStatus->sysPhyPortIds(), 16384U);
}

// How much a file has.
struct Size {
   char const* path;
   std::size_t units, ports, systemPorts, lags, members, subInterfaces;
};
void expectSize(Inventory const& inventory, Size const& size) {
   std::size_t members = 0;
   for (auto const& lag : inventory.portChannels) {
      members += lag.members.size();
   }
   EXPECT_EQ(inventory.units.size(), size.units) << size.path;
   EXPECT_EQ(inventory.ports.size(), size.ports) << size.path;
   EXPECT_EQ(inventory.systemPorts, size.systemPorts) << size.path;
   EXPECT_EQ(inventory.portChannels.size(), size.lags) << size.path;
   EXPECT_EQ(members, size.members) << size.path;
   EXPECT_EQ(inventory.subInterfaces.size(), size.subInterfaces) << size.path;
}

TEST(InventoryTest, TheExamplesReadAsDescribedWithoutAReport) {
   for (auto const& size : {Size{"examples/chassis.json", 5, 68, 68, 9, 23, 146},
                            Size{"examples/eight-cards.json", 10, 380, 390, 30, 70, 280}}) {
      Inventory inventory = readInventory(size.path);
      EXPECT_EQ(texts(inventory), std::vector<std::string>{}) << size.path;
      expectSize(inventory, size);
   }
   Inventory inventory = readInventory("examples/eight-cards.json");
   auto twoTags = std::count_if(inventory.subInterfaces.begin(), inventory.subInterfaces.end(),
                                [](auto const& each) { return each.inner != 0; });
   auto inLif = std::count_if(inventory.units.begin(), inventory.units.end(),
                              [](auto const& unit) { return unit.fapType == 2; });
   EXPECT_EQ(twoTags, 20);
   EXPECT_EQ(inLif, 4);
   EXPECT_EQ(inventory.vlans.size(), 20U);
   EXPECT_EQ(inventory.vlanInterfaces.size(), 10U);
   EXPECT_EQ(inventory.routedPorts.size(), 40U);
   EXPECT_EQ(inventory.tunnels.size(), 4U);
   // Where core ports repeat on each core.
   auto unitPort = [&](std::string const& name) {
      auto port = std::find_if(inventory.ports.begin(), inventory.ports.end(),
                               [&](auto const& each) { return each.name == name; });
      return port == inventory.ports.end() ? 0 : port->unitPort;
   };
   EXPECT_EQ(unitPort("card7/npu0/Ethernet232"), 30U);
   EXPECT_EQ(unitPort("card7/npu0/Ethernet236"), 64U + 30);
}

TEST(InventoryTest, PublishedConfigurationsReadAsDescribed) {
   for (auto const& size :
        {Size{"../shared/inventories/01-two-unit-small.json", 2, 9, 0, 3, 6, 6},
         Size{"../shared/inventories/02-mixed-features-32port.json", 1, 32, 0, 5, 5, 3},
         Size{"../shared/inventories/04-chassis-3card-lab.json", 2, 64, 99, 2, 4, 0},
         Size{"../shared/inventories/07-chassis-8card-assembled.json", 9, 388, 396, 72, 104,
              106}}) {
      if (!std::filesystem::exists(size.path)) {
         GTEST_SKIP() << "no published configurations here";
      }
      expectSize(readInventory(size.path), size);
   }
}

} // namespace
} // namespace Agent
