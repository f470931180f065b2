#include "tests/ShoalTunnel/TcamSharing/InLifPipeline.h"

namespace Hardware::ShoalTunnel {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr char const* port10 = "Ethernet1.10";
constexpr char const* lag70 = "PortChannel7.70";
std::vector<std::string> const members{"Ethernet1", "Ethernet2", "Ethernet4"};

class InLifTest : public InLifPipeline {
 public:
   uint32_t count(std::string const& intf, uint64_t value) {
      return common->tcamSharingEntryRefCount(TcamSharingEntry(request(intf), policy(value)));
   }
   void requeue(std::string const& intf, uint16_t tag) {
      encapChange->dot1qEncapDel(IntfId(intf));
      encapChange->dot1qEncapIs(IntfId(intf), {tag, 0});
      run();
   }
   bool quiet() const {
      return common->pendingLifEntriess() == 0 && common->tcamSharingEntryRefCounts() == 0 &&
             common->vtagToVsiStatusErrorTypes() == 0 && common->retryLists() == 0;
   }
};

TEST_F(InLifTest, ASubInterfacesEntryCarriesThePolicyUntilItIsWithdrawn) {
   ask(port10, 0x1405); // label 5 is above the 10 bits of the data
   run();
   EXPECT_EQ(mapperConfig->config(port(10)), (VlanTagToVsiMapperResult{10, 5}));
   EXPECT_EQ(common->pendingLifEntries(port(10)),
             TcamSharingEntry(request(port10), policy(0x1405)));
   EXPECT_EQ(count(port10, 0x1405), 1U);
   EXPECT_EQ(answer(port10), TcamSharingResponse()) << "nothing is answered at the write";
   answers(port(10));
   EXPECT_EQ(answer(port10), response(tcamSharingSuccess, 0x1405));
   EXPECT_TRUE(
       common->tcamRequestToVlanTagToVsiKeyMapping(request(port10))->vtagToVsiMapperKey(port(10)));
   EXPECT_TRUE(quiet());

   // The same again writes nothing; another policy with the same data is answered at once too.
   mergedStatus->responseDelAll();
   std::string text = traced([&] { requeue(port10, 10); });
   EXPECT_THAT(text, HasSubstr("7 handleTcamSharingConfig : bypassing Lif programming, no change "
                               "required for "));
   EXPECT_EQ(answer(port10), response(tcamSharingSuccess, 0x1405));
   ask(port10, 0x1805);
   run();
   EXPECT_EQ(answer(port10), response(tcamSharingSuccess, 0x1805));

   withdraw(port10);
   run();
   EXPECT_EQ(data(port(10)), 0U);
   EXPECT_EQ(answer(port10), TcamSharingResponse());
   EXPECT_FALSE(common->tcamRequestToVlanTagToVsiKeyMappingHas(request(port10)));
   text = traced([&] { answers(port(10)); });
   EXPECT_THAT(text, HasSubstr("7 Adding to lif response\n"));
   EXPECT_EQ(mergedStatus->responses(), 0U);
   EXPECT_EQ(common->tcamRequestToVlanTagToVsiKeyMappings(), 0U);
   EXPECT_TRUE(quiet());
   EXPECT_THAT(traced([&] { answers(port(10)); }),
               HasSubstr("7 handleVtagToVsiStatus: response we can safely ignore\n"));
}

TEST_F(InLifTest, ARefusalIsAFailureThatALaterPolicyMayMend) {
   ask(port10, 5);
   run();
   answers(port(10), mapperFailure);
   EXPECT_EQ(answer(port10), response(tcamSharingFailed, 5));
   EXPECT_FALSE(common->tcamRequestToVlanTagToVsiKeyMappingHas(request(port10)));
   ask(port10, 6);
   run();
   answers(port(10));
   EXPECT_EQ(answer(port10), response(tcamSharingSuccess, 6));
   // A refused removal leaves a response without a policy behind.
   withdraw(port10);
   run();
   answers(port(10), mapperFailure);
   EXPECT_EQ(answer(port10), response(tcamSharingFailed, 0));
}

TEST_F(InLifTest, WhatCannotBeResolvedWaitsForTheRetry) {
   status->fapNameDel(FapId(1));
   ask(port10, 5);
   run();
   EXPECT_EQ(answer(port10), response(tcamSharingInProgress, 5));
   EXPECT_TRUE(common->retryList(TcamSharingEntry(request(port10), policy(5))));
   EXPECT_EQ(data(port(10)), 0U);
   status->fapNameIs(FapId(1), "unit");
   runTo(2.0);
   answers(port(10));
   EXPECT_EQ(answer(port10), response(tcamSharingSuccess, 5));
   // Withdrawn while it does not resolve: the response goes, the data stay.
   status->fapNameDel(FapId(1));
   withdraw(port10);
   run();
   EXPECT_EQ(answer(port10), TcamSharingResponse());
   EXPECT_EQ(data(port(10)), 5U);
   EXPECT_TRUE(quiet());
}

TEST_F(InLifTest, AMissingMapperEntryIsRetriedWithoutAResponse) {
   mapperConfig->configDel(port(10));
   EXPECT_THAT(traced([&] {
                  ask(port10, 5);
                  run();
               }),
               HasSubstr("7 Subintf is not programmed\n"));
   EXPECT_EQ(common->retryLists(), 1U);
   EXPECT_EQ(answer(port10), TcamSharingResponse());
   mapperConfig->configIs(port(10), {10, 0});
   runTo(2.0);
   EXPECT_EQ(data(port(10)), 5U);
   // The entry is removed while it is pending: the next attempt drops the count, and a removal does
   // not wait.
   mapperConfig->configDel(port(10));
   withdraw(port10);
   run();
   EXPECT_EQ(common->retryLists(), 0U);
   EXPECT_EQ(count(port10, 0), 0U);
   EXPECT_EQ(count(port10, 5), 1U) << "the count of another entry";
}

// If one member fails the request fails, whatever the order of the answers.
TEST_F(InLifTest, APortChannelIsAnsweredWhenAllMembersAre) {
   uint64_t value = 0;
   std::vector<std::size_t> order{0, 1, 2};
   do {
      for (std::size_t failing : {0U, 1U, 2U, 3U}) {
         ask(lag70, ++value);
         run();
         EXPECT_EQ(count(lag70, value), 3U);
         TcamSharingResponse before = answer(lag70);
         for (std::size_t i = 0; i < order.size(); ++i) {
            EXPECT_EQ(answer(lag70), before) << "after " << i << " answers";
            answers(member70(members[order[i]]),
                    order[i] == failing ? mapperFailure : mapperSuccess);
         }
         EXPECT_EQ(answer(lag70),
                   response(failing < 3 ? tcamSharingFailed : tcamSharingSuccess, value));
         EXPECT_TRUE(quiet());
      }
   } while (std::next_permutation(order.begin(), order.end()));
   EXPECT_EQ(value, 24U);
   EXPECT_EQ(common->tcamRequestToVlanTagToVsiKeyMapping(request(lag70))->vtagToVsiMapperKeys(),
             3U);
}

TEST_F(InLifTest, AMemberWithoutAnEntryStopsTheWalkAndMembersThatStandAreBypassed) {
   mapperConfig->configDel(member70("Ethernet2"));
   ask(lag70, 5);
   run();
   EXPECT_EQ(data(member70("Ethernet1")), 5U);
   EXPECT_EQ(data(member70("Ethernet4")), 0U) << "behind the one that is missing";
   EXPECT_EQ(common->pendingLifEntriess(), 1U);
   EXPECT_EQ(count(lag70, 5), 0U);
   EXPECT_EQ(common->retryLists(), 1U);
   mapperConfig->configIs(member70("Ethernet2"), {70, 0});
   std::string text = traced([&] { runTo(2.0); });
   EXPECT_THAT(text, HasSubstr("7 handleTcamSharingConfig : bypassing Lif programming for "));
   EXPECT_THAT(text, HasSubstr(" on intfId: Ethernet1\n"));
   EXPECT_EQ(answer(lag70), response(tcamSharingSuccess, 5)) << "the first member stands already";
   EXPECT_EQ(count(lag70, 5), 2U);
   for (auto const& member : members) {
      answers(member70(member));
   }
   EXPECT_TRUE(quiet());
}

TEST_F(InLifTest, WritingAMemberPortAsFalseRemovesIt) {
   LagFapKey lag{IntfId("PortChannel7"), Shoal::fapLocalCoreIdToSystemTcamId(status, FapId(1), 0)};
   mapper->vlanDomainManager()->vlanDomainPerLagFap(lag)->memberPortIs(2, false);
   ask("PortChannel7.70", 5);
   run();
   EXPECT_EQ(data(member70("Ethernet1")), 5U);
   EXPECT_EQ(data(member70("Ethernet2")), 0U);
   lagDir->ethLagIntfStatus(IntfId("PortChannel7"))->memberDelAll();
   lagDir->ethLagIntfStatus(IntfId("PortChannel7"))->memberIs(IntfId("Ethernet1"), false);
   EXPECT_FALSE(helper->getVlanDomainForIntf(IntfId("PortChannel7.70"), FapId(1)))
       << "without members";
}

TEST_F(InLifTest, APortChannelThatGoesInTheMiddleOfARemovalIsTracedAndDropped) {
   ask(lag70, 5);
   run();
   for (auto const& member : members) {
      answers(member70(member));
   }
   struct Leaver : Orv::Reactor<TcamSharingRequest> {
      explicit Leaver(InLifTest& test) : test_(test) {}
      void handle(TcamSharingRequest const&) override {
         test_.mapper->vlanDomainManager()->vlanDomainPerLagFapDelAll();
      }
      InLifTest& test_;
   } leaver(*this);
   mergedStatus->responseCollection().watch(leaver);
   withdraw(lag70);
   EXPECT_THAT(traced([&] { run(); }),
               HasSubstr("0 handleTcamSharingConfig: no vlanDomainPerLagFap entry found for lag: "
                         "PortChannel7, on fap: 1\n"));
   EXPECT_EQ(data(member70("Ethernet1")), 5U);
   EXPECT_EQ(common->retryLists(), 0U);
}

TEST_F(InLifTest, AnOlderAnswerOnlyLowersTheCount) {
   ask(port10, 5);
   run();
   ask(port10, 6);
   run();
   std::string text = traced([&] { answers(port(10), mapperSuccess, 5); });
   EXPECT_THAT(text,
               HasSubstr("7 handleVtagToVsiStatus: PolicyId updated. Ignoring this response\n"));
   EXPECT_THAT(text, HasSubstr("8 TcamSharingInLifSm::doDecrementRefCountOnTcamSharingEntry: "));
   EXPECT_EQ(answer(port10), TcamSharingResponse());
   EXPECT_EQ(count(port10, 6), 0U);
   EXPECT_EQ(common->pendingLifEntriess(), 1U);
   answers(port(10));
   EXPECT_EQ(answer(port10), response(tcamSharingSuccess, 6));

   // On a port-channel the count of the older entry is kept: a new request for the same policy
   // waits for more answers than there will be.
   ask(lag70, 5);
   run();
   ask(lag70, 6);
   run();
   for (uint64_t of : {5, 6}) {
      for (auto const& member : members) {
         answers(member70(member), mapperSuccess, of);
      }
   }
   EXPECT_EQ(answer(lag70), response(tcamSharingSuccess, 6));
   EXPECT_EQ(count(lag70, 5), 3U);
   ask(lag70, 5);
   run();
   for (auto const& member : members) {
      answers(member70(member));
   }
   EXPECT_EQ(answer(lag70), response(tcamSharingSuccess, 6)) << "5 is never answered";
}

TEST_F(InLifTest, OtherInterfacesAreResolvedAndHaveNothingToProgram) {
   ask("Ethernet1", 5); // a routed port without its internal VLAN
   run();
   EXPECT_EQ(answer("Ethernet1"), response(tcamSharingInProgress, 5));
   vlans->internalVlanIdIs(IntfId("Ethernet1"), VlanIdOrNone(100));
   ask("Vlan7", 5);
   runTo(2.0);
   EXPECT_EQ(answer("Ethernet1"), response(tcamSharingInProgress, 5)) << "for ever";
   EXPECT_EQ(answer("Vlan7"), TcamSharingResponse());
   EXPECT_TRUE(quiet());
}

TEST_F(InLifTest, ARemovalThatIsNotRealIsNotSeenAndAMachineIsBuiltAgain) {
   ask(port10, 5);
   run();
   answers(port(10));
   common->notARealDeleteIs(true);
   tagOutput->requestDel(request(port10));
   common->notARealDeleteIs(false);
   EXPECT_EQ(data(port(10)), 5U);
   EXPECT_EQ(answer(port10), response(tcamSharingSuccess, 5));

   inLif = nullptr;
   tagOutput->requestIs(request(port10), policy(6));
   EXPECT_EQ(data(port(10)), 5U);
   inLif = tcamSharingInLifSmFactory(status, tagOutput, mergedStatus, helper, mapperConfig,
                                     mapperStatus, common);
   EXPECT_EQ(data(port(10)), 6U);
   inLif->orvDoZombieReactors(true);
   answers(port(10));
   EXPECT_EQ(answer(port10), response(tcamSharingSuccess, 5));
   inLif->orvDoZombieReactors(false);
   inLif->orvDoZombieReactors(false);
   answers(port(10));
   EXPECT_EQ(answer(port10), response(tcamSharingSuccess, 6));
}

TEST_F(InLifTest, AradUnitsDoNotShareThisWay) {
   status->fapTypeIs(FapId(1), Shoal::fapTypeArad);
   EXPECT_DEATH(tagOutput->requestIs(request(port10), policy(5)),
                "Failed.shoalStatus..->fapType. request.fapId.. . != "
                "Hardware::Shoal::fapTypeArad... ");
}

} // namespace
} // namespace Hardware::ShoalTunnel
