#include "tests/ShoalTunnel/TcamSharing/Pipeline.h"

#include "ShoalTunnel/TcamSharing/DynamicISemData.h"
#include "ShoalTunnel/TcamSharing/TcamSharingIsemPolicyId.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace Hardware::ShoalTunnel {
namespace {

constexpr uint64_t qos5 = 5;
constexpr uint64_t pbr1 = 1 << 5;
constexpr uint64_t acl3 = 3 << 10;
constexpr uint64_t label1 = 1 << 17;
constexpr uint64_t label2 = 2 << 17;
constexpr uint64_t above = 1ULL << 30;

class MergeTest : public Pipeline {
 protected:
   TcamSharingRequest plain = request("Ethernet1.10", 1);
   TcamSharingRequest onLumen = request("Ethernet3.10", 2);
   uint64_t mergedValue(TcamSharingRequest of) { return merged->request(of).value(); }
};

TEST_F(MergeTest, EachFeatureOwnsItsFieldsInEitherOrder) {
   acl->requestIs(onLumen, policy(qos5 | pbr1 | acl3));
   lumen->requestIs(onLumen, policy(label1));
   EXPECT_EQ(mergedValue(onLumen), qos5 | pbr1 | acl3 | label1);
   lumen->requestDel(onLumen);
   EXPECT_EQ(mergedValue(onLumen), qos5 | pbr1 | acl3);
   acl->requestDel(onLumen);
   EXPECT_FALSE(merged->requestHas(onLumen));

   lumen->requestIs(onLumen, policy(label1 | acl3 | above)); // what is not the label is dropped
   EXPECT_EQ(mergedValue(onLumen), label1);
   acl->requestIs(onLumen, policy(qos5 | above));
   EXPECT_EQ(mergedValue(onLumen), qos5 | label1);
   acl->requestDel(onLumen);
   EXPECT_EQ(mergedValue(onLumen), label1) << "a label alone is a policy";
}

TEST_F(MergeTest, LastWriterOfTheLabelWins) {
   lumen->requestIs(onLumen, policy(label1));
   rampart->requestIs(onLumen, policy(label2));
   EXPECT_EQ(mergedValue(onLumen), label2);
   lumen->requestIs(onLumen, policy(label1 | acl3));
   EXPECT_EQ(mergedValue(onLumen), label1);
   rampart->requestDel(onLumen);
   EXPECT_FALSE(merged->requestHas(onLumen)) << "although lumen still asks";
   EXPECT_TRUE(lumen->requestHas(onLumen));
}

TEST_F(MergeTest, WithoutTheLumenLookupAclOwnsTheWholePolicy) {
   merged->requestIs(plain, policy(label2 | above));
   acl->requestIs(plain, policy(label1 | qos5));
   EXPECT_EQ(mergedValue(plain), label1 | qos5);
   acl->requestDel(plain);
   EXPECT_FALSE(merged->requestHas(plain));
   // The look-up type is read at the merge, not watched.
   acl->requestIs(onLumen, policy(qos5));
   lumen->requestIs(onLumen, policy(label1));
   status->fapExtLkupTypeDel(FapId(2));
   EXPECT_EQ(mergedValue(onLumen), qos5 | label1);
   acl->requestIs(onLumen, policy(pbr1));
   EXPECT_EQ(mergedValue(onLumen), pbr1);
}

TEST_F(MergeTest, ResponsesAreSplitByOwner) {
   auto split = [&](TcamSharingRequest of) {
      return std::tuple(aclStatus->response(of), lumenStatus->response(of),
                        rampartStatus->responses());
   };
   auto none = TcamSharingResponse();
   mergedStatus->responseIs(onLumen,
                            response(tcamSharingFailed, qos5 | pbr1 | acl3 | label1 | above));
   EXPECT_EQ(split(onLumen), std::tuple(response(tcamSharingFailed, qos5 | pbr1 | acl3),
                                        response(tcamSharingFailed, label1), 0U));
   mergedStatus->responseIs(onLumen, response(tcamSharingSuccess, label2));
   EXPECT_EQ(split(onLumen), std::tuple(none, response(tcamSharingSuccess, label2), 0U));
   mergedStatus->responseIs(onLumen, response(tcamSharingSuccess, qos5));
   EXPECT_EQ(split(onLumen), std::tuple(response(tcamSharingSuccess, qos5), none, 0U));
   mergedStatus->responseDel(onLumen);
   EXPECT_EQ(split(onLumen), std::tuple(none, none, 0U));

   lumenStatus->responseIs(plain, response(tcamSharingFailed, label1));
   mergedStatus->responseIs(plain, response(tcamSharingInProgress, qos5 | label1));
   EXPECT_EQ(split(plain), std::tuple(response(tcamSharingInProgress, qos5 | label1),
                                      response(tcamSharingFailed, label1), 0U))
       << "the lumen status is not touched on a plain unit";
}

TEST_F(MergeTest, StartReplaysTheFeaturesAndClearsTheirStatuses) {
   stop();
   TcamSharingRequest stray = request("Ethernet2.10");
   merged->requestIs(stray, policy(qos5));
   rampartStatus->responseIs(stray, response(tcamSharingFailed, 1));
   lumenStatus->responseIs(stray, response(tcamSharingFailed, 1));
   merge = Orv::make<TcamSharingMergeSm>(acl, lumen, rampart, merged, aclStatus, lumenStatus,
                                         rampartStatus, mergedStatus, status);
   std::string entry = traced([&] { acl->requestIs(plain, policy(qos5)); });
   EXPECT_THAT(entry, testing::HasSubstr(
                          "8 TcamSharingMergeSm::handleTcamSharingShoalAclConfig: request:Value('"
                          "Hardware::ShoalTunnel::TcamSharingRequest', ** {'intfId': Ethernet1.10, "
                          "'fapId': 1, 'l3FloodPortVlanId': 0})"));
   TcamSharingRequest ofBoth = request("Ethernet3.20", 2);
   rampart->requestIs(ofBoth, policy(label2));
   rampart->requestIs(request("Ethernet3", 2), policy(label2));
   lumen->requestIs(ofBoth, policy(label1));
   lumen->requestIs(onLumen, policy(label1));
   mergedStatus->responseIs(plain, response(tcamSharingSuccess, qos5));
   EXPECT_EQ(merged->requests(), 1U) << "nothing before the start";
   EXPECT_EQ(aclStatus->responses(), 0U);
   merge->handleInitialized();
   EXPECT_EQ(merged->requests(), 5U) << "what stood in the merged table stays";
   EXPECT_EQ(mergedValue(onLumen), label1);
   EXPECT_EQ(mergedValue(request("Ethernet3", 2)), label2);
   EXPECT_EQ(mergedValue(ofBoth), label2) << "Rampart is the last, whoever asked first";
   EXPECT_EQ(rampartStatus->responses() + lumenStatus->responses() + aclStatus->responses(), 0U);
}

TEST_F(MergeTest, AFeatureThatIsNotThereAsksForNothing) {
   merge = Orv::make<TcamSharingMergeSm>(nullptr, nullptr, nullptr, merged, aclStatus, lumenStatus,
                                         rampartStatus, nullptr, status);
   merged->requestIs(onLumen, policy(qos5 | label1));
   merge->handleTcamSharingShoalRampartConfig(onLumen);
   EXPECT_EQ(mergedValue(onLumen), qos5 | label1) << "nothing before the start";
   merge->handleInitialized();
   aclStatus->responseIs(onLumen, response(tcamSharingSuccess, qos5));
   merge->handleTcamSharingStatus(onLumen);
   EXPECT_EQ(aclStatus->responses(), 0U) << "no merged status, no answer";
   merge->handleTcamSharingShoalAclConfig(onLumen);
   EXPECT_EQ(mergedValue(onLumen), label1);
   merge->handleTcamSharingShoalLumenConfig(onLumen);
   EXPECT_FALSE(merged->requestHas(onLumen));
}

using MergeDeathTest = MergeTest;

TEST_F(MergeDeathTest, FeaturesThatAskForFieldsOfOthersStopTheAgent) {
   auto failed = [](std::string const& condition) {
      std::string escaped;
      for (char c : condition) {
         escaped += std::string("()").find(c) != std::string::npos ? std::string("\\") + c
                                                                   : std::string(1, c);
      }
      return "Failed\\(" + escaped +
             "\\) (.|\n)*TcamSharingMergeSm::(.|\n)*ShoalTunnel/TcamSharing/";
   };
   std::string lookup =
       "shoalStatus()->fapExtLkupType( request.fapId() ) == Hardware::Shoal::extLkupTypeLumen_";
   EXPECT_DEATH(acl->requestIs(onLumen, policy(label1)), failed("policyId.lumenAclLabel() == 0"));
   EXPECT_DEATH(lumen->requestIs(plain, policy(label1)), failed(lookup));
   EXPECT_DEATH(rampart->requestIs(request("Ethernet3.10", 7), policy(label1)), failed(lookup));
   EXPECT_DEATH(lumen->requestIs(onLumen, policy(pbr1 | qos5)),
                failed("policyId.pbrPolicy() == 0"));
   EXPECT_DEATH(rampart->requestIs(onLumen, policy(qos5)), failed("policyId.qosPolicy() == 0"));
}

// Runs in a process of its own, where the toggle has not been read yet.
void withTheToggleOff(MergeTest&, std::function<bool()> const& check) {
   std::string directory = testing::TempDir() + "isem-toggle-" + std::to_string(::getpid());
   std::filesystem::create_directory(directory);
   std::ofstream(directory + "/ShoalTcamLib.json") << "{\"DynamicISemData\": false}";
   ::setenv("SHOAL_TOGGLE_DIR", directory.c_str(), 1);
   bool sound = !toggleDynamicISemDataEnabled() && check();
   // Read once: a later change of the file is not seen.
   std::ofstream(directory + "/ShoalTcamLib.json") << "{\"DynamicISemData\": true}";
   sound = sound && !toggleDynamicISemDataEnabled();
   std::filesystem::remove_all(directory);
   std::exit(sound ? 0 : 1);
}

TEST_F(MergeDeathTest, WithTheToggleOffTheAclLabelIsNobodys) {
   testing::GTEST_FLAG(death_test_style) = "threadsafe";
   EXPECT_EXIT(withTheToggleOff(*this,
                                [&] {
                                   acl->requestIs(onLumen, policy(qos5 | pbr1 | acl3));
                                   bool mergedWithout = mergedValue(onLumen) == (qos5 | pbr1);
                                   mergedStatus->responseIs(
                                       onLumen, response(tcamSharingSuccess, qos5 | acl3 | label1));
                                   bool splitWithout = aclStatus->response(onLumen) ==
                                                       response(tcamSharingSuccess, qos5);
                                   acl->requestIs(plain, policy(qos5 | acl3));
                                   bool wholeOnPlain = mergedValue(plain) == (qos5 | acl3);
                                   bool payload =
                                       TcamSharingIsemPolicyId(policy(qos5 | pbr1 | acl3 | label1))
                                           .makeISemPayloadValue(status, FapId(1)) == (qos5 | pbr1);
                                   return mergedWithout && splitWithout && wholeOnPlain && payload;
                                }),
               testing::ExitedWithCode(0), "");
   EXPECT_TRUE(toggleDynamicISemDataEnabled()) << "on by default";
   EXPECT_EQ(TcamSharingIsemPolicyId(policy(qos5 | acl3 | label1 | above))
                 .makeISemPayloadValue(status, FapId(1)),
             qos5 | acl3);
}

} // namespace
} // namespace Hardware::ShoalTunnel
