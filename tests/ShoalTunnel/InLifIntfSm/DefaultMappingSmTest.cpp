#include "ShoalTunnel/InLifIntfSm/DefaultMappingSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace Hardware::ShoalTunnel {
namespace {

using Plexus::IntfId;
using Shoal::FapId;
using Shoal::PortMap;
using Shoal::SystemPhyPortId;
using Shoal::SystemTcamId;
using testing::ElementsAre;
using testing::IsEmpty;

// Ports 0 to 3 on system ports of the same numbers, in places of the same numbers on unit 1.
class DefaultMappingTest : public testing::Test {
 public:
   static constexpr int kPorts = 4;

   DefaultMappingTest() {
      for (int i = 0; i < kPorts; ++i) {
         sit(i, i);
         status->portMapIs(SystemPhyPortId(static_cast<uint32_t>(i)), place(i));
      }
      start();
   }
   static IntfId port(int i) { return IntfId("Ethernet" + std::to_string(i)); }
   static PortMap place(int i) { return {FapId(1), static_cast<uint16_t>(i)}; }
   void start() {
      sm = nullptr;
      sm = Orv::make<DefaultMappingSm>(status, merged, subIntfs, config, subIntfConfig);
   }
   void sit(int i, int systemPort) {
      status->sysPhyPortIdIs(port(i), SystemPhyPortId(static_cast<uint32_t>(systemPort)));
   }
   void word(int i, uint16_t value) {
      if (value == 0) {
         merged->lifFeatureAttrDel(port(i));
      } else {
         merged->lifFeatureAttrIs(port(i), {value, 0, 1});
      }
   }
   void version() { status->portMapVersionIs(status->portMapVersion() + 1); }
   // data0 by place.
   std::map<uint16_t, uint64_t> inChip() const {
      std::map<uint16_t, uint64_t> words;
      for (auto const& [at, word] : config->configIter()) {
         EXPECT_EQ(word.value >> 16, 1U << 16);
         words[at.place().fapPortId] = word.value & 0xffff;
      }
      return words;
   }
   // "0:5 2:7", in order of place.
   std::string written() const {
      std::string text;
      for (auto const& [at, word] : inChip()) {
         text += (text.empty() ? "" : " ") + std::to_string(at) + ":" + std::to_string(word);
      }
      return text;
   }

   Orv::Ptr<Shoal::Status> status = Orv::make<Shoal::Status>();
   Orv::Ptr<DefaultLifFeatureConfig> merged = Orv::make<DefaultLifFeatureConfig>();
   Orv::Ptr<SubIntfLifFeatureConfig> subIntfs = Orv::make<SubIntfLifFeatureConfig>();
   Orv::Ptr<DefaultMappingConfig> config = Orv::make<DefaultMappingConfig>();
   Orv::Ptr<SubIntfMappingConfig> subIntfConfig = Orv::make<SubIntfMappingConfig>();
   Orv::Ptr<DefaultMappingSm> sm;
};

// The places that were cleared.
struct Cleared : Orv::Reactor<DefaultMappingKey> {
   explicit Cleared(DefaultMappingConfig const& of) : config(of) {
      config.configCollection().watch(*this);
   }
   void handle(DefaultMappingKey const& at) override {
      if (!config.configHas(at)) {
         places.push_back(at.place().fapPortId);
      }
   }
   DefaultMappingConfig const& config;
   std::vector<uint16_t> places;
};

TEST_F(DefaultMappingTest, APortClearsThePlaceThatItLeavesAndNoOther) {
   word(0, 5);
   word(1, 6);
   EXPECT_EQ(written(), "0:5 1:6");
   Cleared cleared(*config);
   sit(0, 2);
   EXPECT_EQ(written(), "1:6 2:5");
   EXPECT_THAT(cleared.places, ElementsAre(0));
   // Into the place of another, which leaves later, and keeps its word out of it.
   cleared.places.clear();
   sit(0, 1);
   EXPECT_EQ(written(), "1:5");
   sit(1, 0);
   EXPECT_EQ(written(), "0:6 1:5");
   EXPECT_THAT(cleared.places, ElementsAre(2));
   // The one that leaves gives the place back.
   sit(1, 1);
   sit(1, 3);
   EXPECT_EQ(written(), "1:5 3:6");
   status->portMapDel(SystemPhyPortId(1));
   status->sysPhyPortIdDel(port(1));
   EXPECT_EQ(written(), "");
}

TEST_F(DefaultMappingTest, NothingIsWrittenWhileThePortMapIsNotValid) {
   word(0, 5);
   word(1, 6);
   subIntfs->lifFeatureAttrIs({IntfId("Ethernet0.1"), SystemTcamId(3)}, {7, 8, 9});
   status->portMapValidIs(false);
   Cleared cleared(*config);
   // The two change places.
   status->portMapIs(SystemPhyPortId(0), place(1));
   status->portMapIs(SystemPhyPortId(1), place(0));
   word(2, 7);
   subIntfs->lifFeatureAttrDel({IntfId("Ethernet0.1"), SystemTcamId(3)});
   subIntfs->lifFeatureAttrIs({IntfId("Ethernet0.1"), SystemTcamId(4)}, {1, 2, 3});
   version();
   EXPECT_EQ(written(), "0:5 1:6");
   EXPECT_EQ(subIntfConfig->config({IntfId("Ethernet0.1"), SystemTcamId(3)}).value,
             0x0000000900080007U);
   status->portMapValidIs(true);
   EXPECT_EQ(written(), "0:6 1:5 2:7");
   EXPECT_THAT(cleared.places, IsEmpty());
   EXPECT_EQ(subIntfConfig->configs(), 1U);
   EXPECT_TRUE(subIntfConfig->configHas({IntfId("Ethernet0.1"), SystemTcamId(4)}));
   subIntfs->lifFeatureAttrDelAll();
   EXPECT_EQ(subIntfConfig->configs(), 0U);
}

// Random facts. Machines come after others, and now and then a handler of what is written changes
// a fact, too.
class DefaultMappingHistory : public DefaultMappingTest {
 public:
   DefaultMappingHistory() { config->configCollection().watch(interference_); }

   void step() {
      mover_.reset();
      change(draw(8));
   }
   void change(int what) {
      switch (what) {
      case 0:
      case 1:
         mover_ = draw(kPorts);
         word(*mover_, static_cast<uint16_t>(draw(4)));
         break;
      case 2:
         mover_ = draw(kPorts);
         sit(*mover_, draw(kPorts + 1)); // the last has no place
         break;
      case 3:
         status->portMapIs(SystemPhyPortId(static_cast<uint32_t>(draw(kPorts))),
                           place(draw(kPorts)));
         break;
      case 4:
         status->portMapValidIs(!status->portMapValid());
         break;
      case 5:
         version();
         break;
      case 6:
         subIntfWord({IntfId("Ethernet0.1"), SystemTcamId(static_cast<uint32_t>(draw(2)))},
                     static_cast<uint16_t>(draw(4)));
         break;
      default:
         start();
      }
   }
   void interfere() {
      if (!interfering_ && draw(6) == 0) {
         interfering_ = true;
         change(draw(7));
         interfering_ = false;
         mover_.reset();
         interfered_ = true;
      }
   }
   void compare() {
      if (status->portMapValid()) {
         EXPECT_EQ(subIntfWords(), subIntfsWanted());
         comparePlaces();
      } else if (!interfered_) {
         EXPECT_EQ(written(), written_);
         EXPECT_EQ(subIntfWords(), subIntfWords_);
      }
      written_ = written();
      subIntfWords_ = subIntfWords();
      interfered_ = false;
   }

 private:
   void subIntfWord(InLifIntfKey key, uint16_t value) {
      if (value == 0) {
         subIntfs->lifFeatureAttrDel(key);
      } else {
         subIntfs->lifFeatureAttrIs(key, {value, 0, 1});
      }
   }
   std::map<uint64_t, uint64_t> subIntfWords() const {
      std::map<uint64_t, uint64_t> words;
      for (auto const& [key, word] : subIntfConfig->configIter()) {
         words[key.tcamId().value()] = word.value & 0xffff;
      }
      return words;
   }
   std::map<uint64_t, uint64_t> subIntfsWanted() const {
      std::map<uint64_t, uint64_t> words;
      for (auto const& [key, word] : subIntfs->lifFeatureAttrIter()) {
         words[key.tcamId().value()] = word.data0;
      }
      return words;
   }
   PortMap wanted(int of) const {
      return merged->lifFeatureAttrHas(port(of)) ? status->portMap(status->sysPhyPortId(port(of)))
                                                 : PortMap();
   }
   void comparePlaces() {
      std::map<uint16_t, std::set<uint64_t>> words; // of two ports in one place, either
      for (int of = 0; of < kPorts; ++of) {
         if (PortMap at = wanted(of); !at.isNull()) {
            words[at.fapPortId].insert(merged->lifFeatureAttr(port(of)).data0);
         }
      }
      // The one that came last has it.
      if (mover_ && wanted(*mover_) != stood_[*mover_] && !wanted(*mover_).isNull()) {
         words[wanted(*mover_).fapPortId] = {merged->lifFeatureAttr(port(*mover_)).data0};
      }
      std::map<uint16_t, uint64_t> found = inChip();
      EXPECT_EQ(found.size(), words.size());
      for (auto const& [at, value] : found) {
         EXPECT_TRUE(words[at].contains(value)) << written();
      }
      for (int of = 0; of < kPorts; ++of) {
         stood_[of] = wanted(of);
      }
   }
   int draw(int bound) { return static_cast<int>(random_() % static_cast<uint32_t>(bound)); }

   std::mt19937 random_{3};
   std::optional<int> mover_; // the port that the step moved, and nothing else
   bool interfering_ = false;
   bool interfered_ = false;
   std::map<int, PortMap> stood_; // when the port map was valid last
   std::string written_;
   std::map<uint64_t, uint64_t> subIntfWords_;

   struct Interference : Orv::Reactor<DefaultMappingKey> {
      explicit Interference(DefaultMappingHistory* history) : of(history) {}
      void handle(DefaultMappingKey const&) override {
         EXPECT_TRUE(of->status->portMapValid());
         of->interfere();
      }
      DefaultMappingHistory* of;
   };
   Interference interference_{this};
};

TEST_F(DefaultMappingHistory, WhatIsWrittenIsWhatTheFactsSay) {
   for (int i = 0; i < 8000 && !HasFailure(); ++i) {
      SCOPED_TRACE(i);
      step();
      compare();
   }
}

} // namespace
} // namespace Hardware::ShoalTunnel
