// Out-of-range values and reactors that throw during a slice.
#include "tests/ShoalTunnel/TcamSharing/Pipeline.h"

#include "platform/Orv/Exception.h"

namespace Hardware::ShoalTunnel {
namespace {

using SliceExceptionTest = Pipeline;

TEST_F(SliceExceptionTest, ASliceThatThrowsLeavesTheRestToTheNext) {
   time.costPerReadingIs(0.01);
   addSubIntf("Ethernet1.30", 5000);
   for (char const* intf : {"Ethernet1.10", "Ethernet1.30", "Ethernet1.20", "Ethernet2.10"}) {
      ask(intf, 5);
   }
   EXPECT_THROW(timers.runDue(), Orv::RangeException);
   EXPECT_EQ(codef->updatesProcessed(), 2U) << "the one that threw was processed";
   EXPECT_EQ(codef->yieldBeforeFinishingCount(), 1U);
   EXPECT_GT(codef->timeUsed(), 0.01);
   EXPECT_EQ(codef->bookmark(), request("Ethernet1.20"));
   EXPECT_EQ(codef->backlogSize(), 2U);
   time.costPerReadingIs(0.0);
   run();
   EXPECT_TRUE(table->configHas(key(10, 11)) && table->configHas(key(20, 11)));
   EXPECT_TRUE(table->configHas(key(10, 12)));
   EXPECT_FALSE(codef->clockNotifiee().waiting()) << "and is not processed again by itself";
   // Repaired by its next change.
   configDir->subIntfConfig(IntfId("Ethernet1.30"))->dot1qEncapIs({30, 0});
   encapChange->dot1qEncapIs(IntfId("Ethernet1.30"), {30, 0});
   run();
   EXPECT_TRUE(table->configHas(key(30, 11)));
   // The last request of the backlog: no slice has to follow.
   addSubIntf("Ethernet1.40", 5000);
   ask("Ethernet1.40", 5);
   EXPECT_THROW(run(), Orv::RangeException);
   EXPECT_FALSE(codef->clockNotifiee().waiting());
}

// A machine whose first slice throws behind three items, and the next ones before the first.
TEST_F(SliceExceptionTest, WhatASliceWorkedAheadOfAnExceptionIsCountedOnce) {
   struct Thrower : Keel::CodefBase {
      using CodefBase::CodefBase;
      uint32_t processBacklog(Keel::Seconds const&) override {
         if (dispatchCount() == 1) {
            workedBeforeExceptionIs(3);
         }
         throw Orv::RangeException("thrown by a slice");
      }
      std::size_t backlogSize() const override { return 1; }
   };
   auto thrower = Orv::make<Thrower>(Orv::make<Orv::Clock>(timers));
   thrower->clockNotifiee().timeMinIs(0.0);
   for (uint32_t slices = 1; slices <= 2; ++slices) {
      EXPECT_THROW(timers.runDue(), Orv::RangeException);
      EXPECT_EQ(thrower->dispatchCount(), slices);
      EXPECT_EQ(thrower->updatesProcessed(), 3U);
   }
}

TEST_F(SliceExceptionTest, AWithdrawalThatIsNotRealEndsWithTheExceptionThatLeavesIt) {
   struct Thrower : Orv::Reactor<TcamSharingRequest> {
      explicit Thrower(TcamSharingConfig const& output) : output_(output) {
         output.requestCollection().watch(*this);
      }
      void handle(TcamSharingRequest const& request) override {
         if (!output_.requestHas(request)) {
            throw Orv::RangeException("thrown by a watcher");
         }
      }
      TcamSharingConfig const& output_;
   };
   program("Ethernet1.10", 5, key(10, 11));
   encapChange->dot1qEncapIs(IntfId("Ethernet1.10"), {10, 0}); // the same policy again
   {
      Thrower thrower(*output);
      EXPECT_THROW(run(), Orv::RangeException);
   }
   EXPECT_FALSE(common->notARealDelete());
   EXPECT_TRUE(output->requestHas(request("Ethernet1.10"))) << "its entry is still in hardware";
   withdraw("Ethernet1.10");
   run();
   EXPECT_FALSE(table->configHas(key(10, 11)));
}

} // namespace
} // namespace Hardware::ShoalTunnel
