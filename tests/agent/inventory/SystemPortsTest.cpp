#include "agent/inventory/SystemPorts.h"

#include "agent/inventory/FileContent.h"
#include "tests/agent/command/Scenario.h"
#include "tests/agent/inventory/Reports.h"

namespace Agent {
namespace {

// How a port is found in the hardware, by its bare name.
std::map<std::string, std::vector<uint32_t>> places(Inventory const& inventory, uint32_t fapId) {
   std::map<std::string, std::vector<uint32_t>> found;
   for (auto const& port : inventory.ports) {
      if (port.fapId == fapId) {
         found[port.name.substr(port.name.rfind('/') + 1)] = {port.core, port.corePort,
                                                              port.unitPort, port.systemPort};
      }
   }
   return found;
}

TEST(SystemPortsTest, ACardAloneHasThePlacesThatItHasInItsChassis) {
   for (char const* path : {"examples/chassis.json", "examples/eight-cards.json",
                            "../shared/inventories/04-chassis-3card-lab.json",
                            "../shared/inventories/07-chassis-8card-assembled.json"}) {
      auto content = fileContent(path);
      if (!content && std::string(path).starts_with("..")) {
         continue; // the published inventories are not everywhere
      }
      ConfigJson chassis = ConfigJson::parse(content.value());
      Inventory whole = parseInventory(*content, path);
      for (auto const& unit : whole.units) {
         ConfigJson card = chassis[unit.key];
         card["SYSTEM_PORT"] = chassis["localhost"]["SYSTEM_PORT"];
         for (bool numbered : {true, false}) {
            if (!numbered) {
               // By name alone, where the names agree.
               auto& facts = card["DEVICE_METADATA"]["localhost"];
               facts.erase("switch_id");
               facts["asic_name"] = unit.key.substr(unit.key.find('|') + 1);
            }
            Inventory alone = parseInventory(card.dump(), "card");
            ASSERT_EQ(alone.units.size(), 1U);
            EXPECT_EQ(alone.units[0].fapId, unit.fapId) << path << " " << unit.key;
            EXPECT_EQ(places(alone, unit.fapId), places(whole, unit.fapId))
                << path << " " << unit.key << " " << numbered;
         }
      }
   }
}

// A card of one port, the rest of DEVICE_METADATA's fields, and rows of SYSTEM_PORT.
Inventory card(std::string const& metadata, std::string const& rows) {
   return parseInventory("{\"DEVICE_METADATA\": {\"localhost\": {" + metadata +
                             "}}, \"PORT\": {\"Ethernet0\": {}}, \"SYSTEM_PORT\": {" + rows + "}}",
                         "f");
}

std::string row(std::string const& key, int id, int unit, int core, int corePort) {
   return "\"" + key + "\": {\"system_port_id\": " + std::to_string(id) +
          ", \"switch_id\": " + std::to_string(unit) + ", \"core_index\": " + std::to_string(core) +
          ", \"core_port_index\": " + std::to_string(corePort) + "}";
}

TEST(SystemPortsTest, TheUnitOfARowIsItsNameElseItsSwitchId) {
   using Lines = std::vector<std::string>;
   std::string named = R"("hostname": "lc1", "asic_name": "a0")";
   struct Case {
      std::string metadata, rows;
      uint32_t systemPort, fapId;
      Lines reports;
   };
   for (auto const& each : {
            Case{named, row("lc1|a0|Ethernet0", 9, 4, 1, 3), 9, 4, {}},
            Case{R"("hostname": "lc1")", row("lc1|Ethernet0", 9, 4, 1, 3), 9, 4, {}},
            // The name is before the number.
            Case{named + R"(, "switch_id": 4)",
                 row("lc1|a0|Ethernet0", 9, 4, 1, 3) + "," + row("lc1|a1|Ethernet0", 8, 4, 1, 2),
                 9,
                 4,
                 {"SYSTEM_PORT lc1|a1|Ethernet0: unit0 has another row for this port, left out"}},
            Case{named + R"(, "switch_id": 4)",
                 row("x|y|Ethernet0", 9, 4, 1, 3),
                 9,
                 4,
                 {"SYSTEM_PORT x|y|Ethernet0: x|y names no unit of this file; by its switch_id it "
                  "is taken as unit0"}},
            Case{named,
                 row("lc2|a0|Ethernet0", 9, 4, 1, 3),
                 0,
                 0,
                 {"SYSTEM_PORT lc2|a0|Ethernet0: unit 4 is known by its system ports only",
                  "SYSTEM_PORT -: no row is for lc1|a0: ports are placed and numbered without "
                  "them"}},
            // A free number is no row's.
            Case{"",
                 row("lc2|a0|Ethernet0", 0, 0, 1, 3),
                 1,
                 1,
                 {"SYSTEM_PORT lc2|a0|Ethernet0: unit 0 is known by its system ports only",
                  "SYSTEM_PORT -: DEVICE_METADATA has no hostname or switch_id to find the unit's "
                  "rows by: ports are placed and numbered without them"}},
            // The CPU's port has no row in PORT.
            Case{named,
                 row("lc1|a0|Ethernet0", 9, 4, 1, 3) + "," + row("lc1|a0|cpu0", 1, 4, 0, 0) + "," +
                     row("lc1|a0|Ethernet4", 2, 4, 0, 1) + "," + row("lc1|a0|Eth", 3, 4, 0, 2),
                 9,
                 4,
                 {"SYSTEM_PORT lc1|a0|Eth: there is no port Eth, left out",
                  "SYSTEM_PORT lc1|a0|Ethernet4: there is no port Ethernet4, left out"}},
        }) {
      Inventory inventory = card(each.metadata, each.rows);
      EXPECT_EQ(inventory.ports[0].systemPort, each.systemPort) << each.rows;
      EXPECT_EQ(inventory.units[0].fapId, each.fapId) << each.rows;
      EXPECT_EQ(texts(inventory), each.reports) << each.rows;
   }
   // Units by "asicN" have the host's name in DEVICE_METADATA, and may repeat the table.
   std::string table = R"("SYSTEM_PORT": {)" + row("h|a1|Ethernet0", 7, 2, 1, 5) + "}";
   Inventory several = parseInventory(
       R"({"asic1": {"DEVICE_METADATA": {"localhost": {"hostname": "h", "asic_name": "a1"}},
          "PORT": {"Ethernet0": {}}, )" +
           table + "}, \"asic2\": {\"PORT\": {}, " + table + "}}",
       "f");
   EXPECT_EQ(several.ports[0].systemPort, 7U);
   EXPECT_EQ(texts(several), std::vector<std::string>());
}

TEST(SystemPortsTest, PlacesThatDoNotFitAreReported) {
   auto unit = [](std::string const& ports, std::string const& rows) {
      return parseInventory(R"({"DEVICE_METADATA": {"localhost": {"hostname": "h"}}, "PORT": {)" +
                                ports + R"(}, "SYSTEM_PORT": {)" + rows + "}}",
                            "f");
   };
   struct Case {
      std::string ports, rows;
      std::vector<uint32_t> unitPorts;
      std::string report;
   };
   std::string two = R"("Ethernet0": {}, "Ethernet4": {})";
   for (auto const& [ports, rows, unitPorts, report] : {
            Case{two,
                 row("h|Ethernet0", 1, 0, 1, 64) + "," + row("h|Ethernet4", 2, 0, 0, 1),
                 {64, 1},
                 "SYSTEM_PORT h|Ethernet0: core_port_index 64 is above 63: the unit port is 64, as "
                 "core ports do not repeat on the unit"},
            Case{two + R"(, "Ethernet8": {})",
                 row("h|Ethernet0", 1, 0, 0, 1) + "," + row("h|Ethernet4", 2, 0, 1, 1) + "," +
                     row("h|Ethernet8", 3, 0, 0, 70),
                 {0, 1, 2},
                 "SYSTEM_PORT h|Ethernet8: core_port_index 70 is above 63: the unit port is 2, its "
                 "number in the order of names"},
            Case{R"("Ethernet0": {"core_id": 1, "core_port_id": 5},
                    "Ethernet4": {"core_id": 1, "core_port_id": 5})",
                 "",
                 {0, 1},
                 "PORT Ethernet4: core and core port are those of Ethernet0: the unit ports are "
                 "numbers in the order of names"},
            Case{R"("Ethernet0": {"core_id": 1, "core_port_id": 5})",
                 row("h|Ethernet0", 1, 0, 0, 5),
                 {5},
                 "PORT Ethernet0: its system port is on core 0, core port 5, which is used"},
        }) {
      Inventory inventory = unit(ports, rows);
      std::vector<uint32_t> got;
      for (auto const& port : inventory.ports) {
         got.push_back(port.unitPort);
      }
      EXPECT_EQ(got, unitPorts) << report;
      EXPECT_EQ(texts(inventory), std::vector<std::string>{report});
   }
}

// Ports that found no room on their unit leave no trace on those of the next one.
TEST(SystemPortsTest, PortsWithoutRoomTakeNobodysSystemPort) {
   std::string ports = "\"Ethernet0\": {}";
   for (int i = 1; i < 300; ++i) {
      ports += ",\"Ethernet" + std::to_string(i) + "\": {}";
   }
   Inventory inventory =
       parseInventory("{\"localhost\": {\"SYSTEM_PORT\": {" + row("b|0|Ethernet1", 5000, 1, 1, 3) +
                          "}}, \"a|0\": {\"PORT\": {" + ports +
                          "}}, \"b|0\": {\"PORT\": {\"Ethernet0\": {}, \"Ethernet1\": {}}}}",
                      "f");
   EXPECT_EQ(inventory.ports[256].systemPort, 256U);
   EXPECT_EQ(inventory.ports[257].systemPort, 5000U);
}

TEST(SystemPortsTest, ShowPortsHasTheCoreWithThePlace) {
   Result result =
       run("show ports\nport-map Ethernet0 none\nshow ports\n", {},
           R"({"PORT": {"Ethernet0": {"core_id": 1, "core_port_id": 3}, "Ethernet4": {}}})");
   EXPECT_EQ(result.code, 0) << result.errors;
   EXPECT_THAT(result.out, testing::ContainsRegex("port +system port +unit +unit port +core"));
   EXPECT_THAT(result.out, testing::ContainsRegex("Ethernet0 +0 +0 +3 +1 "));
   EXPECT_THAT(result.out, testing::ContainsRegex("Ethernet4 +1 +0 +1 +0 "));
   EXPECT_THAT(result.out, testing::ContainsRegex("Ethernet0 +0 +- +- +- "));
}

} // namespace
} // namespace Agent
