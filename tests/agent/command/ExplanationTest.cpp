// What the agent says of a request, in each state that it can be in.
#include "tests/agent/command/Scenario.h"

namespace Agent {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

struct Case {
   char const* scenario;
   char const* request;
   char const* verdict; // the whole of it
   bool problem;        // a row of problems
};

void expectVerdicts(std::initializer_list<Case> cases) {
   for (auto const& [scenario, request, verdict, problem] : cases) {
      std::string text =
          named(std::string(scenario) + "\nexplain " + request + " \necho problems\nproblems");
      Result result = run(text);
      EXPECT_EQ(result.code, 0) << text << result.errors;
      auto line = result.out.substr(0, result.out.find('\n'));
      EXPECT_EQ(line.substr(line.find(": ") + 2), named(verdict)) << text;
      auto listed = result.out.substr(result.out.find("\nproblems\n"));
      EXPECT_EQ(listed.find(named(request).substr(0, named(request).find(' ')) + " unit") !=
                    std::string::npos,
                problem)
          << text << listed;
   }
}

TEST(ExplanationTest, EachStateOnAnAradUnitIsTold) {
   expectVerdicts({
       {"", "X own", "No requester asks for a policy here.", false},
       {"request acl X own 5", "X own",
        "Not in hardware: it has not been processed yet. It waits in the backlog for the slice at "
        "0 s.",
        true},
       {"request acl X own 5\nadvance 0.005", "X own",
        "In hardware. The chip's answer is due at 0.01 s.", true},
       {"request acl X own 5\nsettle", "X own", "In hardware.", false},
       {"chip refuse next 1\nrequest acl X own 5\nsettle", "X own",
        "Not in hardware: the chip refused the write of (vlan 5, domain 1, unit 0) at 0 s. It was "
        "answered failed at 0.01 s: the chip refused the write of (vlan 5, domain 1, unit 0). chip "
        "replay writes it again.",
        true},
       {"chip capacity 0 0\nrequest acl X own 5\nsettle\nchip restart", "X own",
        "Not in hardware: the chip refused the write of (vlan 5, domain 1, unit 0) at 0 s, since "
        "the unit was full, and restarted at 0.01 s, and nothing wrote (vlan 5, domain 1, unit 0) "
        "since. It was answered failed at 0.01 s: the chip refused the write of (vlan 5, domain 1, "
        "unit 0), since the unit was full. chip replay writes it again, as far as unit 0 has room.",
        true},
       {"chip lose next 1\nrequest acl X own 5\nsettle", "X own",
        "In hardware. The write of (vlan 5, domain 1, unit 0) is not answered, and no answer is on "
        "its way: an answer for the entry was lost at 0 s.",
        true},
       {"chip reorder next 1\nrequest acl X own 5\nadvance 1", "X own",
        "In hardware. The chip's answer is held back, to be given out of order.", true},
       {"request acl X own 5\nadvance 0.005\nchip restart", "X own",
        "Not in hardware: the chip restarted at 0.005 s, and nothing wrote (vlan 5, domain 1, unit "
        "0) since. The write of (vlan 5, domain 1, unit 0) is not answered, and no answer is on "
        "its "
        "way: the chip restarted at 0.005 s before it answered. chip replay writes it again.",
        true},
       {"request acl X own 5\nsettle\nchip restart", "X own",
        "Not in hardware: the chip restarted at 0.01 s, and nothing wrote (vlan 5, domain 1, unit "
        "0) since. It was answered success at 0.01 s. chip replay writes it again.",
        true},
       {"request acl X own 5\nsettle\nchip restart\nchip replay\nsettle", "X own", "In hardware.",
        false},
       {"chip refuse next 1\nrequest acl X own 5\nsettle\nrequest acl X own qos=5,other=1\nsettle",
        "X own",
        "Not in hardware: the chip refused the write of (vlan 5, domain 1, unit 0) at 0 s. It was "
        "answered success at 0.01 s. chip replay writes it again.",
        true},
       {"unit 0 unavailable\nrequest acl X own 5\nsettle", "X own",
        "Not in hardware: unit 0 is not available. It is retried at 6 s.", true},
       {"unit 0 unavailable\nrequest acl X own 5\nadvance 1\nunit 0 available", "X own",
        "Not in hardware: nothing wrote (vlan 5, domain 1, unit 0), to which it leads now. It is "
        "retried at 2 s. Asking for another policy writes it again.",
        true},
       {"vlan-domain u/0/Ethernet0 none\nrequest acl X own 5\nsettle", "X own",
        "Not in hardware: no VLAN domain for u/0/Ethernet0 on unit 0. It is retried at 6 s.", true},
       {"encapsulation X 5,6\nrequest acl X own 5\nsettle", "X own",
        "Not in hardware: it has two tags (5,6), which the ISEM does not hold, so it is not "
        "programmed. It is not answered.",
        true},
       {"request acl X own 5\nsettle\nprogram-in-hw X off\nsettle", "X own",
        "Not in hardware: it was taken out, since program-in-hw is off. program-in-hw on brings it "
        "back.",
        true},
       {"request acl X own 5\nsettle\nprogram-in-hw X off\nsettle\nencapsulation X none", "X own",
        "Not in hardware: it was taken out, since program-in-hw is off; the sub-interface has no "
        "encapsulation.",
        true},
       {"request acl X own 5\nsettle\nchip lose next 1\nprogram-in-hw X off\nsettle", "X own",
        "Not in hardware: it was taken out, since program-in-hw is off. The removal of (vlan 5, "
        "domain 1, unit 0) is not answered, and no answer is on its way: an answer for the entry "
        "was lost at 0.01 s. It was answered success at 0.01 s. program-in-hw on brings it back.",
        true},
       {"request acl X own 5\nsettle\nwithdraw acl X own", "X own",
        "No requester asks for a policy here any more, but the last response still "
        "stands. It waits in the backlog for the slice at 0.01 s. The chip still holds qos=5 at "
        "(vlan 5, domain 1, unit 0).",
        true},
       {"chip lose next 1\nrequest acl A own 5\nadvance 0.005\nrequest acl B own 6\n"
        "advance 0.005",
        "A own",
        "Not in hardware: (vlan 10, domain 5, unit 0) carries qos=6 for u/0/PortChannel1.2 unit 0, "
        "written at 0.005 s. The chip's answer is due at 0.015 s, to the write for "
        "u/0/PortChannel1.2 unit 0. Asking for another policy writes it again.",
        true},
       {"chip lose next 1\nrequest acl A own 5\nadvance 0.005\nchip refuse next 1\n"
        "request acl B own 6\nsettle",
        "A own",
        "In hardware. It was answered failed at 0.015 s: the chip refused the write of (vlan 10, "
        "domain 5, unit 0) for u/0/PortChannel1.2 unit 0. Asking for another policy writes it "
        "again.",
        true},
       {"request acl X own 1\nsettle\nchip lose next 1\nwithdraw acl X own\nsettle\nchip delay "
        "5\nrequest acl X own 2\nadvance 0.1",
        "X own",
        "In hardware. The chip's answer is due at 5.01 s. It was answered success for qos=1, not "
        "for the present policy.",
        true},
       {"request acl A own 5\nsettle\nrequest acl B own 5\nsettle\nwithdraw acl A own", "A own",
        "No requester asks for a policy here any more, but the last response still "
        "stands. It waits in the backlog for the slice at 0.01 s. It is still recorded at (vlan "
        "10, domain 5, unit 0), which u/0/PortChannel1.2 unit 0 uses.",
        true},
       {"request acl X own 5\nrequest acl Y own 5\nsettle\nchip capacity 0 1\nchip restart",
        "X own",
        "Not in hardware: the chip restarted at 0.01 s, and nothing wrote (vlan 5, domain 1, unit "
        "0) since. It was answered success at 0.01 s. chip replay writes it again, as far as unit "
        "0 has room.",
        true},
       {"encapsulation X none\nrequest acl X own 5\nadvance 0.2\nprogram-in-hw X off\n"
        "withdraw acl X own\nadvance 0.2",
        "X own", "No requester asks for a policy here. It leaves the retry list at 2 s.", false},
   });
}

// The keys that a request was programmed for are not those that it leads to now.
TEST(ExplanationTest, WhatMovedIsJudgedWhereItLeadsNow) {
   expectVerdicts({
       {"request acl X own 5\nsettle\nvlan-domain u/0/Ethernet0 200\nsettle", "X own",
        "Not in hardware: nothing wrote (vlan 5, domain 200, unit 0), to which it leads now. It "
        "was "
        "answered success at 0.01 s. Its earlier entry (vlan 5, domain 1, unit 0) is still in "
        "hardware. Asking for another policy writes it again.",
        true},
       {"request acl X own 5\nrequest acl Y own 5\nsettle\nencapsulation X 6\nsettle", "X own",
        "In hardware. Its earlier entry (vlan 5, domain 1, unit 0) is still in hardware.", true},
       {"request acl X own 5\nrequest acl Y own 5\nsettle\nencapsulation X 6\nsettle\n"
        "encapsulation Y 5\nrequest acl Y own 7\nsettle",
        "X own",
        "Not in hardware: u/0/Ethernet0.6 unit 0 moved off (vlan 6, domain 1, unit 0) at 0.01 s. "
        "It was answered success at 0.01 s. It is still recorded at its earlier entry (vlan 5, "
        "domain 1, unit 0), which u/0/Ethernet0.6 unit 0 uses. Asking for another policy writes it "
        "again once u/0/Ethernet0.6 unit 0 is withdrawn.",
        true},
       {"request acl X own 5\nrequest acl Y own 5\nsettle\nencapsulation X 6\nsettle\n"
        "withdraw acl Y own\nsettle",
        "X own",
        "Not in hardware: u/0/Ethernet0.6 unit 0 took out (vlan 6, domain 1, unit 0) at 0.01 s. It "
        "was answered success at 0.01 s. Its earlier entry (vlan 5, domain 1, unit 0) is still in "
        "hardware. Asking for another policy writes it again.",
        true},
       {"request acl A own 5\nrequest acl B own 6\nsettle\nwithdraw acl B own\nsettle", "A own",
        "Not in hardware: u/0/PortChannel1.2 unit 0 took out (vlan 10, domain 5, unit 0) at 0.01 "
        "s. "
        "It was answered success at 0.01 s. Asking for another policy writes it again.",
        true},
       {"request acl A own 5\nrequest acl B own 6\nsettle", "A own",
        "Not in hardware: (vlan 10, domain 5, unit 0) carries qos=6 for u/0/PortChannel1.2 unit 0, "
        "written at 0 s. It was answered success at 0.01 s. Asking for another policy writes it "
        "again.",
        true},
       {"request acl X own 5\nsettle\nunit 0 unavailable\nsettle", "X own", "In hardware.", false},
       {"request acl X own 5\nsettle\nencapsulation X none\nsettle", "X own",
        "Not in hardware: the sub-interface has no encapsulation. Nothing retries it. It was "
        "answered success at 0.01 s. Its earlier entry (vlan 5, domain 1, unit 0) is still in "
        "hardware.",
        true},
       {"request acl A own 5\nsettle\nmember u/0/PortChannel1 remove u/0/Ethernet12\n"
        "member u/0/PortChannel1 add u/1/Ethernet0\nsettle",
        "A 0",
        "Not in hardware: u/0/PortChannel1 has no member on unit 0. Nothing retries it. It was "
        "answered success at 0.01 s. Its earlier entry (vlan 10, domain 5, unit 0) is still in "
        "hardware.",
        true},
   });
}

TEST(ExplanationTest, WhatCanNeverBeIsSaid) {
   expectVerdicts({
       {"request acl u/0/Ethernet0 own 5\nsettle", "u/0/Ethernet0 own",
        "Not in hardware: u/0/Ethernet0 is not a routed port and has no internal VLAN, which its "
        "entry would need. It is retried at 6 s, without effect.",
        true},
       {"request acl u/0/Ethernet12 own 5\nsettle", "u/0/Ethernet12 own",
        "Not in hardware: u/0/Ethernet12 is a member of u/0/PortChannel1 and has no internal VLAN, "
        "which its entry would need. It is retried at 6 s, without effect.",
        true},
       {"request acl u/0/Tunnel-t own 5\nsettle", "u/0/Tunnel-t own",
        "Not in hardware: u/0/Tunnel-t is a tunnel and has no internal VLAN, which its entry would "
        "need. It is retried at 6 s, without effect.",
        true},
       {"internal-vlan u/0/Ethernet8 none\nrequest acl u/0/Ethernet8 own 5\nsettle",
        "u/0/Ethernet8 own",
        "Not in hardware: the interface has no internal VLAN. It is retried at 6 s.", true},
       {"request acl u/3/Ethernet0 own 5\nsettle", "u/3/Ethernet0 own",
        "Not in hardware: on a unit of this type only sub-interfaces and tunnels carry policies. "
        "It "
        "is retried at 6 s, without effect.",
        true},
   });
   // What an entry carries of a policy, and what it cannot.
   expectVerdicts({
       {"request rampart u/1/Vlan9 own lumen=9\nsettle", "u/1/Vlan9 own",
        "Its entry is in hardware, but carries nothing of the policy: lumen=9 is beyond the bits "
        "of "
        "an entry.",
        false},
       {"request acl X own qos=1,other=2\nsettle", "X own",
        "In hardware, as far as an entry carries it: other=2 is beyond the bits of an entry.",
        false},
       {"request acl P own acl=3\nsettle", "P own",
        "Not in hardware: the low 10 bits of the policy, which is all that an in-LIF carries, are "
        "0. It is not answered.",
        true},
   });
   Result result = run("request rampart u/1/Vlan9 own lumen=9\nsettle\nexplain u/1/Vlan9 own");
   EXPECT_THAT(result.out, HasSubstr("table holds an entry without a policy"));
   expectSound("request rampart u/1/Vlan9 own lumen=9\nsettle\nexpect isem 9 0 1 none\n"
               "expect isem 8 0 1 absent");
   EXPECT_THAT(
       run("request rampart u/1/Vlan9 own lumen=9\nsettle\nexpect isem 9 0 1 absent").errors,
       HasSubstr("to be absent, but it is none"));
}

TEST(ExplanationTest, EachStateOnAnInLifUnitIsTold) {
   expectVerdicts({
       {"request acl P own 5\nadvance 0.005", "P own",
        "In hardware. The chip's answer is due at 0.01 s.", true},
       {"request acl L own 5\nsettle", "L own", "In hardware.", false},
       {"program-in-hw P off\nrequest acl P own 5\nsettle", "P own",
        "Not in hardware: the sub-interface is not programmed on u/3/Ethernet0, since "
        "program-in-hw is off. It is retried at 6 s. It is not answered. program-in-hw on brings "
        "it back.",
        true},
       {"chip capacity 3 0\nrequest acl T own 5\nsettle", "T own",
        "Not in hardware: the chip refused the write of (u/3/Tunnel-t, unit 3) at 0 s, since the "
        "unit was full. It was answered failed at 0.01 s: the chip refused the write of "
        "(u/3/Tunnel-t, unit 3), since the unit was full. chip replay writes it again, as far as "
        "unit 3 has room.",
        true},
       {"chip refuse next 1\nrequest acl L own 5\nsettle", "L own",
        "Not in hardware: the chip refused the write of (u/3/PortChannel3.1 on u/3/Ethernet4, tags "
        "10) at 0 s. It was answered failed at 0.01 s: the chip refused the write of "
        "(u/3/PortChannel3.1 on u/3/Ethernet4, tags 10). chip replay writes it again.",
        true},
       {"request acl L own 5\nadvance 0.005\nmember u/3/PortChannel3 remove u/3/Ethernet8\nsettle",
        "L own",
        "In hardware. It was answered failed at 0.015 s: (u/3/PortChannel3.1 on u/3/Ethernet8, "
        "tags 10) was removed before it was answered. Asking for another policy writes it again.",
        true},
       {"request acl L own 5\nsettle\nchip restart", "L own",
        "Not in hardware: the chip restarted at 0.01 s, and nothing wrote (u/3/PortChannel3.1 on "
        "u/3/Ethernet4, tags 10) since. It was answered success at 0.01 s. chip replay writes it "
        "again.",
        true},
       {"request acl L own 5\nsettle\nmember u/3/PortChannel3 remove u/3/Ethernet8\nsettle\n"
        "member u/3/PortChannel3 add u/3/Ethernet8\nsettle",
        "L own",
        "Not in hardware: (u/3/PortChannel3.1 on u/3/Ethernet8, tags 10) was made again at 0.02 s, "
        "and carries nothing until the request is processed again. It was answered success at "
        "0.01 s. "
        "Asking for another policy writes it again.",
        true},
       {"chip slowness 50\nchip slow next 1\nchip refuse next 2\nrequest acl L own 5\nadvance 1",
        "L own",
        "Not in hardware: the chip refused the write of (u/3/PortChannel3.1 on u/3/Ethernet4, tags "
        "10) at 0 s. The chip's answer is due at 50.01 s. chip replay writes it again.",
        true},
       {"chip defer next 1\nrequest acl T own 5\nadvance 0.5", "T own",
        "In hardware. The chip's answer is due at 1.01 s.", true},
       {"request acl T own qos=5\nsettle\nrequest acl T own qos=5,acl=1\nsettle", "T own",
        "In hardware, as far as an entry carries it: acl=1 is beyond the bits of an entry. It was "
        "answered success for qos=5, not for the present policy.",
        true},
       {"request acl P own 5\nsettle\nchip refuse next 1\nwithdraw acl P own\nsettle", "P own",
        "No requester asks for a policy here any more, but the last response still "
        "stands. The chip still holds qos=5 at (u/3/Ethernet0.5 on u/3/Ethernet0, tags 5), since "
        "it "
        "refused to clear it at 0.01 s. chip replay clears it.",
        true},
       {"request acl P own 5\nsettle\nchip refuse next 1\nwithdraw acl P own\nsettle\n"
        "chip replay\nsettle",
        "P own",
        "No requester asks for a policy here any more, but the last response still "
        "stands. Asking for a policy here and withdrawing it ends that.",
        true},
       {"request acl P own 5\nsettle\nunit 3 unavailable\nwithdraw acl P own\nsettle\n"
        "unit 3 available\nsettle",
        "P own",
        "No requester asks for a policy here. The chip still holds qos=5 at (u/3/Ethernet0.5 on "
        "u/3/Ethernet0, tags 5). Asking for a policy here and withdrawing it clears it.",
        true},
       {"request acl P own 5\nsettle\nunit 3 unavailable\nwithdraw acl P own\nsettle\n"
        "unit 3 available\nsettle\nrequest acl P own 6\nsettle\nwithdraw acl P own\nsettle",
        "P own", "No requester asks for a policy here.", false},
       {"request acl L own 1\nsettle\nmember u/3/PortChannel3 remove u/3/Ethernet8\nsettle\nchip "
        "refuse next 1\nrequest acl L own 3\nsettle",
        "L own",
        "Not in hardware: the chip refused the write of (u/3/PortChannel3.1 on u/3/Ethernet4, tags "
        "10) at 0.02 s. The chip holds qos=1 at (u/3/PortChannel3.1 on u/3/Ethernet4, tags 10). It "
        "was answered failed at 0.03 s: the chip refused the write of (u/3/PortChannel3.1 on "
        "u/3/Ethernet4, tags 10). chip replay writes it again.",
        true},
       {"chip delay 1\nrequest acl P own 5\nadvance 0.1\nrequest acl P own 6\nadvance 0.1\nrequest "
        "acl P own 5\nadvance 0.1",
        "P own", "In hardware. The chip's answer is due at 1 s.", true},
       {"request acl P own 5\nsettle\nunit 3 unavailable\nrequest acl P own 6\nsettle", "P own",
        "Not in hardware: unit 3 is not available. The chip holds qos=5 at (u/3/Ethernet0.5 on "
        "u/3/Ethernet0, tags 5). It is retried at 6 s.",
        true},
       {"request acl P own 5\nsettle\nchip refuse next 1\nrequest acl P own acl=3\nsettle", "P own",
        "Not in hardware: the low 10 bits of the policy, which is all that an in-LIF carries, are "
        "0. The chip holds qos=5 at (u/3/Ethernet0.5 on u/3/Ethernet0, tags 5). It was answered "
        "failed at 0.02 s: the chip refused the write of (u/3/Ethernet0.5 on u/3/Ethernet0, tags "
        "5). chip replay clears it.",
        true},
       {"unit 0 type 2\nrequest acl P 0 5\nsettle", "P 0", "In hardware.", false},
       {"request acl T own acl=3\nsettle\nwithdraw acl T own\nsettle", "T own",
        "No requester asks for a policy here. The chip still holds an entry without a policy at "
        "(u/3/Tunnel-t, unit 3). Asking for a policy here and withdrawing it clears it.",
        true},
       {"chip delay 1\nrequest acl P own 1\nadvance 0.1\nchip restart\nchip replay\nsettle\nchip "
        "lose next 1\nrequest acl P own 2\nsettle",
        "P own",
        "In hardware. The write of (u/3/Ethernet0.5 on u/3/Ethernet0, tags 5) is not answered, and "
        "no answer is on its way: an answer for the entry was lost at 1.1 s. It was answered "
        "success for qos=1, not for the present policy.",
        true},
       {"chip delay 0\nrequest acl T own 5\nsettle\nchip lose next 1\nrequest acl T own 6\n"
        "settle",
        "T own",
        "In hardware. The write of (u/3/Tunnel-t, unit 3) is not answered, and no answer is on its "
        "way: an answer for the entry was lost at 0 s. It was answered success for qos=5, not for "
        "the present policy.",
        true},
       {"chip slowness 0.02\nchip slow next 4\nrequest acl L own 5\nadvance 0.005\n"
        "request acl L own 6\nadvance 0.005\nrequest acl L own 5\nsettle",
        "L own",
        "In hardware. It is not answered; answers that it counts on do not come (1 of them).",
        true},
   });
}

TEST(ExplanationTest, TheFactsNameWhoAndWhen) {
   Result shared = run(named("request acl A own 5\nrequest acl B own 6\nsettle\nexplain A own"));
   EXPECT_THAT(shared.out, HasSubstr("shared with: u/0/PortChannel1.2 unit 0"));
   Result waiting = run(named("unit 0 unavailable\nrequest acl X own 5\nadvance 3\nexplain X own"));
   EXPECT_THAT(waiting.out, AllOf(HasSubstr("retry list: for qos=5, next tried at 4 s"),
                                  HasSubstr("response: in-progress for qos=5 since 0 s, when it "
                                            "was processed")));
   Result slow = run(named("chip slow next 1\nrequest acl L own 5\nadvance 0.5\nexplain L own"));
   EXPECT_THAT(slow.out,
               AllOf(HasSubstr("answers awaited: 1"), HasSubstr("answer due: at 1.01 s")));
   Result bypassed = run(named("request acl A own 5\nsettle\nrequest acl B own 5\nsettle\n"
                               "explain A own\nexplain B own"));
   EXPECT_THAT(bypassed.out,
               AllOf(HasSubstr("by the chip's answer for (vlan 10, domain 5, unit 0) (accepted)"),
                     HasSubstr("success for qos=5 since 0.01 s, when it was processed")));
}

} // namespace
} // namespace Agent
