#include "host/insight/Explanation.h"
#include "host/insight/FeatureSituation.h"
#include "host/insight/OtherProblems.h"
#include "host/text/Errors.h"
#include "host/wiring/Host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>

namespace ShoalHost {
namespace {

using Hardware::ShoalTunnel::tcamSharingFailed;
using Hardware::ShoalTunnel::tcamSharingSuccess;

// Outlives its hosts, as a chip does. Answers from inside each call.
class MemoryDriver : public ChipDriver {
 public:
   void start(AnswerSink& sink) override { sink_ = &sink; }
   void stop() override { sink_ = nullptr; }
   void write(ChipWrite const& write) override {
      ++writes;
      lastKey = write.key;
      if (silent) {
         if (!slow) {
            entries[write.key] = *write.data;
         }
         unanswered.push_back(write);
         return;
      }
      bool refused = refusesNext && policyOf(*write.data) != 0;
      refusesNext = refusesNext && !refused;
      if (!refused) {
         entries[write.key] = *write.data;
      }
      sink_->answered(write, refused ? Outcome::refused : Outcome::accepted);
   }
   void remove(ChipWrite const& write) override {
      ++removals;
      entries.erase(write.key);
      sink_->answered(write, Outcome::removed);
   }
   void readBack(EntryVisitor const& visit) const override {
      for (auto const& [key, data] : entries) {
         visit(key, data);
      }
   }
   std::optional<EntryData> held(EntryKey const& key) const override {
      auto found = entries.find(key);
      return found == entries.end() ? std::nullopt : std::optional(found->second);
   }
   bool busy() const override { return false; }

   static uint64_t policyOf(EntryData const& data) {
      auto const* mapper = std::get_if<VlanTagToVsiMapperResult>(&data);
      return mapper != nullptr ? mapper->inLifAdditionalData : 1;
   }
   void answer(ChipWrite const& write, Outcome outcome) { sink_->answered(write, outcome); }
   void lose(ChipWrite const& write) { sink_->lost(write); }
   void restart() {
      entries.clear();
      sink_->restarted({});
   }
   // Those that carry something.
   std::size_t carrying() const {
      std::size_t count = 0;
      for (auto const& [key, data] : entries) {
         count += policyOf(data) != 0 ? 1 : 0;
      }
      return count;
   }

   std::map<EntryKey, EntryData> entries;
   int writes = 0;
   int removals = 0;
   bool refusesNext = false;
   EntryKey lastKey;
   bool silent = false; // writes are not answered
   bool slow = false;   // nor carried out meanwhile
   std::vector<ChipWrite> unanswered;

 private:
   AnswerSink* sink_ = nullptr;
};

// Unit 1 shares through the ISEM; unit 2, with a port-channel of two ports, through in-LIFs.
Inventory inventory() {
   Inventory made;
   made.units = {{.fapId = 1, .name = "one"}, {.fapId = 2, .name = "two", .fapType = 2}};
   made.ports = {
       {.name = "Ethernet0", .fapId = 1, .systemPort = 1, .vlanDomain = 1},
       {.name = "Ethernet4", .fapId = 2, .systemPort = 2, .vlanDomain = 1},
       {.name = "Ethernet8", .fapId = 2, .unitPort = 1, .systemPort = 3, .vlanDomain = 2}};
   made.portChannels = {{.name = "PortChannel1",
                         .vlanDomain = 3,
                         .members = {"Ethernet4", "Ethernet8"},
                         .fapId = 2}};
   made.subInterfaces = {{.name = "Ethernet0.10", .parent = "Ethernet0", .outer = 10},
                         {.name = "PortChannel1.10", .parent = "PortChannel1", .outer = 10}};
   return made;
}

class ChipSeamTest : public testing::Test {
 protected:
   void start() {
      host.reset();
      driver.writes = driver.removals = 0;
      host = std::make_unique<Host>(inventory(), driver, Time::simulated);
   }
   void ask(char const* intf, uint32_t unit, uint64_t policy = 5) {
      host->sharing()
          .config(Requester::acl)
          ->requestIs({IntfId(intf), FapId(unit)}, TcamSharingPolicyId(policy));
   }
   auto status(char const* intf, uint32_t unit) {
      return host->sharing().status(Requester::acl)->response({IntfId(intf), FapId(unit)}).status;
   }

   MemoryDriver driver;
   std::unique_ptr<Host> host;
};

TEST_F(ChipSeamTest, AnAnswerFromInsideACallWaitsForTheOtherMembers) {
   start();
   driver.refusesNext = true;
   ask("PortChannel1.10", 2);
   EXPECT_TRUE(host->settle());
   EXPECT_EQ(status("PortChannel1.10", 2), tcamSharingFailed) << "one member was refused";
   EXPECT_EQ(driver.carrying(), 1U);
}

TEST_F(ChipSeamTest, ARestartOfTheHostWritesWhatHasChanged) {
   start();
   EXPECT_EQ(driver.entries.size(), 2U) << "the sub-interface's entries, without a policy";
   ask("Ethernet0.10", 1);
   ask("PortChannel1.10", 2);
   EXPECT_TRUE(host->settle());
   EXPECT_EQ(driver.carrying(), 3U);

   start();
   EXPECT_EQ(status("Ethernet0.10", 1), 0U);
   ask("Ethernet0.10", 1);
   ask("PortChannel1.10", 2);
   EXPECT_TRUE(host->settle());
   host->seam().removeUnclaimed();
   EXPECT_EQ(status("Ethernet0.10", 1), tcamSharingSuccess);
   EXPECT_EQ(status("PortChannel1.10", 2), tcamSharingSuccess);
   EXPECT_EQ(driver.writes + driver.removals, 0);
   EXPECT_EQ(driver.carrying(), 3U);

   // Nobody asks again: the shared entry goes, the in-LIFs lose their data.
   start();
   EXPECT_TRUE(host->settle());
   EXPECT_EQ(driver.carrying(), 3U) << "until the host says that everybody has asked";
   host->seam().removeUnclaimed();
   EXPECT_EQ(driver.carrying(), 0U);
   EXPECT_EQ(driver.writes, 2);
   EXPECT_EQ(driver.removals, 1);
   EXPECT_EQ(driver.entries.size(), 2U);
}

TEST_F(ChipSeamTest, WhatWasAnsweredAheadOfARestartIsDelivered) {
   start();
   ask("Ethernet0.10", 1);
   for (int written = driver.writes; driver.writes == written;) {
      host->runDue();
   }
   driver.restart();
   EXPECT_EQ(host->isem().common->pendingSemWrites(), 0U);
   auto key = std::get<AradSemKeyAndFap>(driver.lastKey);
   EXPECT_EQ(host->seam().isem().memory(key).lastAnswer->outcome, Outcome::accepted);
}

TEST_F(ChipSeamTest, TheAnswerToAWriteThatIsMadeAgainStandsForThoseThatAreLost) {
   start();
   driver.silent = true;
   ask("Ethernet0.10", 1);
   EXPECT_TRUE(host->settle());
   ask("Ethernet0.10", 1, 6);
   EXPECT_TRUE(host->settle());
   ASSERT_EQ(driver.unanswered.size(), 2U);
   EXPECT_EQ(status("Ethernet0.10", 1), 0U);
   EXPECT_THAT(
       explain(*host, {IntfId("Ethernet0.10"), FapId(1)}).verdict,
       testing::HasSubstr("The chip has not answered the write of (vlan 10, domain 1, unit 1)."));

   auto key = driver.unanswered.front().key;
   host->seam().askAgain(key); // in vain
   driver.silent = false;
   host->seam().askAgain(key);
   EXPECT_TRUE(host->settle());
   EXPECT_EQ(status("Ethernet0.10", 1), tcamSharingSuccess);
   EXPECT_EQ(host->isem().common->pendingSemWrites(), 0U);
   driver.answer(driver.unanswered.front(), Outcome::refused);
   EXPECT_TRUE(host->settle());
   EXPECT_EQ(status("Ethernet0.10", 1), tcamSharingSuccess) << "it counts as lost";
}

TEST_F(ChipSeamTest, FeatureWordsStandAsOtherEntriesDo) {
   using namespace Hardware::ShoalTunnel;
   auto keyOf = [](char const* intf, uint32_t system) {
      return InLifFeatureKey({IntfId(intf), Hardware::Shoal::SystemTcamId(system)},
                             inLifFeatureTypes[0]);
   };
   std::vector<InLifFeatureKey> keys;
   auto askForAll = [&] {
      host->inLifFeatures().inputDir->entryIs("qos", Orv::make<InLifFeatureRequestDir>("qos"));
      keys.clear();
      for (char const* intf : {"Ethernet0", "Ethernet0.10"}) {
         keys.push_back(keyOf(intf, host->world().tcamsOf(IntfId(intf)).front().value()));
         host->changes().featureIs("qos", keys.back(), 1);
      }
      EXPECT_TRUE(host->settle());
   };
   auto verdict = [&](std::size_t i) { return explainFeature(*host, keys[i]).verdict; };
   auto problems = [&] {
      std::string text;
      for (Problem const& problem : otherProblems(*host)) {
         text += problem.subject + ": " + problem.why + "\n";
      }
      return text;
   };

   start();
   driver.silent = driver.slow = true;
   askForAll();
   ASSERT_EQ(driver.unanswered.size(), 2U);
   EXPECT_THAT(verdict(0), testing::HasSubstr("Not in hardware: the chip has not answered the "
                                              "write of (unit 1, port 0) at "));
   EXPECT_EQ(problems(), "");
   driver.lose(driver.unanswered[1]);
   EXPECT_THAT(problems(),
               testing::MatchesRegex("word of \\(Ethernet0.10, TCAM .*\\): The answer to "
                                     "the write of .* was lost\\.\n"));
   driver.silent = driver.slow = false;
   host->seam().replay();
   EXPECT_TRUE(host->settle());
   EXPECT_EQ(problems(), "");

   // The next host claims them, or removes them.
   for (bool again : {true, false}) {
      start();
      int written = driver.writes;
      if (again) {
         askForAll();
      }
      host->seam().removeUnclaimed();
      EXPECT_TRUE(host->settle());
      EXPECT_EQ(driver.writes, written);
      for (std::size_t i = 0; again && i < keys.size(); ++i) {
         EXPECT_THAT(verdict(i), testing::HasSubstr("In hardware."));
      }
      EXPECT_EQ(driver.removals, again ? 0 : 2);
   }
}

TEST_F(ChipSeamTest, OfSeveralAskedAgainTheFirstAnswerCounts) {
   start();
   driver.silent = true;
   ask("Ethernet0.10", 1);
   host->advance(1.0);
   for (int i = 0; i < 3; ++i) {
      host->seam().askAgain(driver.unanswered.front().key);
   }
   ASSERT_EQ(driver.unanswered.size(), 4U);
   driver.answer(driver.unanswered[0], Outcome::refused);
   host->advance(1.0);
   EXPECT_EQ(status("Ethernet0.10", 1), Hardware::ShoalTunnel::tcamSharingNone)
       << "the first one counts as lost";
   driver.answer(driver.unanswered[1], Outcome::accepted);
   host->advance(1.0);
   EXPECT_EQ(status("Ethernet0.10", 1), tcamSharingSuccess);
   driver.answer(driver.unanswered[3], Outcome::refused);
   host->advance(1.0);
   EXPECT_EQ(status("Ethernet0.10", 1), tcamSharingSuccess) << "it was answered already";
}

TEST_F(ChipSeamTest, ARemovalThatNobodyNoticedIsToldAgain) {
   start();
   ask("Ethernet0.10", 1);
   EXPECT_TRUE(host->settle());
   auto key = driver.lastKey;
   driver.restart();
   host->sharing().config(Requester::acl)->requestDel({IntfId("Ethernet0.10"), FapId(1)});
   EXPECT_TRUE(host->settle());
   EXPECT_EQ(host->isem().common->pendingSemWrites(), 1U) << "there was no status to remove";
   host->seam().askAgain(key);
   EXPECT_TRUE(host->settle());
   EXPECT_EQ(host->isem().common->pendingSemWrites(), 0U);
}

TEST_F(ChipSeamTest, TheWorldTakesNoTagThatNoEntryCanHold) {
   start();
   IntfId subIntf("Ethernet0.10");
   EXPECT_THROW(host->world().encapsulationIs(subIntf, {4095, 0}), HostError);
   EXPECT_THROW(host->world().dynamicEncapsulationIs(subIntf, {10, 5000}), HostError);
   EXPECT_EQ(host->world().encapsulation(subIntf), (Bridging::Dot1qEncap{10, 0}));
}

// What commands cannot say, and a host program can.
TEST_F(ChipSeamTest, RequestsThatWouldStopTheLibraryAreRefused) {
   start();
   Changes& changes = host->changes();
   std::vector<TcamSharingRequest> flood{{IntfId("Ethernet0-L3Flood"), FapId(1)}};
   for (auto setting : {Changes::Setting::refuse, Changes::Setting::detour}) {
      changes.settingIs(setting);
      EXPECT_THROW(changes.requestIs(Requester::acl, flood, TcamSharingPolicyId(5)), ChangeRefused);
      EXPECT_EQ(host->sharing().config(Requester::acl)->requests(), 0U);
   }
   using namespace Hardware::ShoalTunnel;
   host->inLifFeatures().inputDir->entryIs("qos", Orv::make<InLifFeatureRequestDir>("qos"));
   auto key = [&](char const* intf) {
      return InLifFeatureKey({IntfId(intf), host->world().tcams().front()}, inLifFeatureTypes[0]);
   };
   EXPECT_THROW(changes.featureIs("acl", key("Ethernet0"), 1), HostError);
   for (char const* intf : {"Tunnel7", "Ethernet0-L3Flood", "Vlan5000"}) {
      EXPECT_THROW(changes.featureIs("qos", key(intf), 1), HostError) << intf;
   }
   changes.featureIs("qos", key("Ethernet0"), 1);
   EXPECT_TRUE(host->inLifFeatures().inLifIntfCfg->requestHas(key("Ethernet0").intfKey()));
   changes.featureDel("qos", key("Ethernet0"));
   EXPECT_FALSE(host->inLifFeatures().inLifIntfCfg->requestHas(key("Ethernet0").intfKey()));
   changes.settingIs(Changes::Setting::off);
   EXPECT_DEATH(
       {
          changes.requestIs(Requester::acl, flood, TcamSharingPolicyId(5));
          host->settle();
       },
       "l3FloodPortVlanId.value");
}

} // namespace
} // namespace ShoalHost
