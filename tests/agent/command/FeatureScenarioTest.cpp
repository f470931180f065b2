#include "agent/inventory/FileContent.h"
#include "tests/agent/command/Scenario.h"

#include <algorithm>

namespace Agent {
namespace {

using testing::HasSubstr;

std::string const setUp = "feature-directory qos add\nfeature-directory sec add\n";

// What the machines made, before and after a fresh start; rows in order of text, since a fresh
// start inserts in another order.
void expectAsFresh(std::string const& scenario, std::string const& inventory = twins) {
   std::string shows;
   for (char const* table :
        {"words", "expanded", "sub-interface-words", "feature-responses", "chip-words"}) {
      shows += std::string("show ") + table + "\n";
   }
   Result result =
       run(scenario + "\n" + shows + "echo fresh\nstart-features-fresh\n" + shows, {}, inventory);
   ASSERT_EQ(result.code, 0) << result.errors;
   auto middle = result.out.find("fresh\n");
   ASSERT_NE(middle, std::string::npos);
   auto sorted = [](std::string const& text) {
      std::vector<std::string> lines;
      std::istringstream in(text);
      for (std::string line; std::getline(in, line);) {
         lines.push_back(line);
      }
      std::sort(lines.begin(), lines.end());
      return lines;
   };
   EXPECT_GT(middle, 1000U) << "there is something to compare";
   auto before = sorted(result.out.substr(0, middle));
   auto after = sorted(result.out.substr(middle + 6));
   std::vector<std::string> differences;
   std::set_symmetric_difference(before.begin(), before.end(), after.begin(), after.end(),
                                 std::back_inserter(differences));
   EXPECT_THAT(differences, testing::IsEmpty());
}

TEST(FeatureScenarioTest, FeaturesReachTheWordsAndAreAnswered) {
   expectSound(setUp + "feature qos u/3/Ethernet0 own 1 3\nfeature sec u/3/Ethernet0 own 2 7\n"
                       "expect word u/3/Ethernet0 0x00000000000000e3\n"
                       "expect feature u/3/Ethernet0 own 2 success 7\n"
                       // the VLAN's value wins, over the port's own
                       "feature sec u/3/Vlan7 u/3:0 2 1\nexpect word u/3/Ethernet0 "
                       "0x0000000000000023\nuntagged-vlan u/3/Ethernet0 none\n"
                       "expect word u/3/Ethernet0 0x00000000000000e3\n"
                       "feature qos u/3/Ethernet0.5 own 3 1\n"
                       "expect sub-interface-word u/3/Ethernet0.5 own 0x0000000000000400\n"
                       // layouts show with the key version
                       "tcam-layout u/3:0 1 40 8\nexpect word u/3/Ethernet0 0x00000000000000e3\n"
                       "tcam-key-version\nexpect word u/3/Ethernet0 0x00000300000000e0\n"
                       "tcam-layout u/3:0 2 none\ntcam-key-version\n"
                       "expect word u/3/Ethernet0 0x0000030000000000\n"
                       "withdraw-feature qos u/3/Ethernet0 own 1\n"
                       "expect feature u/3/Ethernet0 own 1 none\n"
                       "withdraw-feature sec u/3/Ethernet0 own 2\nexpect word u/3/Ethernet0 none");
}

TEST(FeatureScenarioTest, MembersCarryThePortChannelsFeatures) {
   expectSound(setUp + "feature sec u/3/PortChannel3 own 2 9\nfeature qos u/3/Ethernet4 own 1 1\n"
                       "expect word u/3/Ethernet4 0x0000000000000120\n"
                       "expect feature u/3/Ethernet4 own 1 success\n"
                       // out of one port-channel and into another
                       "member u/3/PortChannel3 remove u/3/Ethernet4\n"
                       "expect word u/3/Ethernet4 0x0000000000000001\n"
                       "feature sec u/0/PortChannel1 u/3:0 2 2\n"
                       "member u/0/PortChannel1 add u/3/Ethernet4\n"
                       "expect word u/3/Ethernet4 0x0000000000000040\n"
                       "port-channel u/0/PortChannel1 remove\n"
                       "expect word u/3/Ethernet4 0x0000000000000001");
}

TEST(FeatureScenarioTest, WhatWouldStopTheLibraryIsRefused) {
   std::string word = setUp + "feature qos u/3/Ethernet0 own 1 3\n";
   EXPECT_THAT(refusal(word + "port-map-state invalid\nport-map-state version"),
               HasSubstr("say port-map-state valid first"));
   EXPECT_THAT(refusal(word + "port-map u/3/Ethernet0 none\nport-map-state version"),
               HasSubstr("u/3/Ethernet0, which carries a feature word; give it a place first"));
   for (auto const& [line, reason] : {
            std::pair{"feature qos u/3/Tunnel-t u/3:0 1 1", "nothing serves in-LIF features there"},
            std::pair{"feature qos u/0/Ethernet8-L3Flood own 1 1", "nothing serves in-LIF"},
            std::pair{"feature qos u/3/Ethernet0 u/3:2 1 1", "a TCAM is UNIT:CORE"},
            std::pair{"feature qos u/3/Ethernet0 u/9:0 1 1", "has no unit 'u/9'"},
            std::pair{"feature qos u/3/Ethernet0 own 13 1", "TYPE is 1 to 12"},
            std::pair{"feature qos u/3/Ethernet0 own 1 4294967296", "VALUE is 0 to"},
            std::pair{"feature x u/3/Ethernet0 own 1 1", "there is no request directory 'x'"},
            std::pair{"withdraw-feature qos u/3/Ethernet0 own 1", "asks for nothing there"},
            std::pair{"tcam-layout u/3:0 1 60 8", "does not fit into 64 bits"},
            std::pair{"port-channel u/3/Ethernet0 remove", "is not a port-channel"},
            std::pair{"untagged-vlan u/3/Ethernet0.5 7", "neither a port nor a port-channel"},
            std::pair{"feature-directory x remove", "there is no directory 'x'"},
        }) {
      EXPECT_THAT(refusal(setUp + line), HasSubstr(reason)) << line;
   }
}

TEST(FeatureScenarioTest, EachStateIsExplained) {
   struct Case {
      char const* scenario;
      char const* verdict;
   };
   for (auto const& [scenario, verdict] : {
            Case{"explain-feature u/3/Ethernet0 own 1", "No directory asks for this feature here."},
            Case{"feature qos u/3/Ethernet0 own 1 3\nexplain-feature u/3/Ethernet0 own 1",
                 ": In the word of u/3/Ethernet0. In hardware.\n"},
            Case{"feature qos u/3/PortChannel3 own 1 3\nexplain-feature u/3/PortChannel3 own 1",
                 ": In the words of u/3/Ethernet4, u/3/Ethernet8, u/3/Ethernet12. In hardware.\n"},
            Case{"feature qos u/3/Ethernet0 own 1 3\nfeature sec u/3/Ethernet0 own 1 3\n"
                 "withdraw-feature sec u/3/Ethernet0 own 1\nexplain-feature u/3/Ethernet0 own 1",
                 "although qos asks: another directory withdrew it"},
            Case{"port-map-state invalid\nfeature qos u/3/Ethernet0 own 1 3\n"
                 "explain-feature u/3/Ethernet0 own 1",
                 ": Not in the word of u/3/Ethernet0: it has no word, and gets none before the "
                 "port map is valid. No answer to the present request: the port map is not valid"},
            Case{"port-channel u/3/PortChannel3 remove\nfeature qos u/3/PortChannel3 u/3:0 1 3\n"
                 "explain-feature u/3/PortChannel3 u/3:0 1",
                 "the port-channel does not exist"},
            Case{"feature qos u/3/Ethernet4 own 1 3\nexplain-feature u/3/Ethernet4 own 1",
                 ": It leads to no word: the port is a member of u/3/PortChannel3, whose features "
                 "count "
                 "while it is. It was answered success.\n"},
            Case{"feature qos u/3/Ethernet0 own 1 3\n"
                 "untagged-vlan u/3/Ethernet0 none\n"
                 "member u/3/PortChannel3 add u/3/Ethernet0\nexplain-feature u/3/Ethernet0 own 1",
                 "whose features count while it is. The word of u/3/Ethernet0 has 3 in this "
                 "field. It was answered success."},
            Case{"feature qos u/3/Ethernet0 own 1 3\nuntagged-vlan u/3/Ethernet0 none\n"
                 "member u/3/PortChannel3 add u/3/Ethernet0\n"
                 "withdraw-feature qos u/3/Ethernet0 own 1\nexplain-feature u/3/Ethernet0 own 1",
                 ": No directory asks for this feature here. The word of u/3/Ethernet0 has 3 in "
                 "this field.\n"},
            Case{"feature qos u/3/PortChannel3 own 1 3\nport-map-state invalid\n"
                 "member u/3/PortChannel3 remove u/3/Ethernet4\n"
                 "withdraw-feature qos u/3/PortChannel3 own 1\nexplain-feature u/3/Ethernet4 own 1",
                 ": No directory asks for this feature here. The word of u/3/Ethernet4 has 3 in "
                 "this field.\n"},
            Case{"feature qos u/3/PortChannel3 u/0:0 1 3\n"
                 "explain-feature u/3/PortChannel3 u/0:0 1",
                 ": It leads to no word: u/3/PortChannel3 has no member on u/0:0. It was answered "
                 "success."},
            Case{"untagged-vlan u/3/Ethernet0 none\nfeature qos u/3/Vlan7 u/3:0 1 3\n"
                 "explain-feature u/3/Vlan7 u/3:0 1",
                 ": It leads to no word: no port of u/3:0 has this VLAN untagged, and the features "
                 "of a VLAN "
                 "reach untagged ports only. It was answered success."},
            Case{"feature qos u/3/Ethernet0 u/3:0 1 3\nfeature qos u/3/Ethernet0 u/3:1 1 4\n"
                 "untagged-vlan u/3/Ethernet0 none\nexplain-feature u/3/Ethernet0 u/3:0 1",
                 ": Not in the word of u/3/Ethernet0: the word has 4 in this field: it equals the "
                 "word "
                 "of u/3/Ethernet0 on u/3:1. It was answered success."},
            Case{"feature qos u/3/Ethernet0 own 1 40\nexplain-feature u/3/Ethernet0 own 1",
                 "The value 40 is wider than its field of 5 bits; the rest runs into the bits "
                 "above it"},
            Case{"feature qos u/3/Ethernet0 own 1 40",
                 "warning: the field of feature1 on u/3:0 has 5 bits: the value 40 is wider"},
            Case{"tcam-layout u/3:0 1 none\nfeature qos u/3/Ethernet0 own 1 3\n"
                 "explain-feature u/3/Ethernet0 own 1",
                 ": It leads to no word: the TCAM has no place for this feature. It was answered "
                 "success."},
        }) {
      Result result = run(setUp + scenario);
      EXPECT_EQ(result.code, 0) << scenario << result.errors;
      EXPECT_THAT(result.out, HasSubstr(verdict)) << scenario;
   }
}

TEST(FeatureScenarioTest, WordsReachTheChip) {
   struct Case {
      char const* scenario;
      char const* verdict;
   };
   std::string const explain = "\nexplain-feature u/3/Ethernet0 u/3:0 1\n";
   for (auto const& [scenario, verdict] : {
            Case{"chip refuse next 1 table port-word\nfeature qos u/3/Ethernet0 own 1 3\nsettle",
                 ": In the word of u/3/Ethernet0. Not in hardware: the chip refused the write of "
                 "(unit 3, port 0) at 0 s.\n"},
            Case{"chip capacity 3 0\nfeature qos u/3/Ethernet0 own 1 3\nsettle",
                 "Not in hardware: the chip refused the write of (unit 3, port 0) at 0 s, since "
                 "the unit was full."},
            Case{
                "feature qos u/3/Ethernet0 own 1 3\nsettle\nchip restart",
                "Not in hardware: the chip restarted at 0.01 s, and nothing wrote (unit 3, port 0) "
                "since."},
            Case{"feature qos u/3/Ethernet0 own 1 3\nsettle\nchip restart\nchip replay\nsettle",
                 ": In the word of u/3/Ethernet0. In hardware.\n"},
            Case{"feature qos u/3/Ethernet0 own 1 3\nsettle\nport-map u/3/Ethernet0 none",
                 "Not in hardware: u/3/Ethernet0 is on no unit."},
            Case{"feature qos u/3/Ethernet0 own 1 3\nsettle\nport-map-state invalid\n"
                 "port-map u/3/Ethernet0 3 9",
                 "Not in hardware: nothing is written while the port map is not valid."},
            Case{"feature qos u/3/Ethernet0 own 1 3\nsettle\nport-map-state invalid\n"
                 "port-map u/3/Ethernet0 3 9\nport-map-state valid",
                 ": In the word of u/3/Ethernet0. In hardware.\n"},
        }) {
      Result result = run(setUp + "untagged-vlan u/3/Ethernet0 none\n" + scenario + explain);
      EXPECT_EQ(result.code, 0) << scenario << result.errors;
      EXPECT_THAT(result.out, HasSubstr(verdict)) << scenario;
   }
   // A place and a sub-interface each have a word, which moves with the port and goes with it.
   Result words =
       run(setUp + "feature qos u/3/Ethernet0 own 1 3\nfeature qos u/3/Ethernet0.5 own 2 "
                   "1\nport-map u/3/Ethernet0 3 9\nsettle\nshow chip-words\n"
                   "withdraw-feature qos u/3/Ethernet0 own 1\nsettle\nshow chip");
   EXPECT_THAT(words.out, testing::ContainsRegex("\\(unit 3, port 9\\) +0x0*3 +accepted"));
   EXPECT_THAT(words.out,
               testing::ContainsRegex("\\(u/3/Ethernet0.5, TCAM 6\\) +0x0*20 +accepted"));
   EXPECT_THAT(words.out, testing::Not(HasSubstr("  port-word ")));
   EXPECT_THAT(words.out, HasSubstr("  sub-interface-word "));
   Result problems = run(setUp + "chip refuse next 1 table port-word\n"
                                 "feature qos u/3/Ethernet0 own 1 3\nsettle\nproblems");
   EXPECT_THAT(problems.out, testing::ContainsRegex(
                                 "word of \\(unit 3, port 0\\) .*The chip refused the write of "
                                 "\\(unit 3, port 0\\) at 0 s\\."));
   problems = run(setUp + "feature qos u/3/Ethernet0 own 1 3\nsettle\nport-map-state invalid\n"
                          "port-map u/3/Ethernet0 3 9\nproblems");
   EXPECT_THAT(problems.out,
               testing::ContainsRegex("word of \\(unit 3, port 0\\) .*Nobody asks for "
                                      "it any more, and nothing is removed"));
   EXPECT_THAT(problems.out,
               testing::ContainsRegex("word of \\(unit 3, port 9\\) .*Nothing is written "
                                      "while the port map is not valid\\."));
   // The answer told is that of the last write; one of an equal word before it does not count.
   words = run(setUp + "untagged-vlan u/3/Ethernet0 none\n" +
               "feature qos u/3/Ethernet0 own 1 3\nsettle\nchip lose next 1 table port-word\n"
               "feature qos u/3/Ethernet0 own 1 4\nsettle\nchip refuse next 1 table port-word\n"
               "feature qos u/3/Ethernet0 own 1 3\nsettle\nshow chip-words");
   EXPECT_THAT(words.out, testing::ContainsRegex("\\(unit 3, port 0\\) +0x0*3 +refused"));
   // A machine that is built again takes no word out of the chip.
   words = run(setUp + "feature qos u/3/Ethernet0 own 1 3\nsettle\nrebuild merged-words\n"
                       "show answers\nshow chip-words");
   EXPECT_THAT(words.out, HasSubstr("answers: 0 rows"));
   EXPECT_THAT(words.out, testing::ContainsRegex("\\(unit 3, port 0\\) +0x0*3 +accepted"));
}

TEST(FeatureScenarioTest, AfterChangesOfEveryKindAChassisIsAsFresh) {
   expectAsFresh(R"(feature-directory a add
feature-directory b add
feature a card4/npu0/Ethernet* own 1 3
feature b card4/npu0/PortChannel??? own 2 5
feature a card3/npu0/PortChannel??? own 3 7
feature b card2/npu0/Ethernet*.* own 4 9
feature b card2/npu0/Vlan* own 5 2
member card4/npu0/PortChannel401 remove card4/npu0/Ethernet40
member card4/npu0/PortChannel403 add card4/npu0/Ethernet40
member card4/npu0/PortChannel402 remove card4/npu0/Ethernet52
untagged-vlan card2/npu0/Ethernet0 600
tcam-layout card4/npu0:0 1 32 5
tcam-layout card4/npu0:1 2 none
withdraw-feature a card4/npu0/Ethernet1* own 1
feature a card4/npu0/Ethernet12 own 1 4
tcam-key-version
port-map card4/npu0/Ethernet44 40 250
port-map card3/npu0/Ethernet80 none
port-map card3/npu0/Ethernet80 24 251
port-map-state invalid
member card4/npu0/PortChannel403 remove card4/npu0/Ethernet60
feature a card3/npu0/PortChannel301 own 6 1
port-map-state valid
port-map-state version
withdraw-feature b card4/npu0/PortChannel40? own 2
feature b card4/npu0/PortChannel401 own 2 6
feature b card3/npu1/PortChannel??? own 7 7
member card4/npu0/PortChannel403 remove card4/npu0/Ethernet40
member card4/npu0/PortChannel401 add card4/npu0/Ethernet40
port-map-state version
tcam-key-version)",
                 fileContent("examples/eight-cards.json").value());
}

} // namespace
} // namespace Agent
