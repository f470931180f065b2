// What patterns and `own` name, and what commands tell of it.
#include "agent/command/Registry.h"
#include "tests/agent/command/Scenario.h"

namespace Agent {
namespace {

using testing::HasSubstr;

TEST(NamingTest, APatternNamesWhatItsStarsMayMatch) {
   AgentHost host(parseInventory(R"({
  "u.1|0": {"PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}},
            "PORTCHANNEL": {"PortChannel1": {}, "PortChannel10": {}},
            "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet8": {}}, "INTERFACE": {"Ethernet4": {}},
            "VLAN_SUB_INTERFACE": {"Ethernet0.5": {}, "PortChannel1.7": {}}},
  "u|1": {"PORT": {"Ethernet0": {}}, "VLAN_SUB_INTERFACE": {"Ethernet0.5": {}}, "VXLAN_TUNNEL": {"t.a": {}}}
})",
                                 "test"));
   struct Case {
      char const* pattern;
      std::vector<std::string> names;
   };
   for (auto const& [pattern, names] : {
            Case{"*",
                 {"u/1/Ethernet0", "u/1/Ethernet0.5", "u/1/Tunnel-t.a", "u.1/0/Ethernet0",
                  "u.1/0/Ethernet0.5", "u.1/0/Ethernet4", "u.1/0/Ethernet8", "u.1/0/PortChannel1",
                  "u.1/0/PortChannel1.7", "u.1/0/PortChannel10"}},
            Case{"u/*", {"u/1/Ethernet0", "u/1/Ethernet0.5", "u/1/Tunnel-t.a"}},
            Case{"u.1/?/*",
                 {"u.1/0/Ethernet0", "u.1/0/Ethernet0.5", "u.1/0/Ethernet4", "u.1/0/Ethernet8",
                  "u.1/0/PortChannel1", "u.1/0/PortChannel1.7", "u.1/0/PortChannel10"}},
            Case{"u.1/0/PortChannel1*", {"u.1/0/PortChannel1", "u.1/0/PortChannel10"}},
            Case{"u.1/0/PortChannel1*.*", {"u.1/0/PortChannel1.7"}},
            Case{"u.1/0/Ethernet0.*", {"u.1/0/Ethernet0.5"}},
            Case{"u.1/0/Ethernet?", {"u.1/0/Ethernet0", "u.1/0/Ethernet4", "u.1/0/Ethernet8"}},
            Case{"u.1/0/Ethernet0?5", {}},
            Case{"*/Ethernet0", {"u/1/Ethernet0", "u.1/0/Ethernet0"}},
            Case{"u*Ethernet*.5", {"u/1/Ethernet0.5", "u.1/0/Ethernet0.5"}},
            Case{"*Channel*.*", {"u.1/0/PortChannel1.7"}},
            Case{"*Tunnel-t.*", {"u/1/Tunnel-t.a"}},
            Case{"*-L3Flood", {"u.1/0/Ethernet4-L3Flood"}},
            Case{"u.1/0/Ethernet*-L3Flood", {"u.1/0/Ethernet4-L3Flood"}},
            Case{"u.1/0/Ethernet0*-L3Flood", {}},
        }) {
      std::vector<std::string> found;
      try {
         for (IntfId intf : host.world().interfaces(pattern)) {
            found.push_back(intf.name());
         }
      } catch (CommandError const& error) {
         EXPECT_THAT(error.what(), HasSubstr("no interface matches")) << pattern;
      }
      EXPECT_THAT(found, testing::UnorderedElementsAreArray(names)) << pattern;
   }
   // What is asked for already may be a flood entry.
   IntfId flood = host.world().interface("u.1/0/Ethernet4-L3Flood");
   EXPECT_TRUE(World::matches("*", flood) && World::matches("u.1/0/*", flood) &&
               World::matches("*4-L3Flood", flood));
   EXPECT_FALSE(World::matches("*Ethernet*", flood) || World::matches("u/*", flood));
}

// One unit, whose names stand without it.
constexpr char const* routed = R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
   "INTERFACE": {"Ethernet4": {}}, "VLAN_SUB_INTERFACE": {"Ethernet0.5": {"vlan": 5}}})";

TEST(NamingTest, AStarWithdrawsAllThatIsAskedFor) {
   // To ask takes the flood entry by its name; to withdraw finds it with its VLANs.
   Result result = run("request acl * own 3\nexpect count merged 3\n"
                       "request acl Ethernet4-L3Flood own 4\n"
                       "request acl *-L3Flood own flood 77 5\nsettle\nexpect count merged 5\n"
                       "expect status acl *-L3Flood own flood 77 success qos=5\n"
                       "withdraw acl Ethernet* own\nsettle\nexpect count merged 3\n"
                       "withdraw acl * own\nsettle\nexpect count merged 0\n"
                       "expect status acl * own none\nwithdraw acl * own",
                       {}, routed);
   EXPECT_EQ(result.errors, "s:15: error: acl asks for nothing there\n");
   // An internal VLAN that is gone does not keep what was asked for with it.
   result = run("request acl Ethernet4-L3Flood own 4\ninternal-vlan Ethernet4 none\nsettle\n"
                "withdraw acl *-L3Flood own\nexpect count merged 0",
                {}, routed);
   EXPECT_EQ(result.errors, "");
}

TEST(NamingTest, OwnWithdrawsFromTheUnitsThatAPortChannelHasLeft) {
   std::string moved = "request acl u/0/PortChannel1.1 own 3\nsettle\n"
                       "member u/0/PortChannel1 remove u/0/Ethernet12\n";
   for (char const* name : {"u/0/PortChannel1.1", "u/0/PortChannel*.*", "*"}) {
      std::string withdraw = std::string("withdraw acl ") + name + " own\n";
      expectSound(moved + withdraw + "settle\nexpect count merged 0\n");
      expectSound(moved + "member u/0/PortChannel1 add u/1/Ethernet0\n" +
                  "request acl u/0/PortChannel1.1 own 4\nsettle\nexpect count merged 2\n" +
                  withdraw + "settle\nexpect count merged 0\n");
   }
   // Patterns meet it in conditions and explanations, too; to ask takes the present units.
   EXPECT_THAT(refusal(moved + "request acl u/0/PortChannel1.* own 3"), HasSubstr("is on no unit"));
   EXPECT_THAT(run(moved + "explain u/0/PortChannel1.? own").errors,
               HasSubstr("1.2 is on no unit"));
   EXPECT_THAT(run(moved + "explain u/0/PortChannel?.1 own").out,
               HasSubstr("PortChannel1.1 unit 0"));
   EXPECT_THAT(run(moved + "expect merged u/0/PortChannel?.1 own none").errors,
               HasSubstr("merged policy of u/0/PortChannel1.1 unit 0 to be none, but it is qos=3"));
}

TEST(CommandTest, APortThatIsNoMemberCannotBeRemoved) {
   EXPECT_EQ(refusal("member u/0/PortChannel1 remove u/0/Ethernet0"),
             "u/0/Ethernet0 is not a member of u/0/PortChannel1\n");
   EXPECT_EQ(refusal("member u/0/PortChannel1 remove u/0/Ethernet12\n"
                     "member u/0/PortChannel1 remove u/0/Ethernet12"),
             "u/0/Ethernet12 is not a member of u/0/PortChannel1\n");
}

TEST(CommandTest, HelpIsJsonWhenAskedFor) {
   Json show = Json::parse(run("help show --format json").out);
   EXPECT_EQ(show.value("name", ""), "show");
   EXPECT_EQ(show.value("arguments", ""), "TABLE [--format json]");
   Json units{{"name", "units"}, {"help", "forwarding units"}};
   EXPECT_EQ(std::count(show["tables"].begin(), show["tables"].end(), units), 1) << show;
   Json advance = Json::parse(run("help advance --format json").out);
   EXPECT_EQ(advance.value("name", ""), "advance");
   EXPECT_FALSE(advance.value("help", "").empty() || advance.contains("tables")) << advance;
}

TEST(CommandTest, TheChipsSettingsAreShownWithItsFaults) {
   Result result = run("chip refuse next 2 unit 3 table mapper\nchip delay 0.5\nchip slowness 2\n"
                       "chip seed 18446744073709551615\nchip capacity 0 7 table isem\n"
                       "chip capacity 3 9\nchip capacity 3 none table tunnel\n"
                       "show faults --format json");
   Json expected = Json::parse(R"([
      {"fault": "refuse", "table": "mapper", "unit": 3, "next": 2, "often": 0.0, "value": null},
      {"fault": "capacity", "table": "isem", "unit": 0, "next": null, "often": null, "value": 7},
      {"fault": "capacity", "table": "isem", "unit": 3, "next": null, "often": null, "value": 9},
      {"fault": "capacity", "table": "mapper", "unit": 3, "next": null, "often": null, "value": 9},
      {"fault": "capacity", "table": "port-word", "unit": 3, "next": null, "often": null, "value": 9},
      {"fault": "capacity", "table": "sub-interface-word", "unit": 3, "next": null, "often": null,
       "value": 9},
      {"fault": "delay", "table": null, "unit": null, "next": null, "often": null, "value": 0.5},
      {"fault": "slowness", "table": null, "unit": null, "next": null, "often": null, "value": 2.0},
      {"fault": "seed", "table": null, "unit": null, "next": null, "often": null,
       "value": 18446744073709551615}])");
   EXPECT_EQ(Json::parse(result.out)["rows"].dump(), expected.dump()) << result.errors;
}

} // namespace
} // namespace Agent
