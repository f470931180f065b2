#include "tests/agent/command/Scenario.h"
#include "agent/command/Reference.h"
#include "agent/command/Tables.h"
#include "agent/inventory/FileContent.h"
#include "platform/Trace/Trace.h"

#include <filesystem>

namespace Agent {
namespace {

using testing::HasSubstr;

TEST(ScenarioTest, BadInputNamesThePlaceAndTheReason) {
   struct Case {
      char const* line;
      char const* reason;
   };
   for (auto const& [line, reason] : {
            Case{"frobnicate", "there is no command 'frobnicate'"},
            Case{"request", "REQUESTER is missing"},
            Case{"request qos u/0/Ethernet0.5 own 5",
                 "REQUESTER is one of acl, lumen, rampart, not 'qos'"},
            Case{"request acl u/0/Ethernet1 own 5", "did you mean u/0/Ethernet0, "},
            Case{"request acl Ethernet0 own 5", "did you mean"},
            Case{"request acl nothing* own 5", "no interface matches 'nothing*'"},
            Case{"request acl u/0/Ethernet0.5 9 5", "the inventory has no unit '9'"},
            Case{"request acl u/0/Ethernet0.5 own", "POLICY is missing"},
            Case{"request acl u/0/Ethernet0.5 own 0", "POLICY is 1 to"},
            Case{"request acl u/0/Ethernet0.5 own 99999999999999999999", "POLICY is 1 to"},
            Case{"request acl u/0/Ethernet0.5 own qos=32", "qos is 0 to 31, not 32"},
            Case{"request acl u/0/Ethernet0.5 own qos=1,qos=2", "'qos' twice"},
            Case{"request acl u/0/Ethernet0.5 own qos=0", "withdraw the request instead"},
            Case{"request acl u/0/Ethernet0.5 own size=1", "not 'size=1'"},
            Case{"request acl u/0/Ethernet0.5 own 5 6", "'6' is one word too many"},
            Case{"request acl u/0/Ethernet0.5 own flood 7 5", "is not a flood entry"},
            Case{"request acl u/0/Ethernet0-L3Flood own 5", "is not a routed port"},
            Case{"request acl u/0/Ethernet8-L3Flood own flood 5000 5", "VLAN is 1 to 4094"},
            Case{"request acl u/2/Ethernet0 own 5", "above 128"},
            Case{"request acl u/1/Ethernet0 own lumen=1", "cannot ask for the lumen label"},
            Case{"request lumen u/0/Ethernet0.5 own lumen=1", "has no lumen lookup"},
            Case{"request rampart u/0/Ethernet0.5 own lumen=1", "has no lumen lookup"},
            Case{"request lumen u/1/Ethernet0 own qos=1,lumen=1", "asks for lumen= only"},
            Case{"withdraw acl u/0/Ethernet0.5 own", "asks for nothing there"},
            Case{"encapsulation u/0/Ethernet0.5 0", "OUTER is 1 to 4094"},
            Case{"encapsulation u/0/Ethernet0.5 5,", "INNER is a number, not ''"},
            Case{"encapsulation u/0/Ethernet0 5", "is not a sub-interface"},
            Case{"program-in-hw u/0/Ethernet0.5 maybe", "on or off is one of off, on, not 'maybe'"},
            Case{"internal-vlan u/0/Ethernet0 5", "is not a routed port"},
            Case{"vlan-domain u/0/Ethernet0.5 3", "neither a port nor a port-channel"},
            Case{"vlan-domain u/0/Ethernet0 255", "DOMAIN is 1 to 254"},
            Case{"unit 0 colour red", "not 'colour'"},
            Case{"port-map u/0/Ethernet0 0 1", "is taken by u/0/Ethernet4"},
            Case{"port-map u/0/Vlan9 none", "there is no interface"},
            Case{"port-map u/0/PortChannel1 none", "is not a port of the inventory"},
            Case{"system-port u/0/Ethernet0 16384", "SYSTEMPORT is 0 to 16383"},
            Case{"system-port u/0/Ethernet0 1", "system port 1 is taken by u/0/Ethernet4"},
            Case{"port-map-state dirty", "not 'dirty'"},
            Case{"chip refuse next 1 table sem", "not 'sem'"},
            Case{"chip refuse next 1 units 3", "'units' is one word too many"},
            Case{"member u/0/PortChannel1 add u/0/Tunnel-t", "are not a port-channel and a port"},
            Case{"chip refuse next 0", "N is 1 to"},
            Case{"chip lose often 1.5", "PROBABILITY is 0 to 1"},
            Case{"chip explode", "clear-faults, defer, delay"},
            Case{"chip", "WHAT is missing behind chip"},
            Case{"advance -1", "SECONDS is 0 to"},
            Case{"advance soon", "SECONDS is a number"},
            Case{"advance nan", "SECONDS is a number"},
            Case{"set retry-interval 0", "SECONDS is 0.01 to"},
            Case{"show nonsense", "there is no table 'nonsense'"},
            Case{"show units --format xml", "--format takes text or json"},
            Case{"expect something", "not 'something'"},
            Case{"trace text 10 on", "LEVEL is 0 to 9"},
            Case{"trace ring /nonexistent/x", "/nonexistent/x: "},
            Case{"trace ring /dev/null", "is no file"},
            Case{"expect word u/0/Ethernet0 zz", "WORD is a number, not 'zz'"},
            Case{"echo \"open", "a quote is not closed"},
        }) {
      EXPECT_THAT(refusal(line), HasSubstr(reason)) << line;
   }
}

TEST(ScenarioTest, AnErrorStopsTheRunUnlessItKeepsGoingAndChangesNothing) {
   std::string scenario = "request acl u/0/Ethernet0.5 own 5\n"
                          "# a comment\n"
                          "request acl u/0/Ethernet0.* own 5 6   # too much\n"
                          "settle\n"
                          "expect count merged 1\n"
                          "expect count merged 2\n"
                          "echo \"the # end\"\n";
   Result stops = run(scenario);
   EXPECT_EQ(stops.code, 1);
   EXPECT_EQ(stops.out, "");
   EXPECT_EQ(stops.errors, "s:3: error: '6' is one word too many\n");
   Result goesOn = run(scenario, {true, false});
   EXPECT_EQ(goesOn.code, 1);
   EXPECT_EQ(goesOn.out, "the # end\n");
   EXPECT_EQ(goesOn.errors,
             "s:3: error: '6' is one word too many\n"
             "s:6: failed: expected the number of rows of merged to be 2, but it is 1\n");
}

TEST(ScenarioTest, TheTextTraceAndTheRingTakeTwoFiles) {
   std::string path = testing::TempDir() + "both-" + std::to_string(::getpid());
   EXPECT_THAT(refusal("trace ring " + path + " 4\ntrace file " + path), HasSubstr("of the ring"));
   EXPECT_THAT(refusal("trace file " + path + "t\ntrace ring " + path + "t"),
               HasSubstr("of the text"));
   std::filesystem::remove(path);
   std::filesystem::remove(path + "t");
}

TEST(ScenarioTest, AByteOrderMarkIsNoPartOfTheFirstCommand) {
   EXPECT_EQ(run("\xef\xbb\xbf# one\necho two").out, "two\n");
   EXPECT_EQ(run("# one\n\xef\xbb\xbf# two").code, 1);
}

constexpr char const* a = "u/0/PortChannel1.1 own";
constexpr char const* b = "u/0/PortChannel1.2 own";

TEST(AdmissionTest, WithdrawingAnEqualSharerIsRefusedAndTheWayOutWorks) {
   std::string both = std::string("request acl ") + a + " 5\nrequest acl " + b + " 5\nsettle\n";
   std::string text = refusal(both + "withdraw acl " + b);
   EXPECT_THAT(
       text,
       HasSubstr("u/0/PortChannel1.2 unit 0 would be withdrawn, but it was answered success"));
   EXPECT_THAT(text, HasSubstr("(vlan 10, domain 5, unit 0) belongs to u/0/PortChannel1.1 unit 0"));
   EXPECT_THAT(text, HasSubstr("(invariant keyToDel != AradSemKeyAndFap())"));
   EXPECT_THAT(refusal(both + "program-in-hw u/0/PortChannel1.2 off"),
               HasSubstr("would be withdrawn"));
   EXPECT_THAT(
       refusal(both + "vlan-domain u/0/PortChannel1 none\ndelete-subinterface u/0/PortChannel1.2"),
       HasSubstr("would be withdrawn"));
   expectSound(both + "withdraw acl " + a + "\nsettle\nrequest acl " + b +
               " 6\nsettle\nwithdraw acl " + b +
               "\nsettle\nexpect count responses 0\nexpect count isem 0");
}

TEST(AdmissionTest, AMergeThatWouldFindALabelOfTheAclFeatureIsRefusedAndTheWayOutWorks) {
   std::string labelled =
       "request acl u/0/Ethernet0.5 own qos=1,lumen=3\nunit u/0 lookup lumen\nsettle\n";
   EXPECT_THAT(refusal(labelled + "rebuild merge"),
               HasSubstr("with lumen= for u/0/Ethernet0.5 unit 0, and a unit with the lumen lookup "
                         "leaves that field to others; ask again without lumen= first (invariant"));
   expectSound(labelled + "request acl u/0/Ethernet0.5 own qos=1\nrebuild merge");
}

TEST(AdmissionTest, MovingOneOfTwoSharersIsRefusedAndTheWayOutWorks) {
   std::string both = std::string("request acl ") + a + " 5\nrequest acl " + b + " 6\nsettle\n";
   for (char const* move :
        {"encapsulation u/0/PortChannel1.1 11", "dynamic-encapsulation u/0/PortChannel1.1 11"}) {
      std::string text = refusal(both + move);
      EXPECT_THAT(
          text,
          HasSubstr(
              "u/0/PortChannel1.1 unit 0 would move off the entry (vlan 10, domain 5, unit 0), "
              "which u/0/PortChannel1.2 unit 0 still uses; withdraw u/0/PortChannel1.2 unit 0 "
              "first"));
   }
   expectSound(both + "withdraw acl " + b +
               "\nsettle\nencapsulation u/0/PortChannel1.1 11\nsettle\n" +
               "expect isem 11 5 0 qos=5\nexpect isem 10 5 0 absent");
   // A change that shows its effect only with the next one is refused at that one.
   EXPECT_THAT(refusal(both + "vlan-domain u/0/PortChannel1 77\nsettle\nrequest acl " + a + " 7"),
               HasSubstr("would move off the entry"));
}

TEST(AdmissionTest, AnOldAnswerBehindARemovalIsRefused) {
   // The removal is never answered, so the old success stands without an entry.
   std::string text =
       refusal("request acl u/0/Ethernet0.5 own 5\nsettle\nchip lose next 1\n"
               "withdraw acl u/0/Ethernet0.5 own\nsettle\nencapsulation u/0/Ethernet0.5 100,7\n"
               "request acl u/0/Ethernet0.5 own 5\nsettle\nwithdraw acl u/0/Ethernet0.5 own");
   EXPECT_THAT(text, HasSubstr("first have it programmed itself"));
}

TEST(AdmissionTest, AnAnswerThatIsOutDecides) {
   // The removal is not answered yet; once it is, nothing is left of the request.
   std::string out = "request acl u/0/Ethernet0.5 own 5\nsettle\n"
                     "withdraw acl u/0/Ethernet0.5 own\nadvance 0.001\n"
                     "encapsulation u/0/Ethernet0.5 100,7\n"
                     "request acl u/0/Ethernet0.5 own 5\nadvance 0.001\n";
   EXPECT_THAT(refusal(out + "withdraw acl u/0/Ethernet0.5 own"),
               HasSubstr("wait for the answers of the chip first (invariant keyToDel"));
   expectSound(out + "settle\nwithdraw acl u/0/Ethernet0.5 own\nsettle\nexpect count responses 0");
}

TEST(AdmissionTest, ARequesterOfLabelsAsksForNothingElse) {
   // The invariant that is named is the one that the merge checks first.
   for (auto const& [fields, invariant] : {std::pair("qos=1", "policyId.qosPolicy() == 0"),
                                           std::pair("pbr=1", "policyId.pbrPolicy() == 0"),
                                           std::pair("qos=1,pbr=1", "policyId.pbrPolicy() == 0")}) {
      std::string ask = std::string("request rampart u/1/Vlan9 1 lumen=3,") + fields;
      EXPECT_THAT(refusal(ask), HasSubstr(std::string("(invariant ") + invariant + ")"));
      EXPECT_DEATH(run("set admission off\n" + ask), HasSubstr(invariant));
   }
}

TEST(AdmissionTest, WithoutItTheLibraryStops) {
   std::string both = std::string("request acl ") + a + " 5\nrequest acl " + b + " 5\nsettle\n";
   EXPECT_DEATH(run(both + "set admission off\nwithdraw acl " + b + "\nsettle"),
                "keyToDel != AradSemKeyAndFap");
   expectSound(both + "set admission off\nset admission refuse\nsettle");
   EXPECT_THAT(refusal(both + "set admission off\nset admission refuse\nwithdraw acl " + b),
               HasSubstr("(invariant keyToDel"));
}

TEST(AdmissionTest, UnitsWithRequestsKeepTheirTypeAndLookup) {
   std::string label = "request lumen u/1/Vlan9 1 lumen=3\nsettle\n";
   EXPECT_THAT(refusal(label + "unit 1 lookup none"),
               HasSubstr("1 lumen or rampart request, which needs the lumen lookup; withdraw it"));
   expectSound(label +
               "withdraw lumen u/1/Vlan9 1\nsettle\nunit 1 lookup none\nexpect count responses 0");
   for (char const* change : {"request acl u/0/Ethernet0.5 own 5\nunit 0 type 2",
                              "request acl u/0/Ethernet0.5 own 5\nunit 0 type none",
                              "request acl u/3/Ethernet0.5 own 5\nunit 3 type arad"}) {
      EXPECT_THAT(refusal(change),
                  HasSubstr("1 request in the pipeline of its present type; withdraw it before"));
   }
   expectSound("request acl u/3/Ethernet0.5 own 5\nunit 3 type 7\nsettle\n"
               "expect status acl u/3/Ethernet0.5 own success");
   // A withdrawal that is still queued would meet the other type.
   EXPECT_THAT(refusal("request acl u/3/Ethernet0.5 own 5\nsettle\nwithdraw acl u/3/Ethernet0.5 "
                       "own\nunit 3 type arad"),
               HasSubstr("settle first"));
   expectSound("request acl u/3/Ethernet0.5 own 5\nsettle\nwithdraw acl u/3/Ethernet0.5 own\n"
               "settle\nexpect count mapper 4\nunit 3 type arad\nsettle\nexpect count mapper 0\n"
               "request acl u/3/Ethernet0.5 own 5\nsettle\nexpect count isem 1\n"
               "expect in-hardware u/3/Ethernet0.5 own");
}

TEST(AgentTest, BothGenerationsAreOneTableToARequester) {
   expectSound("request acl u/?/Ethernet*.* own 5\nrequest acl u/3/PortChannel3.1 own 5\nrequest "
               "acl u/3/Tunnel-t own 5\nsettle\n"
               "expect status acl u/?/Ethernet*.* own success\nexpect count isem 3\n"
               "expect count mapper 4\nexpect count tunnels 1\n"
               "expect mapper u/3/PortChannel3.1 u/3/Ethernet8 5\nexpect tunnel u/3/Tunnel-t 3 5\n"
               "expect in-hardware u/3/*.* own\nexpect count lif-counts 0\n"
               "withdraw acl u/?/*.* own\nwithdraw acl u/3/Tunnel-t own\nsettle\n"
               "expect count responses 0\nexpect count pending 0\nexpect count output 0\n"
               "expect count mapping 0\nexpect count tunnels 0\n"
               "expect mapper u/3/PortChannel3.1 u/3/Ethernet8 none");
   // Members join and leave while answers are out; one that joins is programmed with the next pass
   // that touches the request.
   expectSound("member u/3/PortChannel3 remove u/3/Ethernet12\nrequest acl u/3/PortChannel3.1 own "
               "5\nadvance 0.005\nmember u/3/PortChannel3 remove u/3/Ethernet8\n"
               "member u/3/PortChannel3 add u/3/Ethernet12\nsettle\n"
               "expect mapper u/3/PortChannel3.1 u/3/Ethernet8 absent\n"
               "expect mapper u/3/PortChannel3.1 u/3/Ethernet12 none\n"
               "encapsulation u/3/PortChannel3.1 11\nsettle\n"
               "expect mapper u/3/PortChannel3.1 u/3/Ethernet12 5\n"
               "expect in-hardware u/3/PortChannel3.1 own");
   expectSound("request acl u/3/Ethernet0.5 own 5\nsettle\nprogram-in-hw u/3/Ethernet0.5 off\n"
               "settle\nexpect count responses 0\nexpect mapper u/3/Ethernet0.5 u/3/Ethernet0 "
               "absent\nprogram-in-hw u/3/Ethernet0.5 on\nsettle\n"
               "expect in-hardware u/3/Ethernet0.5 own");
   // A port's move takes the entries of its sub-interfaces along, to a unit of the other type too.
   expectSound("port-map u/3/Ethernet0 0 77\nsettle\nexpect mapper u/3/Ethernet0.5 u/3/Ethernet0 "
               "absent\nport-map u/3/Ethernet0 3 77\nsettle\n"
               "expect mapper u/3/Ethernet0.5 u/3/Ethernet0 none");
}

// Sub-interfaces on ports and on port-channels with members on several units, and tunnels, through
// refusals, lost, late and reordered answers, and members that come and go meanwhile.
TEST(AgentTest, AChassisRunsBothGenerations) {
   Result result = run(R"(member card5/npu0/PortChannel501 add card4/npu0/Ethernet80
member card5/npu0/PortChannel502 add card4/npu0/Ethernet84
member card5/npu0/PortChannel502 add card4/npu0/Ethernet88
member card1/npu0/PortChannel101 add card3/npu0/Ethernet144
request acl card2/npu0/Ethernet*.3? own qos=5,pbr=1
request lumen card2/npu0/Ethernet*.3? own lumen=4
request acl card4/npu0/Ethernet*.* own qos=3,acl=7
request acl card1/npu0/PortChannel*.40? own qos=8
request acl card5/npu0/PortChannel*.* own qos=9
request acl card5/npu0/Tunnel-edge_? own qos=1
request acl card3/*/PortChannel3?3 own qos=2
chip refuse often 0.05
chip lose often 0.05 table mapper
chip lose next 1 table tunnel
chip slow often 0.05
chip duplicate often 0.05
chip reorder often 0.05
chip defer next 1
settle
request acl card5/npu0/PortChannel*.* own qos=10
advance 0.004
member card5/npu0/PortChannel502 remove card4/npu0/Ethernet88
encapsulation card4/npu0/Ethernet16.30 10,20
unit card4/npu0 unavailable
request acl card5/npu0/PortChannel*.* own qos=11
advance 0.004
member card5/npu0/PortChannel501 remove card4/npu0/Ethernet80
member card5/npu0/PortChannel501 add card4/npu0/Ethernet92
unit card4/npu0 available
settle
chip clear-faults
settle
request acl card5/npu0/PortChannel*.* own qos=12
request acl card4/npu0/Ethernet*.* own qos=4
request acl card5/npu0/Tunnel-edge_? own qos=2
request acl card3/*/PortChannel3?3 own qos=3
request acl card2/npu0/Ethernet*.3? own qos=6
request acl card1/npu0/PortChannel*.40? own qos=7
settle
expect status acl card5/npu0/PortChannel*.* own success qos=12
expect status acl card4/npu0/Ethernet*.* own success qos=4
expect status acl card3/*/PortChannel3?3 own success qos=3
expect status acl card1/npu0/PortChannel*.40? own success qos=7
expect status lumen card2/npu0/Ethernet*.3? own success lumen=4
expect in-hardware card5/npu0/PortChannel*.* own
expect in-hardware card2/npu0/Ethernet*.3? own
expect in-hardware card5/npu0/Tunnel-edge_? own
expect in-hardware card1/npu0/PortChannel*.40? own
expect mapper card5/npu0/PortChannel501.400 card4/npu0/Ethernet92 qos=12
expect mapper card5/npu0/PortChannel501.400 card4/npu0/Ethernet80 absent
)",
                       {}, fileContent("examples/eight-cards.json").value());
   EXPECT_EQ(result.code, 0) << result.errors;
}

TEST(AgentTest, UnitsAndDomainsArePublished) {
   expectSound("expect published u/3/Ethernet0 3 1\n"
               "port-map u/3/Ethernet0 1 9\nexpect published u/3/Ethernet0 3 1\n"
               "port-map-state invalid\nport-map-state valid\n"
               "expect published u/3/Ethernet0 3 1\nport-map-state version\n"
               "vlan-domain u/3/Ethernet0 8\nexpect published u/3/Ethernet0 1 8\n"
               "system-port u/3/Ethernet0 none\nexpect published u/3/Ethernet0 1 8\n"
               "port-map-state version\nexpect published u/3/Ethernet0 none none\n"
               "system-port u/3/Ethernet0 9000\nexpect published u/3/Ethernet0 none none\n"
               "port-map u/3/Ethernet0 0 30\nvlan-domain u/3/Ethernet0 4\nport-map-state "
               "version\nexpect published u/3/Ethernet0 0 4\n"
               "vlan-domain u/3/Ethernet0 none\nexpect published u/3/Ethernet0 0 none");
   EXPECT_THAT(run("expect published u/3/Ethernet0 1 2").errors,
               HasSubstr("to be 1 and 2, but it is 3 and 1"));
}

TEST(AgentTest, TheWorldReachesTheHardware) {
   expectSound(
       "request acl u/0/Ethernet8 own 3\nrequest acl u/0/Ethernet8-L3Flood own 4\n"
       "request acl u/0/Ethernet8-L3Flood own flood 77 5\nsettle\n"
       "expect isem 4094 0 0 qos=3\nexpect isem 4094 255 0 qos=4\nexpect isem 77 255 0 qos=5\n"
       "internal-vlan u/0/Ethernet8 none\nsettle\nexpect isem 4094 0 0 absent\n"
       "internal-vlan u/0/Ethernet8 300\nsettle\nexpect isem 300 0 0 qos=3");
   expectSound("request acl u/0/Ethernet0.5 own 3\nsettle\nexpect isem 5 1 0 qos=3\n"
               "dynamic-encapsulation u/0/Ethernet0.5 50\nsettle\nexpect isem 50 1 0 qos=3\n"
               "dynamic-encapsulation u/0/Ethernet0.5 none\nsettle\nexpect isem 5 1 0 "
               "qos=3\nexpect count isem 1\n"
               "delete-subinterface u/0/Ethernet0.5\nsettle\nexpect count isem 0");
   // A port moves to another unit: its sub-interface's old request stays on the old unit.
   expectSound("request acl u/0/Ethernet4.7 own 3\nsettle\nport-map u/0/Ethernet4 1 200\n"
               "vlan-domain u/0/Ethernet4 9\nrequest acl u/0/Ethernet4.7 own 4\nsettle\n"
               "expect isem 7 9 1 qos=4\nexpect status acl u/0/Ethernet4.7 own success qos=4");
   // A port-channel's units follow its members.
   expectSound(
       "request acl u/0/PortChannel1.1 1 3\nsettle\nexpect retry u/0/PortChannel1.1 1 yes\n"
       "member u/0/PortChannel1 add u/1/Ethernet0\nsettle\nexpect isem 10 5 1 qos=3\n"
       "expect status merged u/0/PortChannel1.1 1 success\nexpect backlog u/0/PortChannel1.1 1 no");
   expectSound(
       "set quantum 0\nset cost-per-reading 0.5\nrequest acl u/0/Ethernet*.* own 5\nadvance 60\n"
       "set cost-per-reading 0\nsettle\nexpect count isem 3\nexpect in-hardware u/0/Ethernet*.* "
       "own");
}

TEST(AgentTest, OutputIsTheSameEachTimeAndJsonIsJson) {
   std::string scenario = fileContent("examples/chassis.scenario").value();
   std::string inventory = fileContent("examples/chassis.json").value();
   scenario += "show requests\nshow counters\nshow isem\nexplain lc1/asic0/Ethernet0.10 own "
               "--format json\n";
   for (auto const& table : namedTables()) {
      scenario += std::string("show ") + std::string(table.name) + " --format json\n";
   }
   auto traced = [&] {
      std::ostringstream trace;
      AgentHost host(parseInventory(inventory, "test"));
      Trace::textSinkIs(&trace);
      std::ostringstream out;
      ScenarioRunner runner(host, out, out, {});
      std::istringstream in("trace text all on\n" + scenario + "trace text all off\n");
      EXPECT_EQ(runner.run(in, "s"), 0) << out.str();
      return out.str() + trace.str();
   };
   std::string first = traced();
   EXPECT_EQ(first, traced());
   std::istringstream lines(first);
   std::size_t documents = 0;
   for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("{")) {
         EXPECT_TRUE(Json::accept(line)) << line;
         ++documents;
      }
   }
   EXPECT_EQ(documents, namedTables().size() + 1);
}

TEST(AgentTest, WhatIsMadeFromTheRegistryIsUpToDate) {
   std::ostringstream table;
   printMarkdown(table);
   EXPECT_THAT(fileContent("docs/agent.md").value(),
               HasSubstr("<!-- commands -->\n" + table.str() + "<!-- end of commands -->\n"))
       << "scripts/update-commands writes it";
   std::ostringstream words;
   printDictionary(words);
   EXPECT_THAT(fileContent("tests/fuzz/scenario.dict").value(),
               HasSubstr("and tables.\n" + words.str() + "# Names of"))
       << "scripts/update-commands writes it";
   for (auto const& [name, command] : commandRegistry().commands()) {
      EXPECT_FALSE(command.help.empty());
      EXPECT_THAT(run("help " + std::string(name)).out, HasSubstr(command.help));
   }
}

} // namespace
} // namespace Agent
