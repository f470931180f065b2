// What the lists of requests and problems say: of one request the same as its explanation.
#include "tests/agent/command/Scenario.h"

namespace Agent {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// One judgement behind all views.
TEST(ViewsTest, ViewsAgree) {
   Result lost =
       run(named("request acl X own 5\nsettle\nchip restart\nshow summary\nshow requests"));
   EXPECT_THAT(lost.out, testing::ContainsRegex("acl +1 +0 +1 +0 +0 +0 +0\n"));
   EXPECT_THAT(lost.out, testing::ContainsRegex("success +qos=5 +no"));
   Result older =
       run(named("request acl T own qos=5\nsettle\nrequest acl T own qos=5,acl=1\nsettle\n"
                 "show summary"));
   EXPECT_THAT(older.out, testing::ContainsRegex("acl +1 +1 +0 +1 +0 +0 +0\n"));
   Result rampart =
       run("request rampart u/1/Vlan9 own lumen=9\nsettle\nshow summary\nshow requests");
   EXPECT_THAT(rampart.out, testing::ContainsRegex("rampart +1 +0 +1 +0 +0 +0 +0\n"));
   EXPECT_THAT(rampart.out, testing::ContainsRegex("rampart .* success +lumen=9 +entry only"));
   // Each requester by its own part, also while a change has not been processed yet.
   Result labels = run("request lumen u/1/Vlan9 own lumen=9\nrequest acl u/1/Vlan9 own 5\nsettle\n"
                       "request acl u/1/Vlan9 own qos=6,acl=1\nshow summary\nshow requests");
   EXPECT_THAT(labels.out, testing::ContainsRegex("lumen +1 +0 +1 +0 +0"));
   EXPECT_THAT(labels.out, testing::ContainsRegex("acl +1 +0 +0 +1 +0"));
   Result overruled = run("request lumen u/1/Vlan9 own lumen=9\n"
                          "request rampart u/1/Vlan9 own lumen=8\nsettle\nshow requests\nproblems");
   EXPECT_THAT(overruled.out, testing::ContainsRegex("lumen +u/1/Vlan9 .* success +lumen=8 +no"));
   EXPECT_THAT(overruled.out,
               HasSubstr("lumen asks for lumen=9, but the merged policy has lumen=8 there."));
   std::string kept =
       "request acl X own lumen=1\nsettle\nunit 0 lookup lumen\nwithdraw acl X own\n";
   EXPECT_THAT(run(named(kept + "settle\nproblems")).out,
               HasSubstr("No requester asks for lumen=1 any more, but the merged policy keeps it "
                         "until lumen asks for something here and withdraws it."));
   EXPECT_THAT(run(named(kept + "request lumen X own lumen=2\nwithdraw lumen X own\nsettle\n"
                                "problems"))
                   .out,
               HasSubstr("problems: 0 rows"));
   EXPECT_THAT(run(named("request acl X own 5\nsettle\nexpect out-of-hardware X own")).errors,
               AllOf(HasSubstr("expected the policy of u/0/Ethernet0.5 unit 0 to be out of "
                               "hardware, but: In hardware."),
                     Not(HasSubstr("it is"))));
}

// All was sound and had been listed as such; then one change makes problems.
TEST(ViewsTest, EveryKindOfChangeThatMakesAProblemListsIt) {
   std::string const sound = "request acl X own 5\nrequest acl A own 5\nrequest acl B own 5\n"
                             "request acl P own 5\nrequest acl L own 5\nrequest acl T own 5\n"
                             "request acl u/1/Vlan9 own 5\nrequest lumen u/1/Vlan9 own lumen=4\n"
                             "settle\nproblems\necho listed\n";
   struct {
      char const* change;
      char const* rows; // the problems in their order
   } const cases[] = {
       {"request acl X own 6", "X"},
       {"chip refuse next 1\nrequest acl X own 6\nsettle", "X"},
       {"chip lose next 1\nrequest acl L own 6\nsettle", "L"},
       {"chip restart", "X A B P L T V"},
       {"chip restart\nchip replay\nsettle", ""},
       {"chip refuse next 1\nchip replay\nchip restart\nsettle", "X A B P L T V"},
       {"chip restart\nunit 3 unavailable\nwithdraw acl P own\nsettle\nchip replay\nsettle", "P"},
       // The entry that two share is written for one of them, or removed for it.
       {"request acl A own 6\nsettle", "B"},
       {"withdraw acl A own\nsettle", "B"},
       {"encapsulation X none", "X"},
       {"dynamic-encapsulation P 77", "P"},
       {"delete-subinterface L", "L"},
       {"encap-kind P 4", "P"},
       {"program-in-hw L off", "L"},
       {"vlan-domain u/0/Ethernet0 77", "X"},
       {"vlan-domain u/0/PortChannel1 none", "A B"},
       {"port-map u/3/Ethernet0 none", "P"},
       {"member u/0/PortChannel1 remove u/0/Ethernet12", "A B"},
       {"request rampart u/1/Vlan9 own lumen=8", "V"},
       {"withdraw acl X own", "X"},
       {"chip lose next 1\nwithdraw acl X own\nsettle", "X"},
   };
   for (auto const& [change, rows] : cases) {
      Result result = run(named(sound + change + "\nproblems\n"));
      EXPECT_EQ(result.out.rfind("problems: 0 rows\n", 0), 0U) << result.out;
      std::istringstream lines(result.out.substr(result.out.find("\nlisted\n") + 8));
      std::string found;
      for (std::string line; std::getline(lines, line);) {
         for (char const* name : {"X", "A", "B", "P", "L", "T", "V"}) {
            std::string of = *name == 'V' ? "u/1/Vlan9" : named(name);
            found += line.starts_with("  " + of + " unit")
                         ? (found.empty() ? "" : " ") + std::string(name)
                         : "";
         }
      }
      EXPECT_EQ(found, rows) << change << "\n" << result.out << result.errors;
   }
}

} // namespace
} // namespace Agent
