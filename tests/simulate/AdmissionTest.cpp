// The rows of docs/behaviour.md's table of changes that would stop the library: each with both
// settings, with admission off, and where it does not hold.
#include "agent/command/ScenarioRunner.h"
#include "agent/inventory/FileContent.h"
#include "agent/inventory/InventoryReader.h"
#include "host/names/Names.h"
#include "simulate/Properties.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>

namespace Simulate {
namespace {

using Agent::fileContent;
using Agent::parseInventory;
using testing::HasSubstr;

std::string const folder = "examples/admission/";

// examples/admission/NAME.scenario.
struct Example {
   explicit Example(std::string const& name) {
      std::istringstream file(fileContent(folder + name + ".scenario").value());
      std::vector<std::string>* part = &before;
      for (std::string line; std::getline(file, line);) {
         if (line == "# The change:") {
            std::getline(file, change);
            std::getline(file, how);
            part = &after;
         } else if (!line.starts_with("#")) {
            part->push_back(line);
         }
      }
   }

   std::vector<std::string> before;
   std::string change;
   std::string how;
   std::vector<std::string> after;
};

class Play {
 public:
   explicit Play(std::string const& inventory = folder + "inventory.json")
       : host_(parseInventory(fileContent(inventory).value(), "inventory")) {}

   // Stops at the first error. "" when there was none.
   std::string run(std::vector<std::string> const& commands) {
      for (std::string const& command : commands) {
         errors_.str("");
         bool sound = runner_.runLine(command, "example", 1);
         if (!sound && host_.changes().detours().heldBack().empty()) {
            return errors_.str();
         }
         if (!command.starts_with("expect") && !command.starts_with("advance")) {
            commands_.push_back(command);
         }
         if (!sound) {
            return errors_.str();
         }
      }
      return "";
   }
   std::string run(std::string const& command) { return run(std::vector{command}); }
   Agent::AgentHost& host() { return host_; }
   std::optional<ShoalHost::Objection> refused() const { return runner_.refused(); }
   std::vector<std::string> const& commands() const { return commands_; }

 private:
   Agent::AgentHost host_;
   std::ostringstream output_;
   std::ostringstream errors_;
   Agent::ScenarioRunner runner_{host_, output_, errors_, {}};
   std::vector<std::string> commands_;
};

// What is ahead of the change, and the change, where the condition does not hold.
std::map<std::string, std::vector<std::string>> const nearMisses{
    {"withdrawn-without-entry",
     {"request acl Ethernet0.1 own qos=5", "request acl Ethernet0.2 own qos=6", "settle",
      "withdraw acl Ethernet0.2 own"}},
    {"taken-out-without-entry",
     {"request acl Ethernet0.1 own qos=5", "request acl Ethernet0.2 own qos=6", "settle",
      "program-in-hw Ethernet0.2 off"}},
    {"withdrawn-vlan-interface",
     {"internal-vlan Ethernet8 9", "request acl Vlan9 own qos=5", "request acl Ethernet8 own qos=5",
      "settle", "withdraw acl Vlan9 own"}},
    {"withdrawn-qinq",
     {"request acl Ethernet0.2 own qos=5", "settle", "encapsulation Ethernet0.2 10,7", "settle",
      "withdraw acl Ethernet0.2 own"}},
    {"moved-off-shared-entry",
     {"request acl Ethernet0.1 own qos=5", "request acl Ethernet0.2 own qos=5", "settle",
      "encapsulation Ethernet0.1 20"}},
    {"moved-with-its-next-policy",
     {"request acl Ethernet0.1 own qos=5", "settle", "vlan-domain Ethernet0 7", "settle",
      "request acl Ethernet0.1 own qos=8"}},
    {"lookup-goes", {"request acl Ethernet32.1 own qos=5", "settle", "unit 2 lookup none"}},
    {"label-of-acl", {"settle", "request acl Ethernet32.1 own qos=5"}},
    {"label-without-lookup", {"settle", "request lumen Ethernet32.1 own lumen=3"}},
    {"label-with-other-fields", {"settle", "request rampart Ethernet32.1 own lumen=3"}},
    {"merge-finds-a-label",
     {"request acl Ethernet0.1 own qos=5", "unit 1 lookup lumen", "settle", "rebuild merge"}},
    {"unit-changes-generation", {"request acl Ethernet32.1 own qos=5", "settle", "unit 1 type 2"}},
    {"label-is-kept",
     {"request acl Ethernet64.1 own qos=5", "unit 3 lookup lumen", "settle",
      "withdraw acl Ethernet64.1 own", "settle", "unit 3 type arad"}},
    {"withdrawal-under-way",
     {"request acl Ethernet64.1 own qos=5", "settle", "withdraw acl Ethernet64.1 own", "settle",
      "unit 3 type arad"}},
    {"port-map-not-valid", {"port-map-state valid", "port-map-state version"}},
    {"port-without-place", {"port-map Ethernet0 none", "port-map-state version"}},
    {"answer-still-out",
     {"request acl Ethernet0.3 own qos=5", "settle", "withdraw acl Ethernet0.3 own",
      "encapsulation Ethernet0.3 100,7", "settle", "request acl Ethernet0.3 own qos=5", "settle",
      "withdraw acl Ethernet0.3 own"}},
    {"unit-beyond-the-key", {"settle", "request acl Ethernet32.1 own qos=5"}},
};

TEST(AdmissionTest, TheDocumentHasARowForEachExample) {
   std::set<std::string> examples;
   for (auto const& file : std::filesystem::directory_iterator(folder)) {
      if (file.path().extension() == ".scenario") {
         examples.insert(file.path().stem().string());
      }
   }
   std::set<std::string> rows;
   std::string document = fileContent("docs/behaviour.md").value();
   std::regex link(R"(\n\| \[([^\]]+)\]\(\.\./examples/admission/([^)]+)\.scenario\))");
   for (std::sregex_iterator each(document.begin(), document.end(), link), end; each != end;
        ++each) {
      EXPECT_EQ((*each)[1], (*each)[2]);
      rows.insert((*each)[2]);
   }
   EXPECT_EQ(rows, examples);
   std::set<std::string> missed;
   for (auto const& [name, commands] : nearMisses) {
      missed.insert(name);
   }
   EXPECT_EQ(missed, examples);
}

TEST(AdmissionTest, WhereTheConditionDoesNotHoldTheChangePassesAtOnce) {
   for (auto const& [name, commands] : nearMisses) {
      for (std::string setting : {"refuse", "detour"}) {
         Play play;
         EXPECT_EQ(play.run("set admission " + setting), "");
         EXPECT_EQ(play.run(commands), "") << name;
         EXPECT_TRUE(play.host().changes().detours().waiting().empty()) << name;
         EXPECT_EQ(play.run("settle"), "");
      }
   }
}

TEST(AdmissionTest, ARefusedChangeChangesNothingAndWouldHaveStoppedTheLibrary) {
   for (auto const& [name, miss] : nearMisses) {
      Example const example(name);
      Play play;
      EXPECT_EQ(play.run(example.before), "") << name;
      auto before = tablesOf(play.host());
      EXPECT_THAT(play.run(example.change), HasSubstr("error: ")) << name;
      EXPECT_EQ(tablesOf(play.host()), before) << name;
      auto objection = play.refused();
      ASSERT_TRUE(objection) << name;
      if (!objection->open && !objection->condition.empty()) {
         auto carryOut = [&] {
            play.run("set admission off");
            play.run(example.change);
            play.run("withdraw lumen Ethernet32.1 own");
            play.run("settle");
         };
         EXPECT_DEATH(carryOut(), HasSubstr(objection->condition)) << name;
      }
      EXPECT_EQ(play.run("settle"), "");
   }
}

TEST(AdmissionTest, AWayRoundEndsAsAFreshStartDoes) {
   for (auto const& [name, miss] : nearMisses) {
      Example const example(name);
      Play play;
      ASSERT_EQ(play.run("set admission detour"), "");
      EXPECT_EQ(play.run(example.before), "") << name;
      std::string error = play.run(example.change);
      EXPECT_EQ(error.empty(), example.how.starts_with("# By a way round")) << name << error;
      EXPECT_EQ(play.run(example.after), "") << name;
      EXPECT_TRUE(play.host().changes().detours().waiting().empty()) << name;
      if (example.how.find("unlike a fresh start") != std::string::npos ||
          example.how == "# It is refused:") {
         continue;
      }
      // A new agent is not asked for what is held back.
      std::vector<std::string> commands = play.commands();
      for (auto const& held : play.host().changes().detours().heldBack()) {
         std::string name = "request " + std::string(requesterName(held.requester));
         std::erase_if(commands, [&](auto const& each) { return each.starts_with(name); });
      }
      Findings findings;
      checkFresh(play.host(), commands, findings);
      EXPECT_TRUE(findings.empty()) << name << ": " << findings.list().front().text;
   }
}

// Ethernet0.1 may leave its entry only because Ethernet0.3 comes to the next one ahead of it.
TEST(AdmissionTest, AChangeIsJudgedForThoseWhoCountOnWhatItTakesAway) {
   for (char const* change : {"encapsulation Ethernet0.3 30", "withdraw acl Ethernet0.3 own",
                              "request acl Ethernet0.3 own qos=7"}) {
      Play play;
      EXPECT_EQ(play.run({"encapsulation Ethernet0.3 20", "request acl Ethernet0.1 own qos=5",
                          "request acl Ethernet0.2 own qos=6", "settle",
                          "request acl Ethernet0.3 own qos=5", "encapsulation Ethernet0.1 20"}),
                "");
      EXPECT_THAT(play.run(change), HasSubstr("Ethernet0.1 unit 1 would move off the entry"));
      EXPECT_EQ(play.run({"settle", "expect isem 20 1 1 qos=5", change, "settle"}), "") << change;
   }
}

TEST(AdmissionTest, ALostAnswerIsAskedForAgainAndTheLastWishWins) {
   Play play;
   ASSERT_EQ(play.run({"set admission detour", "set answer-bound 5",
                       "request acl Ethernet0.1 own qos=5", "request acl Ethernet0.2 own qos=6",
                       "settle", "chip lose next 2", "encapsulation Ethernet0.1 20",
                       "request acl Ethernet0.2 own qos=7", "encapsulation Ethernet0.1 21",
                       "encapsulation Ethernet0.1 22", "expect count changes 2", "settle"}),
             "");
   EXPECT_EQ(play.run({"expect isem 10 1 1 qos=7", "expect isem 22 1 1 qos=5",
                       "expect in-hardware Ethernet0.1 own", "expect in-hardware Ethernet0.2 own",
                       "expect count pending 0", "expect count changes 0"}),
             "");
   auto const& notes = play.host().changes().detours().notes();
   EXPECT_TRUE(std::any_of(notes.begin(), notes.end(), [](auto const& note) {
      return note.text == "lc1/asic0/Ethernet0.2 unit 1 was answered success 10.02 s after its "
                          "withdrawal";
   })) << notes.back().text;
}

// Two changes on their way: that of Ethernet0, and behind nothing of it that of Ethernet64.
std::vector<std::string> const twoOnTheirWay{"set admission detour",
                                             "request acl Ethernet0.1 own qos=5",
                                             "request acl Ethernet0.2 own qos=6",
                                             "request acl Ethernet64.1 own qos=5",
                                             "settle",
                                             "encapsulation Ethernet0.1 20",
                                             "withdraw acl Ethernet64.1 own",
                                             "unit 3 type arad",
                                             "expect count changes 2"};

TEST(AdmissionTest, AnAnswerThatNeverComesIsGivenUp) {
   Play play;
   ASSERT_EQ(
       play.run({"set admission detour", "set answer-bound 5", "request acl Ethernet0.1 own qos=5",
                 "request acl Ethernet0.2 own qos=6", "settle", "chip lose next 7",
                 "encapsulation Ethernet0.1 20", "settle", "expect count changes 0",
                 "expect isem 20 1 1 qos=5", "expect isem 10 1 1 qos=6"}),
       "");
   std::string told;
   for (auto const& note : play.host().changes().detours().notes()) {
      told += ShoalHost::formatSeconds(note.at) + ": " + note.text.substr(0, 23) + "\n";
   }
   EXPECT_EQ(told, "0.01: the encapsulation of lc\n5.01: the chip is asked again\n"
                   "10.01: the chip is asked again\n15.01: the chip is asked again\n"
                   "20.01: the chip is asked again\n25.01: the chip is asked again\n"
                   "30.01: the chip does not answe\n30.01: the encapsulation of lc\n"
                   "30.02: lc1/asic0/Ethernet0.2 u\n");
}

TEST(AdmissionTest, WhatIsBehindAChangeOnItsWaySaysBehindWhich) {
   Play play;
   ASSERT_EQ(play.run(twoOnTheirWay), "");
   ASSERT_EQ(play.run("set admission refuse"), "");
   EXPECT_THAT(play.run("encapsulation Ethernet0.1 21"),
               HasSubstr("still on its way: the encapsulation of lc1/asic0/Ethernet0.1; settle"));
   EXPECT_THAT(play.run("request acl Ethernet64.1 own qos=7"),
               HasSubstr("still on its way: the type of unit 3; settle"));
   EXPECT_EQ(play.run({"settle", "expect count changes 0", "expect count held 0",
                       "expect isem 10 1 1 qos=6", "expect isem 20 1 1 qos=5"}),
             "");
}

TEST(AdmissionTest, WhatIsWithdrawnWhileItIsHeldBackIsNotToldToBeAnswered) {
   Play play;
   ASSERT_EQ(play.run(twoOnTheirWay), "");
   EXPECT_EQ(play.run({"withdraw acl Ethernet0.1 own", "settle", "expect count held 0",
                       "expect in-hardware Ethernet0.2 own", "expect count requests 1"}),
             "");
   std::vector<std::string> back;
   for (auto const& note : play.host().changes().detours().notes()) {
      if (auto end = note.text.find(" was answered"); end != std::string::npos) {
         back.push_back(note.text.substr(0, end));
      }
   }
   EXPECT_EQ(back, std::vector<std::string>{"lc1/asic0/Ethernet0.2 unit 1"});
}

struct WayRound {
   std::string name;
   std::vector<std::string> commands; // "! " ahead of one that is refused
};

TEST(AdmissionTest, WaysRoundTakeWhatElseIsGoingOnIntoAccount) {
   std::vector<std::string> const moves{"request acl Ethernet0.1 own qos=5",
                                        "request acl Ethernet0.2 own qos=6", "settle",
                                        "chip delay 5", "encapsulation Ethernet0.1 20"};
   auto with = [&](std::vector<std::string> const& rest) {
      auto all = moves;
      all.insert(all.end(), rest.begin(), rest.end());
      return all;
   };
   std::vector<WayRound> const ways{
       {"the intake is built again",
        with({"rebuild intake", "settle", "expect isem 20 1 1 qos=5", "expect isem 10 1 1 qos=6"})},
       {"the intake was built again before, and has forgotten a withdrawal",
        {"request acl Ethernet32.1 own qos=1", "settle", "request acl Ethernet32.1 own other=2",
         "rebuild intake", "unit 2 type 2", "settle", "expect count changes 0",
         "expect out-of-hardware Ethernet32.1 own", "expect count isem 0"}},
       {"what is held back was taken out before, and the merge keeps it",
        {"request lumen Ethernet32.1 own lumen=1", "request rampart Ethernet32.1 own lumen=1",
         "request acl Ethernet32.1 own qos=5", "withdraw lumen Ethernet32.1 own", "advance 0.1",
         "program-in-hw Ethernet32.1 off", "unit 2 lookup none", "settle", "expect count changes 0",
         "expect count held 1"}},
       {"a request waits behind it, and is withdrawn",
        with({"request acl Ethernet0.3 own qos=7", "encapsulation Ethernet0.3 10",
              "request acl Ethernet0.3 own qos=8", "expect count held 3",
              "withdraw acl Ethernet0.3 own", "settle", "expect count requests 2"})},
       {"another one comes to the entry",
        {"request acl Ethernet0.1 own qos=5", "request acl Ethernet0.2 own qos=6",
         "request acl Ethernet0.3 own qos=7", "settle", "chip delay 5",
         "encapsulation Ethernet0.1 20", "encapsulation Ethernet0.3 10", "expect count changes 2",
         "settle", "expect isem 10 1 1 qos=7"}},
       {"a wish is remembered behind it",
        with({"! request lumen Ethernet0.1 own lumen=3", "settle", "expect count held 1",
              "unit 1 lookup lumen", "settle", "expect count requests 3", "expect count held 0"})},
       {"a pattern that is sound in part",
        {"unit 2 lookup lumen", "! request lumen lc?/asic0/Ethernet*.1 own lumen=3",
         "expect count requests 1", "expect count held 3", "unit 1 lookup lumen", "settle",
         "expect count requests 2", "expect count held 2"}},
       {"one that was answered without an entry is not left without any",
        {"request acl Ethernet0.2 own qos=6", "settle", "encapsulation Ethernet0.3 10",
         "request acl Ethernet0.1 own qos=5", "settle", "request acl Ethernet0.3 own qos=5",
         "settle", "encapsulation Ethernet0.1 20", "settle", "expect in-hardware Ethernet0.3 own",
         "expect isem 10 1 1 qos=5"}},
       {"held requests come back without admission",
        {"request lumen Ethernet32.1 own lumen=3", "settle", "unit 2 lookup none", "settle",
         "expect count held 1", "set admission off", "unit 2 lookup lumen", "settle",
         "expect count held 0", "expect status lumen Ethernet32.1 own success"}},
       {"the key cannot name the unit",
        {"unit 200 type 2", "request acl Ethernet96.1 own qos=5", "settle", "unit 200 type arad",
         "settle", "expect count held 1", "withdraw acl Ethernet96.1 own", "settle",
         "expect count held 0", "expect count requests 0"}},
       {"the merge keeps what nobody asks for",
        {"request acl Ethernet64.1 own qos=5,lumen=3", "unit 3 lookup lumen", "settle",
         "! unit 3 type arad", "request lumen Ethernet64.1 own lumen=4",
         "withdraw lumen Ethernet64.1 own", "settle", "unit 3 type arad", "settle",
         "expect count changes 0", "expect count held 1"}},
       {"the interface has a request on another unit",
        {"request acl Ethernet0.1 own qos=5", "request acl Ethernet0.2 own qos=5",
         "request acl Ethernet0.2 2 qos=7", "settle", "request acl Ethernet0.2 2 qos=8",
         "withdraw acl Ethernet0.2 1", "advance 0.02", "expect in-hardware Ethernet0.2 2",
         "expect count requests 2"}}};
   for (auto const& [name, commands] : ways) {
      Play play;
      ASSERT_EQ(play.run("set admission detour"), "");
      for (std::string const& command : commands) {
         bool refused = command.starts_with("! ");
         EXPECT_EQ(play.run(command.substr(refused ? 2 : 0)) != "", refused)
             << name << ": " << command << " " << play.run("settle");
      }
   }
}

// Nothing but the work of another request frees the entry.
TEST(AdmissionTest, WhatIsStuckIsHandedOverWhenItsEntryIsFree) {
   Play play("examples/chassis.json");
   std::string const port = "lc1/asic0/Ethernet0";
   std::string const lag = "lc1/asic0/PortChannel1";
   for (std::string const& command :
        {std::string("set admission detour"), std::string("set quantum 0"),
         "encapsulation " + port + ".13 11", "encapsulation " + lag + ".104 11",
         "vlan-domain " + lag + " 1", "request acl " + lag + ".104 own other=2",
         std::string("settle"), "vlan-domain " + lag + " none", std::string("unit 0 lookup lumen"),
         "request acl " + port + ".11 own qos=1",
         "request lumen " + lag + ".104 own lumen=2,other=1", std::string("settle"),
         "request acl " + port + ".13 own qos=31", "dynamic-encapsulation " + port + ".11 10",
         "vlan-domain " + lag + " 8", std::string("settle"), std::string("expect count held 0"),
         "expect in-hardware " + port + ".13 own"}) {
      EXPECT_EQ(play.run(command), "") << command;
   }
}

} // namespace
} // namespace Simulate
