#include "tests/ShoalTunnel/TcamSharing/Pipeline.h"

#include "platform/Orv/Exception.h"

namespace Hardware::ShoalTunnel {
namespace {

using testing::HasSubstr;

// Records the writes that reach the output table, "+Ethernet1.10=5" and "-Ethernet1.10".
class OutputLog : public Orv::Reactor<TcamSharingRequest> {
 public:
   explicit OutputLog(TcamSharingConfig const& output) : output_(output) {
      output.requestCollection().watch(*this);
   }
   void handle(TcamSharingRequest const& request) override {
      bool there = output_.requestHas(request);
      text_ += (text_.empty() ? "" : " ") + std::string(there ? "+" : "-") +
               request.intfId().name() +
               (there ? "=" + std::to_string(output_.request(request).value()) : "");
   }
   std::string take() { return std::exchange(text_, ""); }

 private:
   TcamSharingConfig const& output_;
   std::string text_;
};

class CodefTest : public Pipeline {
 protected:
   OutputLog log{*output};
   TcamSharingEntry entry(std::string const& intf, uint64_t value) {
      return {request(intf), policy(value)};
   }
};

TEST_F(CodefTest, ChangesBetweenTwoSlicesCostOneUnitOfWork) {
   std::string text = traced([&] {
      ask("Ethernet1.10", 5);
      withdraw("Ethernet1.10");
   });
   EXPECT_THAT(text, HasSubstr("8 handleTcamSharingConfigIn: Adding Value("));
   EXPECT_THAT(text, HasSubstr("inStatus: 5"));
   EXPECT_THAT(text, testing::Not(HasSubstr("Got a"))) << "withdrawn: in and out are both 0 again";
   EXPECT_THAT(text, HasSubstr("7 handleTcamSharingConfigIn: Nothing to be done for "));
   EXPECT_EQ(codef->backlogSize(), 1U);
   mergedStatus->responseIs(request("Ethernet1.10"), response(tcamSharingFailed, 5));
   run();
   EXPECT_EQ(log.take(), "") << "never in, never out";
   EXPECT_FALSE(mergedStatus->responseHas(request("Ethernet1.10"))) << "its status goes";

   program("Ethernet1.10", 5, key(10, 11));
   log.take();
   text = traced([&] {
      ask("Ethernet1.10", 6);
      withdraw("Ethernet1.10");
      ask("Ethernet1.10", 7);
   });
   EXPECT_THAT(text, HasSubstr("8 handleTcamSharingConfigIn: Got a delete for "));
   EXPECT_THAT(text, HasSubstr(" before backlog processed previous create.\n"));
   EXPECT_THAT(text, HasSubstr("8 handleTcamSharingConfigIn: Got a create for "));
   EXPECT_THAT(text, HasSubstr(" before backlog processed the delete\n"));
   run();
   EXPECT_EQ(log.take(), "+Ethernet1.10=7");
   EXPECT_EQ(codef->updatesProcessed(), 3U);
   EXPECT_EQ(codef->updatesSeen(), 6U);
   EXPECT_EQ(codef->updatesCoalesced(), 3U);
}

TEST_F(CodefTest, ASliceWorksAtLeastOneRequestAndResumesAtItsBookmark) {
   codef->backlogQuantumIs(0.0);
   for (char const* intf : {"Ethernet1.10", "Ethernet1.20", "Ethernet2.10", "Ethernet2.20"}) {
      ask(intf, 5);
   }
   EXPECT_EQ(codef->processBacklog(time.peek()), 1U);
   EXPECT_EQ(log.take(), "+Ethernet1.10=5");
   EXPECT_EQ(codef->bookmark(), request("Ethernet1.20"));
   ASSERT_EQ(codef->backlogSize(), 3U) << "what was processed has left";
   withdraw("Ethernet1.20"); // still queued
   ask("Ethernet3.10", 5, 2);
   EXPECT_EQ(codef->processBacklog(time.peek()), 1U);
   EXPECT_EQ(log.take(), "");
   EXPECT_EQ(codef->processBacklog(time.peek()), 1U);
   EXPECT_EQ(log.take(), "+Ethernet2.10=5");
   EXPECT_EQ(codef->bookmark(), request("Ethernet2.20"));
   // The slices that the loop runs go on until nothing is left; each that yields counts.
   run();
   EXPECT_EQ(log.take(), "+Ethernet2.20=5 +Ethernet3.10=5");
   EXPECT_EQ(codef->dispatchCount(), 2U);
   EXPECT_EQ(codef->yieldBeforeFinishingCount(), 1U);
   EXPECT_EQ(codef->bookmark(), request("Ethernet3.10", 2)) << "left as it was by the last slice";
   EXPECT_EQ(codef->backlogSize(), 0U);
   EXPECT_FALSE(codef->clockNotifiee().waiting());
   ask("Ethernet1.20", 8);
   run();
   EXPECT_EQ(log.take(), "+Ethernet1.20=8") << "a bookmark that is gone means the first";
}

TEST_F(CodefTest, SlicesWrapFromTheBookmarkToTheFirstAndEndWithTheirQuantum) {
   time.costPerReadingIs(0.03);
   for (int i = 0; i < 12; ++i) {
      addSubIntf("Ethernet1." + std::to_string(100 + i), static_cast<uint16_t>(100 + i));
      ask("Ethernet1." + std::to_string(100 + i), 5);
   }
   uint32_t processed = codef->processBacklog(time.peek());
   EXPECT_GE(processed, 2U);
   EXPECT_LT(processed, 5U) << "0.1 s at 0.03 s a reading";
   // Request 100 is queued again after the others.
   ask("Ethernet1.100", 6);
   time.costPerReadingIs(0.0);
   log.take();
   codef->processBacklog(time.peek());
   std::string text = log.take();
   EXPECT_EQ(text.find("+Ethernet1.100=6"), text.size() - 16) << text;
   // One queued before the bookmark is reached by wrapping.
   codef->backlogQuantumIs(0.0);
   ask("Ethernet1.101", 7);
   ask("Ethernet1.102", 7);
   ask("Ethernet1.103", 7);
   codef->bookmarkIs(request("Ethernet1.103"));
   codef->backlogQuantumIs(0.1);
   codef->processBacklog(time.peek());
   EXPECT_EQ(log.take(), "+Ethernet1.103=7 +Ethernet1.101=7 +Ethernet1.102=7");
}

TEST_F(CodefTest, TheRetryPassPutsBackWhatIsStillAskedFor) {
   status->fapNameDel(FapId(1));
   ask("Ethernet1.10", 5);
   ask("Ethernet1.20", 6);
   ask("Ethernet2.10", 7);
   run();
   EXPECT_EQ(common->retryLists(), 3U);
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingInProgress, 5));
   common->retryListIs(entry("Ethernet2.20", 9), true); // withdrawn meanwhile
   ask("Ethernet1.20", 8);                              // already queued again
   log.take();
   std::string text = traced([&] { codef->doProcessRetryList(true); });
   EXPECT_THAT(
       text,
       HasSubstr(
           "9 TcamSharingCodef::doProcessRetryList: size: 4 -------------------------------\n"));
   EXPECT_THAT(text, HasSubstr("7 doProcessRetryList: retrying entry: "));
   EXPECT_THAT(text, HasSubstr("7 doProcessRetryEntry: already in backlog, nothing to do for "));
   EXPECT_EQ(common->retryLists(), 0U);
   EXPECT_EQ(codef->numOfRetriedItems(), 2U);
   EXPECT_EQ(codef->backlogSize(), 3U);
   EXPECT_EQ(log.take(), "") << "queued, not written";
   EXPECT_EQ(codef->nextRetry(), time.peek() + 2.0);
   run();
   EXPECT_EQ(common->retryLists(), 3U) << "the change of Ethernet1.20 had asked for the slice";

   status->fapNameIs(FapId(1), "back");
   log.take();
   runTo(2.0);
   EXPECT_EQ(
       log.take(),
       "-Ethernet1.20 +Ethernet1.20=8 -Ethernet1.10 +Ethernet1.10=5 -Ethernet2.10 +Ethernet2.10=7")
       << "the same policy again: deleted and added in one step";
   EXPECT_EQ(table->configs(), 3U);
   EXPECT_FALSE(common->notARealDelete());
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingInProgress, 5))
       << "until the chip answers";
   EXPECT_EQ(codef->nextRetry(), 4.0) << "an empty list re-arms the clock too";
   runTo(4.0);
   EXPECT_EQ(codef->nextRetry(), 6.0);
   EXPECT_EQ(codef->numOfRetriedItems(), 5U);
}

TEST_F(CodefTest, ARetryPassAsksForASliceOnlyWhenItQueuedSomething) {
   auto asked = [&](bool noTrigger) {
      codef->clockNotifiee().timeMinDel();
      codef->doProcessRetryList(noTrigger);
      return codef->clockNotifiee().waiting();
   };
   EXPECT_FALSE(asked(false)) << "an empty list";
   common->retryListIs(entry("Ethernet1.10", 5), true);
   EXPECT_FALSE(asked(false)) << "withdrawn";
   ask("Ethernet1.10", 5);
   common->retryListIs(entry("Ethernet1.10", 5), true);
   EXPECT_FALSE(asked(false)) << "queued before";
   codef->clockNotifiee().timeMinIs(0.0);
   run();
   common->retryListIs(entry("Ethernet1.10", 5), true);
   EXPECT_FALSE(asked(true)) << "queued, by a pass that is not to ask";
   EXPECT_EQ(codef->backlogSize(), 1U);
   codef->backlogDelAll();
   common->retryListIs(entry("Ethernet1.10", 5), true);
   EXPECT_TRUE(asked(false));
}

TEST_F(CodefTest, ARetryEntryIsSupersededByWorkOnItsRequest) {
   status->fapNameDel(FapId(1));
   ask("Ethernet1.10", 5);
   run();
   ASSERT_TRUE(common->retryList(entry("Ethernet1.10", 5)));
   status->fapNameIs(FapId(1), "back");
   std::string text = traced([&] {
      ask("Ethernet1.10", 6);
      run();
   });
   EXPECT_THAT(
       text,
       HasSubstr(
           "7 processBacklog: Deleting an item that is on the retryList, but has not been retried "
           "yet: "));
   EXPECT_EQ(common->retryLists(), 0U);
   // Entries of other policies of the request stay.
   common->retryListIs(entry("Ethernet1.10", 1), true);
   common->retryListIs(entry("Ethernet1.10", 6), false);
   text = traced([&] { EXPECT_TRUE(codef->doProcessRetryEntry(entry("Ethernet1.10", 6))); });
   EXPECT_THAT(text, testing::Not(HasSubstr("obsolete"))) << "an entry counts only while true";
   EXPECT_EQ(common->retryLists(), 1U);
   EXPECT_FALSE(codef->doProcessRetryEntry(entry("Ethernet1.10", 6)));
   common->retryListIs(entry("Ethernet2.10", 2), true);
   text = traced([&] { codef->doProcessRetryEntry(entry("Ethernet2.10", 2)); });
   EXPECT_THAT(text, HasSubstr("7 doProcessRetryEntry: Deleting an item that is obsolete, but has "
                               "not been retried yet: "));
   EXPECT_TRUE(common->retryList(entry("Ethernet1.10", 1)));
   EXPECT_FALSE(common->retryListHas(entry("Ethernet2.10", 2)));
}

TEST_F(CodefTest, ProgramInHwActsOnItsInterfaceOnly) {
   for (char const* intf : {"Ethernet1.10", "Ethernet1.20", "Ethernet2.10"}) {
      ask(intf, 5);
   }
   ask("Ethernet1.10", 6, 2);
   run();
   log.take();
   auto flag = statusDir->subIntfStatus(IntfId("Ethernet1.10"));
   std::string text = traced([&] { flag->programInHwIs(false); });
   EXPECT_THAT(text, HasSubstr("8 handleProgramInHw: intfId: Ethernet1.10, programInHw: 0\n"));
   EXPECT_THAT(
       text,
       HasSubstr("7 doMaybeDeleteMappingsForIntf: del mapping for: Ethernet1.10, on fapId: 1\n"));
   EXPECT_EQ(log.take(), "-Ethernet1.10 -Ethernet1.10") << "at once, on both units, in their order";
   EXPECT_TRUE(merged->requestHas(request("Ethernet1.10")));
   text = traced([&] { flag->programInHwIs(true); });
   EXPECT_THAT(
       text,
       HasSubstr(
           "7 doMaybeUpdateMappingsForIntf: update mapping for: Ethernet1.10, on fapId: 2\n"));
   EXPECT_EQ(log.take(), "");
   run();
   EXPECT_EQ(log.take(), "+Ethernet1.10=5 +Ethernet1.10=6");
   // The removal of a status withdraws nothing; a new status is watched.
   statusDir->subIntfStatusDel(IntfId("Ethernet1.10"));
   flag->programInHwIs(false);
   EXPECT_EQ(log.take(), "");
   statusDir->subIntfStatusIs(IntfId("Ethernet1.10"))->programInHwIs(false);
   EXPECT_EQ(log.take(), "-Ethernet1.10 -Ethernet1.10");
}

TEST_F(CodefTest, AnInternalVlanBringsAndTakesARoutedPort) {
   ask("Ethernet1", 5);
   run();
   EXPECT_EQ(answer("Ethernet1").status, tcamSharingInProgress);
   log.take();
   std::string text =
       traced([&] { vlans->internalVlanIdIs(IntfId("Ethernet1"), VlanIdOrNone(300)); });
   EXPECT_THAT(text,
               HasSubstr("8 TcamSharingSm::handleInternalVlanChange: intfId: Ethernet1, add:1\n"));
   EXPECT_EQ(common->retryLists(), 0U) << "its retry entry is obsolete";
   run();
   ok(key(300, 0));
   EXPECT_EQ(answer("Ethernet1"), response(tcamSharingSuccess, 5));
   log.take();
   text = traced([&] { vlans->internalVlanIdIs(IntfId("Ethernet1"), VlanIdOrNone(0)); });
   EXPECT_THAT(text, HasSubstr(", add:0\n"));
   EXPECT_THAT(text, HasSubstr("7 handleInternalVlanChange: deleting key: "));
   EXPECT_EQ(log.take(), "-Ethernet1");
   gone(key(300, 0));
   EXPECT_FALSE(mergedStatus->responseHas(request("Ethernet1")));
   // In-LIF mappings are walked as well, after the ISEM mappings.
   common->tcamRequestToVlanTagToVsiKeyMappingIs(request("Ethernet2"));
   output->requestIs(request("Ethernet2"), policy(1));
   log.take();
   vlans->internalVlanIdIs(IntfId("Ethernet2"), VlanIdOrNone(1));
   vlans->internalVlanIdDel(IntfId("Ethernet2"));
   EXPECT_EQ(log.take(), "-Ethernet2");
}

TEST_F(CodefTest, AnInterfaceChangeUpdatesItsOwnRequestsInTableOrder) {
   // The order within the interface is that of the merged table, also after removals.
   for (uint32_t unit : {3U, 1U, 2U}) {
      ask("Ethernet1.10", 5, unit);
      ask("Ethernet2.10", 5, unit);
   }
   withdraw("Ethernet1.10", 3);
   ask("Ethernet1.10", 5, 3);
   run();
   std::vector<uint16_t> units;
   std::string text = traced([&] { codef->doMaybeUpdateMappingsForIntf(IntfId("Ethernet1.10")); });
   std::vector<std::size_t> at;
   for (char const* unit : {"fapId: 1\n", "fapId: 2\n", "fapId: 3\n"}) {
      at.push_back(text.find(std::string("update mapping for: Ethernet1.10, on ") + unit));
   }
   EXPECT_TRUE(at[0] < at[1] && at[1] < at[2] && at[2] != std::string::npos) << text;
   EXPECT_EQ(codef->backlogSize(), 3U);
}

// Withdraws the second request as soon as the first one changes.
struct Companion : Orv::Reactor<TcamSharingRequest> {
   Companion(Pipeline& of, TcamSharingRequest first, TcamSharingRequest second)
       : of_(of), first_(first), second_(second) {}
   void handle(TcamSharingRequest const& request) override {
      if (request == first_) {
         of_.output->requestDel(second_);
         of_.common->tcamRequestToVlanTagToVsiKeyMappingDel(second_);
         of_.merged->requestDel(second_);
      }
   }
   Pipeline& of_;
   TcamSharingRequest first_;
   TcamSharingRequest second_;
};

TEST_F(CodefTest, ARequestThatIsWithdrawnDuringTheWalkIsSkipped) {
   uint64_t value = 0;
   auto walk = [&](std::string const& intf, std::string const& step, auto&& change) {
      TcamSharingRequest first = request(intf, 1);
      TcamSharingRequest second = request(intf, 2);
      merged->requestIs(first, policy(++value));
      merged->requestIs(second, policy(value));
      run();
      Companion queued(*this, first, second);
      Companion written(*this, first, second);
      codef->backlogCollection().watch(queued);
      output->requestCollection().watch(written);
      std::string text = traced(change);
      EXPECT_NE(text.find(step), std::string::npos) << step;
      EXPECT_EQ(text.find(step), text.rfind(step)) << text;
      EXPECT_FALSE(codef->backlog(second)) << step;
   };
   std::string const queues = "7 doProcessRetryEntry: processing retryEntry: ";
   auto flag = statusDir->subIntfStatus(IntfId("Ethernet1.10"));
   walk("Ethernet1.10", "del mapping for: ", [&] { flag->programInHwIs(false); });
   walk("Ethernet1.10", queues, [&] { flag->programInHwIs(true); });
   IntfId port("Ethernet1");
   walk("Ethernet1", queues, [&] { vlans->internalVlanIdIs(port, VlanIdOrNone(300)); });
   walk("Ethernet1", "deleting key: ", [&] { vlans->internalVlanIdDel(port); });
   vlans->internalVlanIdIs(port, VlanIdOrNone(300));
   walk("Ethernet1", "deleting key: ", [&] {
      common->tcamRequestToIsemKeyMappingDelAll();
      for (uint32_t unit : {1U, 2U}) {
         common->tcamRequestToVlanTagToVsiKeyMappingIs(request("Ethernet1", unit));
      }
      vlans->internalVlanIdDel(port);
   });
   IntfId homeless("Ethernet9.10");
   addSubIntf("Ethernet9.10", 10);
   walk("Ethernet9.10", queues, [&] { encapChange->dot1qEncapIs(homeless, {30, 0}); });
   walk("Ethernet9.10", "d-removing intf: ", [&] {
      configDir->subIntfConfig(homeless)->dot1qEncapIs({});
      encapChange->dot1qEncapDel(homeless);
   });
   encapChange->dot1qEncapIs(homeless, {30, 0});
   walk("Ethernet9.10", "t-removing intf: ", [&] {
      configDir->subIntfConfigDel(homeless);
      encapChange->dot1qEncapDel(homeless);
   });
}

TEST_F(CodefTest, StartQueuesWhatIsThereAndDropsOldStatuses) {
   stop();
   merged->requestIs(request("Ethernet1.10"), policy(5));
   merged->requestIs(request("Ethernet1.20"), policy(6));
   output->requestIs(request("Ethernet1.20"), policy(6));
   mergedStatus->responseIs(request("Ethernet1.10"), response(tcamSharingFailed, 4));
   log.take();
   start();
   EXPECT_EQ(codef->backlogSize(), 1U);
   EXPECT_EQ(codef->nextRetry(), time.peek() + 2.0);
   EXPECT_EQ(codef->updatesSeen(), 2U);
   run();
   EXPECT_EQ(log.take(), "+Ethernet1.10=5");
   EXPECT_EQ(table->configs(), 2U) << "the programming machine handles what is in its table once";
   time.costPerReadingIs(0.25);
   ask("Ethernet1.10", 9);
   EXPECT_EQ(codef->lastLatency(), codef->maxLatency());
   EXPECT_GT(codef->lastLatency(), 0.2);
   stop();
   start();
   EXPECT_GT(codef->startupLatency(), 0.2);
}

TEST_F(CodefTest, ARequesterThatReactsInsideItsStatusIsServed) {
   // On success the requester asks for the next policy, up to 8, from inside the notification.
   struct Requester : Orv::Reactor<TcamSharingRequest> {
      Requester(TcamSharingConfig& config, TcamSharingStatus const& status)
          : config_(config), status_(status) {
         status.responseCollection().watch(*this);
      }
      void handle(TcamSharingRequest const& request) override {
         auto answer = status_.response(request);
         if (answer.status == tcamSharingSuccess && answer.policyId.value() < 8) {
            config_.requestIs(request, policy(answer.policyId.value() + 1));
         }
      }
      TcamSharingConfig& config_;
      TcamSharingStatus const& status_;
   } requester(*acl, *aclStatus);
   // The chip answers inside the write.
   struct Chip : Orv::Reactor<AradSemKeyAndFap> {
      explicit Chip(CodefTest* test) : test_(test) { test->table->configCollection().watch(*this); }
      void handle(AradSemKeyAndFap const& of) override {
         test_->table->configHas(of) ? test_->ok(of) : test_->gone(of);
      }
      CodefTest* test_;
   } chip(this);
   ask("Ethernet1.10", 5);
   run();
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingSuccess, 8));
   EXPECT_EQ(table->config(key(10, 11)), AradSemPayload::basic(8));
   EXPECT_EQ(common->pendingSemWrites(), 0U);
   withdraw("Ethernet1.10");
   run();
   EXPECT_EQ(mergedStatus->responses() + table->configs() + common->semToRequests(), 0U);
}

using CodefDeathTest = CodefTest;

TEST_F(CodefDeathTest, Invariants) {
   EXPECT_DEATH(codef->handleInitialized(), "Failed\\(!initialized\\(\\)\\)");
   EXPECT_DEATH(sem->handleInitialized(), "Failed\\(!initialized\\(\\)\\)");
   EXPECT_DEATH(codef->handleDot1qEncapChange(IntfId()),
                "Failed\\(subIntfId != Plexus::IntfId\\(\\)\\)");
   ask("Ethernet1.10", 5);
   run();
   codef->doMaybeUpdateMappingsForIntf(IntfId("Ethernet1.10"));
   common->notARealDeleteIs(true);
   EXPECT_DEATH(run(), "Failed\\(!tcamSharingCommon\\(\\)->notARealDelete\\(\\)\\)");
   common->notARealDeleteIs(false);
}

TEST(SelectorTest, EachSelectorWritesItsTables) {
   auto tag = Orv::make<TcamSharingConfig>();
   auto tunnel = Orv::make<TcamSharingConfig>();
   TcamSharingInLifSelector selector(tag, tunnel);
   TcamSharingRequest onPort{IntfId("Ethernet1"), FapId(1)};
   TcamSharingRequest onTunnel{IntfId("Tunnel-x"), FapId(1)};
   selector.addRequest(onPort, policy(1));
   selector.addRequest(onTunnel, policy(2));
   EXPECT_EQ(tag->requests(), 1U);
   EXPECT_EQ(tunnel->request(onTunnel), policy(2));
   EXPECT_EQ(selector.getRequest(onTunnel), policy(2));
   selector.delRequest(onPort);
   selector.delRequest(onPort);
   EXPECT_EQ(selector.getRequest(onPort), policy(0));
   EXPECT_EQ(tag->requests() + tunnel->requests(), 1U);
   EXPECT_EQ(TcamSharingSemSelector(nullptr).getRequest(onPort), policy(0));
   EXPECT_EQ(TcamSharingInLifSelector(nullptr, tunnel).getRequest(onPort), policy(0));

   TcamSharingSelector plain;
   auto thrown = [](auto&& action) -> std::string {
      try {
         action();
      } catch (Orv::NoImplementationException const& error) {
         return error.what();
      }
      return "";
   };
   EXPECT_EQ(
       thrown([&] { plain.delRequest(onPort); }),
       "virtual void Hardware::ShoalTunnel::TcamSharingSelector::delRequest(const "
       "Hardware::ShoalTunnel::TcamSharingRequest&) must be implemented in the derived class");
   EXPECT_THAT(thrown([&] { plain.addRequest(onPort, policy(1)); }),
               HasSubstr("::addRequest(const "));
   EXPECT_THAT(thrown([&] { plain.getRequest(onPort); }), HasSubstr("::getRequest(const "));
   auto base = Orv::make<TcamSharingBaseSm>(nullptr, tag, nullptr, nullptr);
   EXPECT_THAT(
       thrown([&] { tag->requestIs(onPort, policy(1)); }),
       HasSubstr(
           "::handleTcamSharingConfig(const Hardware::ShoalTunnel::TcamSharingRequest&) must be "));
   base->orvDoZombieReactors(true);
   tag->requestIs(onPort, policy(2));
}

} // namespace
} // namespace Hardware::ShoalTunnel
