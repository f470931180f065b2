// Who uses a VLAN tag, and what is told where it has two meanings.
#include "tests/agent/command/Scenario.h"

namespace Agent {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

// X and Y are sub-interfaces of Ethernet0 with the tags 5 and 6.
TEST(VlanTagScenarioTest, TheUsersOfATagAreListed) {
   std::string const ports = "vlan-domain u/0/Ethernet0 9\nvlan-domain u/0/Ethernet4 9\n"
                             "tagged-vlan u/0/Ethernet4 17 on\nuntagged-vlan u/0/Ethernet4 8\n";
   Result result = run(named(ports + "request acl X own 5\nsettle\nshow vlan-tags\n"
                                     "show vlan-ports\nshow vlan-xlate\nproblems"));
   EXPECT_THAT(result.out, ContainsRegex("0 +5 +9 +u/0/Ethernet0.5 unit 0 +u/0/Ethernet0 +no"));
   EXPECT_THAT(result.out, ContainsRegex("0 +17 +9 +u/0/Ethernet4 +no"));
   EXPECT_THAT(result.out, ContainsRegex("8 +VLAN +u/0/Ethernet4\n"));
   EXPECT_THAT(result.out, ContainsRegex("5 +sub-interfaces +u/0/Ethernet0,u/3/Ethernet0\n"));
   EXPECT_THAT(result.out, ContainsRegex("u/0/Ethernet0 +5 +u/0/Ethernet0.5 +.*no\n"));
   EXPECT_THAT(result.out, HasSubstr("problems: 0 rows"));
   // The pair goes along.
   result = run(named(ports + "request acl X own 5\nsettle\nencapsulation X 15\n"
                              "vlan-domain u/0/Ethernet0 10\nsettle\nshow vlan-tags"));
   EXPECT_THAT(result.out, ContainsRegex("0 +15 +10 +u/0/Ethernet0.5 unit 0 +u/0/Ethernet0 +no"));
   EXPECT_THAT(result.out, Not(ContainsRegex("0 +5 +9 ")));
}

TEST(VlanTagScenarioTest, ACollisionIsAProblemWithBothSides) {
   std::string const request = "vlan-domain u/0/Ethernet0 9\nrequest acl X own 5\nsettle\n";
   std::string const other = request + "vlan-domain u/0/Ethernet4 9\n";
   struct {
      std::string scenario;
      char const* ports; // that carry the VLAN; null: it does not collide
      char const* whose = "u/0/Ethernet0.5";
   } const cases[] = {
       {request + "tagged-vlan u/0/Ethernet0 5 on\n", "u/0/Ethernet0 carries"},
       {other + "tagged-vlan u/0/Ethernet4 5 on\n", "u/0/Ethernet4 carries"},
       {other + "untagged-vlan u/0/Ethernet4 5\n", "u/0/Ethernet4 carries"},
       {other + "untagged-vlan u/0/Ethernet4 5\ntagged-vlan u/0/Ethernet0 5 on\n",
        "u/0/Ethernet0, u/0/Ethernet4 carry"},
       {other + "tagged-vlan u/0/Ethernet4 5 on\nvlan-domain u/0/Ethernet4 10\n", nullptr},
       {other + "tagged-vlan u/0/Ethernet4 5 on\ntagged-vlan u/0/Ethernet4 5 off\n", nullptr},
       {other + "tagged-vlan u/0/Ethernet4 5 on\nencapsulation X none\n", "u/0/Ethernet4 carries",
        "the entry for u/0/Ethernet0.5"},
       {other + "tagged-vlan u/0/Ethernet4 5 on\nmember u/0/PortChannel1 add u/0/Ethernet4\n",
        nullptr},
   };
   for (auto const& [scenario, ports, whose] : cases) {
      Result result = run(named(scenario + "problems\nshow vlan-tags\nexplain X own"));
      EXPECT_EQ(result.code, 0) << scenario << result.errors;
      if (ports == nullptr) {
         EXPECT_THAT(result.out, Not(HasSubstr("It is the tag of"))) << scenario;
         EXPECT_THAT(result.out, Not(HasSubstr("tag collision"))) << scenario;
      } else {
         std::string both = std::string("the tag of ") + whose + ", and a VLAN that " + ports;
         EXPECT_THAT(result.out, HasSubstr("VLAN tag 5 in domain 9 of unit 0")) << scenario;
         EXPECT_THAT(result.out, HasSubstr("It is " + both + ".\n")) << scenario;
         EXPECT_THAT(result.out, HasSubstr("  tag collision: VLAN tag 5 in domain 9 of unit 0 is " +
                                           both + "\n"))
             << scenario;
      }
   }
}

// On a unit that shares through in-LIFs no shared entry has the tag.
TEST(VlanTagScenarioTest, ACollisionIsToldOnAUnitWithoutSharedEntries) {
   Result result = run(named("vlan-domain u/3/Ethernet0 9\n"
                             "tagged-vlan u/3/Ethernet0 5 on\nrequest acl u/3/Ethernet0.5 own 5\n"
                             "settle\nexplain u/3/Ethernet0.5 own"));
   EXPECT_THAT(result.out,
               HasSubstr("  tag collision: VLAN tag 5 in domain 9 of unit 3 is the tag of "
                         "u/3/Ethernet0.5, and a VLAN that u/3/Ethernet0 carries\n"))
       << result.errors;
}

TEST(VlanTagScenarioTest, BadVlansAreErrors) {
   for (auto const& [line, reason] : {
            std::pair{"tagged-vlan u/0/Ethernet0.5 7 on", "neither a port nor a port-channel"},
            std::pair{"tagged-vlan u/0/Ethernet0 0 on", "VLAN is 1 to 4094"},
            std::pair{"tagged-vlan u/0/Ethernet0 7 maybe", "is one of off, on"},
        }) {
      EXPECT_THAT(refusal(line), HasSubstr(reason)) << line;
   }
}

} // namespace
} // namespace Agent
