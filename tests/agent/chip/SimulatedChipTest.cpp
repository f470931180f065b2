#include "agent/chip/SimulatedChip.h"
#include "host/driver/ChipSeam.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

using namespace Hardware::ShoalTunnel;
using Plexus::IntfId;

class SimulatedChipTest : public testing::Test {
 protected:
   SimulatedChipTest() { Orv::System::timeSourceIs(&time_); }
   ~SimulatedChipTest() override { Orv::System::timeSourceIs(nullptr); }

   struct Recorder : Orv::Reactor<AradSemKeyAndFap> {
      explicit Recorder(SimulatedChipTest* test) : test_(test) {}
      void handle(AradSemKeyAndFap const& key) override {
         auto status = test_->status_->status(key);
         test_->answers_ += (test_->answers_.empty() ? "" : " ") +
                            std::to_string(AradISemKeyTcamSharing(key.key()).vlanId()) + ":" +
                            std::to_string(status.statusCode);
      }
      SimulatedChipTest* test_;
   };

   static AradSemKeyAndFap key(uint32_t vlan, uint32_t unit = 1) {
      return {AradISemKeyTcamSharing(Bridging::VlanId(vlan), Hardware::Shoal::VlanDomain(1)).key(),
              FapId(unit)};
   }
   void write(uint32_t vlan, uint32_t policy, uint32_t unit = 1) {
      config_->configIs(key(vlan, unit), AradSemPayload::basic(policy));
   }
   // The answers of so many seconds, "vlan:code" each; code 0 is a removal.
   std::string after(Seconds seconds) {
      answers_.clear();
      Seconds end = time_.peek() + seconds;
      while (!timers_.idle() && timers_.next() <= end) {
         time_.advanceTo(timers_.next());
         timers_.runDue();
      }
      time_.advanceTo(end);
      return answers_;
   }

   Orv::VirtualTime time_;
   Orv::Timers timers_;
   Orv::Ptr<SemTableConfig> config_ = Orv::make<SemTableConfig>();
   Orv::Ptr<SemTableStatus> status_ = Orv::make<SemTableStatus>();
   VlanTagToVsiMapperKey mapperKey_ =
       VlanTagToVsiMapperKey::ofSubIntf(IntfId("Ethernet0"), IntfId("Ethernet0.5"), {5, 0}, 0);
   Orv::Ptr<MapperTable::Config> mapperConfig_ = Orv::make<MapperTable::Config>();
   Orv::Ptr<MapperTable::Status> mapperStatus_ = Orv::make<MapperTable::Status>();
   Orv::Ptr<TunnelTable::Config> tunnelConfig_ = Orv::make<TunnelTable::Config>();
   Orv::Ptr<TunnelTable::Status> tunnelStatus_ = Orv::make<TunnelTable::Status>();
   SimulatedChip chip_;
   ChipFaults& faults_ = chip_.faults();
   std::optional<ChipSeam> seam_;
   std::string answers_;
   Recorder recorder_{this};

   void SetUp() override {
      status_->statusCollection().watch(recorder_);
      mapperConfig_->configIs(mapperKey_, {1, 0});
      seam_.emplace(timers_, chip_,
                    ChipSeam::Tables{config_, status_, mapperConfig_, mapperStatus_, tunnelConfig_,
                                     tunnelStatus_, Orv::make<PortWordTable::Config>(),
                                     Orv::make<PortWordTable::Status>(),
                                     Orv::make<SubIntfWordTable::Config>(),
                                     Orv::make<SubIntfWordTable::Status>()},
                    [](IntfId) { return FapId(3); });
   }
};

TEST_F(SimulatedChipTest, AnswersLaterInOrderWithWhatWasWritten) {
   write(1, 5);
   write(2, 6);
   write(1, 7);
   config_->configDel(key(2));
   EXPECT_EQ(after(0.009), "");
   EXPECT_EQ(after(0.002), "1:1 2:1 1:1 2:0");
   EXPECT_EQ(chip_.isem().entries().size(), 1U);
   EXPECT_EQ(status_->status(key(1)).payload, AradSemPayload::basic(7));
   EXPECT_FALSE(status_->statusHas(key(2)));
}

TEST_F(SimulatedChipTest, FaultsHitTheNextAnswersOfTheirUnit) {
   faults_.next(Fault::refuse, 1, {{}, FapId(2)});
   write(1, 5);
   write(2, 5, 2);
   write(3, 5, 2);
   EXPECT_EQ(after(1), "1:1 2:2 3:1");
   EXPECT_FALSE(chip_.isem().entries().contains(key(2, 2)));

   faults_.next(Fault::lose, 1, {});
   faults_.next(Fault::duplicate, 1, {});
   write(4, 5);
   write(5, 5);
   EXPECT_EQ(after(1), "5:1 5:1");
   EXPECT_TRUE(chip_.isem().entries().contains(key(4))) << "only the answer was lost";

   faults_.next(Fault::slow, 1, {});
   write(6, 5);
   write(7, 5);
   EXPECT_EQ(after(0.5), "7:1");
   EXPECT_EQ(after(0.6), "6:1");

   faults_.next(Fault::reorder, 2, {});
   write(8, 5);
   write(9, 5);
   write(10, 5);
   EXPECT_EQ(after(1), "10:1 9:1 8:1");

   faults_.next(Fault::reorder, 5, {});
   write(11, 5);
   EXPECT_EQ(after(1), "");
   chip_.clearFaults();
   EXPECT_EQ(after(1), "11:1") << "what was held back is not lost";
   EXPECT_TRUE(faults_.settings().empty());
}

TEST_F(SimulatedChipTest, CapacityRestartAndReplay) {
   chip_.capacityIs(ChipTableKind::isem, FapId(1), 2);
   write(1, 5);
   write(2, 5);
   write(3, 5);
   write(2, 6); // an entry that is there may change
   EXPECT_EQ(after(1), "1:1 2:1 3:3 2:1");
   config_->configDel(key(1));
   write(3, 7);
   EXPECT_EQ(after(1), "1:0 3:1");
   chip_.capacityIs(ChipTableKind::isem, FapId(1), std::nullopt);
   write(4, 5);
   EXPECT_EQ(after(1), "4:1");

   write(4, 6);
   answers_.clear();
   chip_.restart();
   EXPECT_TRUE(chip_.isem().entries().empty());
   EXPECT_EQ(status_->statuss(), 0U);
   EXPECT_EQ(after(1), "") << "what was not answered is gone";
   seam_->replay();
   EXPECT_EQ(after(1), "2:1 3:1 4:1");
   EXPECT_EQ(chip_.isem().entries().size(), 3U);
}

TEST_F(SimulatedChipTest, DrawnFaultsAreTheSameForOneSeed) {
   auto draw = [&](uint64_t seed) {
      faults_.seedIs(seed);
      faults_.often(Fault::refuse, 0.5, {});
      for (uint32_t vlan = 1; vlan <= 64; ++vlan) {
         write(vlan, static_cast<uint32_t>(seed * 100 + vlan));
      }
      return after(1);
   };
   auto codes = [](std::string const& text) { return std::count(text.begin(), text.end(), '2'); };
   std::string first = draw(3);
   std::string other = draw(4);
   config_->configDelAll();
   after(1);
   EXPECT_EQ(draw(3), first);
   EXPECT_NE(first, other);
   EXPECT_GT(codes(first), 10);
   faults_.often(Fault::refuse, 0.0, {});
   write(1, 9999);
   EXPECT_EQ(after(1), "1:1");
}

TEST_F(SimulatedChipTest, FaultsMayBeLimitedToATable) {
   faults_.next(Fault::refuse, 1, {ChipTableKind::tunnel, {}});
   faults_.next(Fault::lose, 1, {ChipTableKind::isem, FapId(2)});
   write(1, 5);
   write(2, 5, 2);
   EXPECT_EQ(after(1), "1:1");
   EXPECT_EQ(faults_.suffered(Fault::refuse), 0U);
   EXPECT_EQ(faults_.suffered(Fault::lose), 1U);
}

// The other tables by what their machines read: data and error type, code and data.
TEST_F(SimulatedChipTest, TheOtherTablesAnswerInTheirOwnTerms) {
   auto answered = [&] { return mapperStatus_->status(mapperKey_); };
   EXPECT_EQ(answered(), (VlanTagToVsiMapperStatusType{0, VlanTagToVsiMapperErrorType::success}))
       << "what was there before the chip was made";
   faults_.next(Fault::refuse, 1, {{}, FapId(3)});
   mapperConfig_->configIs(mapperKey_, {1, 9});
   after(1);
   EXPECT_EQ(answered(), (VlanTagToVsiMapperStatusType{9, VlanTagToVsiMapperErrorType(2)}));
   EXPECT_EQ(seam_->mapper().held(mapperKey_)->inLifAdditionalData, 0U);
   EXPECT_EQ(chip_.mapper().entriesOn(FapId(3)), 1U);

   TunnelPolicyMapperKey tunnel(IntfId("Tunnel1"), FapId(3));
   faults_.next(Fault::defer, 1, {});
   tunnelConfig_->configIs(tunnel, {7});
   after(0.5);
   EXPECT_EQ(tunnelStatus_->status(tunnel), (TunnelPolicyMapperStatusType{3, 7}));
   after(1);
   EXPECT_EQ(tunnelStatus_->status(tunnel), (TunnelPolicyMapperStatusType{2, 7}));
   faults_.next(Fault::refuse, 1, {ChipTableKind::tunnel, {}});
   tunnelConfig_->configIs(tunnel, {8});
   after(1);
   EXPECT_EQ(tunnelStatus_->status(tunnel), (TunnelPolicyMapperStatusType{12, 8}));
   tunnelConfig_->configDel(tunnel);
   after(1);
   EXPECT_FALSE(tunnelStatus_->statusHas(tunnel));
}

} // namespace
} // namespace Agent
