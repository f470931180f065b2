#include "tests/ShoalTunnel/TcamSharing/InLifPipeline.h"

namespace Hardware::ShoalTunnel {
namespace {

using testing::HasSubstr;

class TunnelTest : public InLifPipeline {
 public:
   TunnelPolicyMapperKey const key{IntfId("Tunnel1"), FapId(1)};
   TcamSharingEntry pending() const { return common->pendingTunnelLifEntries(key); }
   std::string answers(uint32_t code, uint64_t data) {
      return traced([&] { tunnelStatus->statusIs(key, {code, data}); });
   }
   std::string removed() {
      return traced([&] { tunnelStatus->statusDel(key); });
   }
   void put(uint64_t value) {
      if (value == 0) {
         withdraw("Tunnel1");
      } else {
         ask("Tunnel1", value);
      }
      run();
   }
   TcamSharingResponse answer() { return InLifPipeline::answer("Tunnel1"); }
};

TEST_F(TunnelTest, AnEntryIsCreatedChangedAndRemoved) {
   put(0x1405); // the label is above the 10 bits of the data
   EXPECT_EQ(tunnelConfig->config(key), TunnelPolicyMapperResult{5});
   EXPECT_EQ(pending(), TcamSharingEntry(request("Tunnel1"), policy(0x1405)));
   EXPECT_EQ(answer(), TcamSharingResponse()) << "nothing is answered at the write";
   EXPECT_THAT(answers(3, 5),
               HasSubstr("5 handleTunnelToPolicyStatus: tunnel lif programming in progress\n"));
   EXPECT_EQ(answer(), response(tcamSharingInProgress, 0x1405));
   EXPECT_THAT(answers(2, 5),
               HasSubstr("5 handleTunnelToPolicyStatus: tunnel lif programming successful\n"));
   EXPECT_EQ(answer(), response(tcamSharingSuccess, 0x1405));

   put(6);
   EXPECT_THAT(answers(2, 5),
               HasSubstr("7 handleTunnelToPolicyStatus: policyId mismatch in response\n"));
   EXPECT_EQ(answer(), response(tcamSharingSuccess, 0x1405));
   EXPECT_THAT(answers(1, 6),
               HasSubstr("0 handleTunnelToPolicyStatus: tunnel lif programming failed\n"));
   EXPECT_EQ(answer(), response(tcamSharingFailed, 6));
   answers(2, 6);
   EXPECT_EQ(answer(), response(tcamSharingSuccess, 6)) << "the pending entry stays";

   put(0);
   EXPECT_FALSE(tunnelConfig->configHas(key));
   EXPECT_EQ(pending(), TcamSharingEntry(request("Tunnel1"), policy(0)));
   EXPECT_EQ(answer(), response(tcamSharingSuccess, 6)) << "until the removal is answered";
   EXPECT_THAT(removed(),
               HasSubstr("7 handleTunnelToPolicyStatus: response received for a delete request\n"));
   EXPECT_EQ(answer(), TcamSharingResponse());
   EXPECT_EQ(common->pendingTunnelLifEntriess(), 0U);
   EXPECT_THAT(answers(2, 6),
               HasSubstr("7 handleTunnelToPolicyStatus: entry not in pending list\n"));
   EXPECT_EQ(answer(), TcamSharingResponse());
}

TEST_F(TunnelTest, ALateRemovalAnswerDoesNotTouchTheEntryThatCameAfterIt) {
   put(5);
   answers(2, 5);
   put(0);
   put(7);
   EXPECT_THAT(removed(), HasSubstr("7 handleTunnelToPolicyStatus: stale delete response\n"));
   EXPECT_EQ(pending(), TcamSharingEntry(request("Tunnel1"), policy(7)));
   answers(2, 7);
   EXPECT_EQ(answer(), response(tcamSharingSuccess, 7));
}

TEST_F(TunnelTest, DataOfZeroCountAsNoEntryInHardware) {
   put(0x400); // only a label
   EXPECT_TRUE(tunnelConfig->configHas(key));
   EXPECT_THAT(traced([&] { put(0); }),
               HasSubstr("7 handleTcamSharingConfig: entry not present in hardware\n"));
   EXPECT_TRUE(tunnelConfig->configHas(key)) << "the write of zero stands";
   answers(2, 0);
   EXPECT_EQ(answer(), response(tcamSharingSuccess, 0x400)) << "its late answer stays";
   put(0x400);
   put(0);
   EXPECT_EQ(answer(), TcamSharingResponse()) << "until it is asked for and withdrawn again";
}

TEST_F(TunnelTest, ARemovalThatIsNotRealIsNotSeenAndAMachineIsBuiltAgain) {
   put(5);
   common->notARealDeleteIs(true);
   tunnelOutput->requestDel(request("Tunnel1"));
   common->notARealDeleteIs(false);
   EXPECT_TRUE(tunnelConfig->configHas(key));

   tunnel = nullptr;
   tunnelOutput->requestIs(request("Tunnel1"), policy(6));
   tunnel = tcamSharingTunnelInLifSmFactory(status, tunnelOutput, mergedStatus, helper,
                                            tunnelConfig, tunnelStatus, common);
   EXPECT_EQ(tunnelConfig->config(key), TunnelPolicyMapperResult{6});
   tunnel->orvDoZombieReactors(true);
   answers(2, 6);
   EXPECT_EQ(answer(), TcamSharingResponse());
   tunnel->orvDoZombieReactors(false);
   answers(2, 6);
   EXPECT_EQ(answer(), response(tcamSharingSuccess, 6));
   EXPECT_TRUE(tagOutput->requestCollection().size() == 0);
}

} // namespace
} // namespace Hardware::ShoalTunnel
