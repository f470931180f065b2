#include "simulate/Simulation.h"

#include "agent/command/ScenarioRunner.h"
#include "agent/inventory/FileContent.h"
#include "agent/inventory/InventoryReader.h"
#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"
#include "simulate/History.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Simulate {

using namespace Agent;

namespace {

using testing::HasSubstr;

Inventory chassis() {
   return parseInventory(R"({
  "u|0": {"PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}, "Ethernet12": {}},
          "PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet12": {}},
          "VLAN_SUB_INTERFACE": {"PortChannel1.1": {"vlan": 10}, "PortChannel1.2": {"vlan": 10},
                                 "Ethernet0.5": {"vlan": 5}, "Ethernet0.6": {"vlan": 6}},
          "INTERFACE": {"Ethernet8": {}}, "VLAN_INTERFACE": {"Vlan9": {}}},
  "u|1": {"PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}},
          "PORTCHANNEL": {"PortChannel3": {}},
          "PORTCHANNEL_MEMBER": {"PortChannel3|Ethernet4": {}, "PortChannel3|Ethernet8": {}},
          "VLAN_SUB_INTERFACE": {"Ethernet0.5": {"vlan": 5}, "PortChannel3.1": {"vlan": 10}},
          "VXLAN_TUNNEL": {"t": {}}, "SHOAL_UNIT": {"u|1": {"fap_type": 2}}}
})",
                         "test");
}

std::string temporary(std::string const& name) {
   return (std::filesystem::temp_directory_path() / (name + std::to_string(::getpid()))).string();
}

// All that a history prints and traces.
std::string played(uint64_t seed) {
   std::string path = temporary("simulation-trace");
   std::ostringstream out;
   {
      AgentHost host(chassis());
      ScenarioRunner runner(host, out, out, {true, true});
      History history(chassis(), seed);
      auto commands = history.opening();
      commands.insert(commands.begin(), {"trace file " + path, "trace text all on"});
      for (int i = 0; i < 150; ++i) {
         commands.push_back(history.next());
      }
      commands.insert(commands.end(), {"show requests", "show isem"});
      for (std::string const& command : commands) {
         runner.runLine(command, "history", 1);
      }
      runner.runLine("trace text all off", "history", 1);
   }
   std::string text = out.str() + fileContent(path).value();
   std::filesystem::remove(path);
   return text;
}

TEST(SimulationTest, ASeedGivesTheSameBytesTracesIncluded) {
   std::string first = played(9);
   EXPECT_THAT(first, HasSubstr("TcamSharingCodef::processBacklog"));
   EXPECT_EQ(first, played(9));
   EXPECT_NE(first, played(10));
}

TEST(SimulationTest, RandomHistoriesHold) {
   SimulateOptions options;
   options.seeds = 6;
   options.steps = 400;
   std::ostringstream out;
   std::ostringstream progress;
   options.progress = &progress;
   EXPECT_EQ(simulate(chassis(), options, out), 0) << out.str();
   EXPECT_THAT(out.str(), HasSubstr("6 seeds from 1, 400 steps each: "));
   // One line, which is gone at the end.
   EXPECT_THAT(progress.str(), testing::StartsWith("\r1 of 6 seeds, "));
   EXPECT_THAT(progress.str(), testing::EndsWith(" \r"));
   EXPECT_THAT(progress.str(), Not(HasSubstr("\n")));
}

TEST(SimulationTest, CheckingEverythingFindsNoMoreAndChangesNoHistory) {
   SimulateOptions options;
   options.seeds = 4;
   options.steps = 150;
   options.counts = true;
   std::ostringstream touched;
   EXPECT_EQ(simulate(chassis(), options, touched), 0) << touched.str();
   options.whole = true;
   std::ostringstream whole;
   EXPECT_EQ(simulate(chassis(), options, whole), 0) << whole.str();
   EXPECT_EQ(touched.str(), whole.str());
}

// Answers success by hand to whatever asks for a pbr policy, once, behind the library's back.
class Liar {
 public:
   explicit Liar(AgentHost& host) : host_(&host), orvOutput_(this) {
      host.isem().outputTable->requestCollection().watch(orvOutput_);
   }
   void handleOutput(TcamSharingRequest const& request) {
      TcamSharingPolicyId policy = host_->isem().outputTable->request(request);
      if (policy.pbrPolicy() != 0 && told_.insert(request).second) {
         host_->isem().mergedStatus->responseIs(
             request, {Hardware::ShoalTunnel::tcamSharingSuccess, policy});
      }
   }

 private:
   std::set<TcamSharingRequest> told_;
   AgentHost* host_;
   Orv::ReactorFor<&Liar::handleOutput> orvOutput_;
};

// Changes a feature that was asked for, at a request for a pbr policy, without a new version:
// nobody is told.
class Meddler {
 public:
   explicit Meddler(AgentHost& host) : host_(&host), orvOutput_(this) {
      host.isem().outputTable->requestCollection().watch(orvOutput_);
   }
   void handleOutput(TcamSharingRequest const& request) {
      for (auto const& [key, features] : host_->inLifFeatures().inLifIntfCfg->requestIter()) {
         for (auto const& [type, value] : features->featureAggIter()) {
            if (host_->isem().outputTable->request(request).pbrPolicy() != 0 && value < 1000) {
               features->featureAggIs(type, value + 1000);
            }
         }
      }
   }

 private:
   AgentHost* host_;
   Orv::ReactorFor<&Meddler::handleOutput> orvOutput_;
};

TEST(SimulationTest, AChangeThatNobodyIsToldOfIsFoundAndLocated) {
   std::vector<std::unique_ptr<Meddler>> meddlers;
   SimulateOptions options;
   options.seeds = 50;
   options.steps = 300;
   options.write = temporary("simulation-untold");
   options.prepare = [&](AgentHost& host) { meddlers.push_back(std::make_unique<Meddler>(host)); };
   std::ostringstream out;
   ASSERT_EQ(simulate(chassis(), options, out), 1);
   EXPECT_THAT(out.str(), HasSubstr(" fails: features asked for: "));
   std::string scenario = fileContent(options.write).value();
   std::filesystem::remove(options.write);
   EXPECT_LE(std::count(scenario.begin(), scenario.end(), '\n'), 7) << scenario;
}

// Ends the agent at a policy that nothing forbids, by a signal or by an invariant of its own.
class Stopper {
 public:
   Stopper(AgentHost& host, bool byInvariant)
       : host_(&host), byInvariant_(byInvariant), orvOutput_(this) {
      host.isem().outputTable->requestCollection().watch(orvOutput_);
   }
   void handleOutput(TcamSharingRequest const& request) {
      if (host_->isem().outputTable->request(request).pbrPolicy() != 0) {
         ORV_ASSERT(!byInvariant_, "a planted invariant");
         std::raise(SIGKILL);
      }
   }

 private:
   AgentHost* host_;
   bool byInvariant_;
   Orv::ReactorFor<&Stopper::handleOutput> orvOutput_;
};

TEST(SimulationTest, AStopThatNothingBringsAboutIsAFinding) {
   for (bool byInvariant : {false, true}) {
      std::vector<std::unique_ptr<Stopper>> stoppers;
      SimulateOptions options;
      options.seeds = 50;
      options.steps = 60;
      options.write = temporary("simulation-scenario");
      options.prepare = [&](AgentHost& host) {
         stoppers.push_back(std::make_unique<Stopper>(host, byInvariant));
      };
      std::ostringstream out;
      EXPECT_EQ(simulate(chassis(), options, out), 1);
      EXPECT_THAT(out.str(),
                  HasSubstr(byInvariant ? " fails: the library stopped: Failed(a planted invariant)"
                                        : " fails: the agent ended: by signal 9"));
      EXPECT_THAT(fileContent(options.write).value(), HasSubstr("\nrequest acl "));
      std::filesystem::remove(options.write);
   }
}

TEST(SimulationTest, SettleEndsAtRestWhenReadingTheClockTakesTime) {
   AgentHost host(chassis());
   std::ostringstream printed;
   std::istringstream scenario("set cost-per-reading 0.00001\nunit 0 unavailable\n"
                               "request acl u/0/PortChannel1.1 own 9\nsettle\n");
   EXPECT_EQ(ScenarioRunner(host, printed, printed, {}).run(scenario, "s"), 0) << printed.str();
   EXPECT_TRUE(host.quiet());
}

TEST(SimulationTest, AnInventoryWithoutUnitsIsAnError) {
   std::ostringstream out;
   EXPECT_EQ(simulate(parseInventory("{}", "test"), {}, out), 1);
   EXPECT_EQ(out.str(), "the inventory has no unit: nothing can happen there\n");
}

TEST(SimulationTest, WhatCannotBeDoneIsSaidBeforeTheFirstHistory) {
   SimulateOptions options;
   options.steps = options.seeds = 1'000'000'000; // would not end
   options.first = {"trace text 0 on", "request acl nothing own 5"};
   std::ostringstream out;
   EXPECT_THAT([&] { simulate(chassis(), options, out); },
               testing::ThrowsMessage<SimulateError>(
                   HasSubstr("--first:2: error: there is no interface 'nothing'")));
}

TEST(SimulationTest, APlantedFaultIsFoundShrunkAndReplayed) {
   std::vector<std::unique_ptr<Liar>> liars;
   SimulateOptions options;
   options.seeds = 50;
   options.steps = 200;
   options.write = temporary("simulation-scenario");
   options.prepare = [&](AgentHost& host) { liars.push_back(std::make_unique<Liar>(host)); };
   std::ostringstream out;
   ASSERT_EQ(simulate(chassis(), options, out), 1);
   EXPECT_THAT(out.str(), HasSubstr(" fails: answers: "));

   std::string scenario = fileContent(options.write).value();
   std::filesystem::remove(options.write);
   EXPECT_LE(std::count(scenario.begin(), scenario.end(), '\n'), 6) << scenario;
   // The scenario is replayed to the same failure, and holds without the fault.
   options.scenario = temporary("simulation-replay");
   std::ofstream(options.scenario) << scenario;
   out.str("");
   EXPECT_EQ(replay(chassis(), options, out), 1);
   EXPECT_THAT(out.str(), HasSubstr(": failed: answers: "));
   options.prepare = nullptr;
   out.str("");
   EXPECT_EQ(replay(chassis(), options, out), 0) << out.str();
   std::filesystem::remove(options.scenario);
}

TEST(SimulationTest, AScenarioIsHeldAgainstItsProperties) {
   SimulateOptions options;
   options.scenario = temporary("simulation-property");
   auto outcome = [&](std::string const& lines) {
      std::ofstream(options.scenario) << lines;
      std::ostringstream out;
      int result = replay(chassis(), options, out);
      return std::to_string(result) + " " + out.str().substr(options.scenario.size());
   };
   std::string asked = "request acl u/0/Ethernet0.5 own 9\nsettle\n";
   EXPECT_EQ(outcome(asked + "# check hardware\n# check fresh\nwithdraw acl u/0/Ethernet0.5 own\n"
                             "settle\n# check empty\n"),
             "0 : all checks held\n");
   EXPECT_THAT(outcome(asked + "chip restart\n# check hardware\n"),
               HasSubstr(":4: failed: the chip holds what is asked for: "));
   EXPECT_THAT(outcome(asked + "# check empty\n"), HasSubstr(":3: failed: all is withdrawn: "));
   // A VLAN domain that goes leaves the entry: a fresh agent has none.
   EXPECT_THAT(outcome(asked + "vlan-domain u/0/Ethernet0 none\nsettle\n# check fresh\n"),
               HasSubstr(":5: failed: a fresh agent comes to the same: "));
   EXPECT_THAT(
       [&] { outcome("request acl nothing own 5\n"); },
       testing::ThrowsMessage<SimulateError>(HasSubstr(":1: error: there is no interface")));
   std::filesystem::remove(options.scenario);
}

} // namespace
} // namespace Simulate
