#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureResponseSm.h"
#include "tests/ShoalTunnel/Traced.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>

namespace Hardware::ShoalTunnel {
namespace {

using Type = InLifFeatureType;
using Plexus::IntfId;
using testing::HasSubstr;

class ResponseTest : public testing::Test {
 protected:
   using Features = std::vector<std::pair<Type, uint32_t>>;

   void request(uint64_t version, Features const& features) {
      write(config->requestIs(key), version, features);
   }
   void handled(uint64_t version, Features const& features) {
      write(status->responseIs(key), version, features);
   }
   // The responses of the key: type, value and status each.
   std::string answers() {
      std::ostringstream text;
      for (auto const& [of, response] : responses->responseIter()) {
         EXPECT_EQ(response.key, of);
         text << of.featureType() << "=" << response.value << ":"
              << static_cast<uint32_t>(response.status) << " ";
      }
      return text.str();
   }

   InLifIntfKey key{IntfId("Ethernet1"), Shoal::SystemTcamId(3)};
   Orv::Ptr<InLifIntfConfig> config = Orv::make<InLifIntfConfig>();
   Orv::Ptr<InLifIntfStatus> status = Orv::make<InLifIntfStatus>();
   Orv::Ptr<InLifFeatureStatus> responses = Orv::make<InLifFeatureStatus>();
   Orv::Ptr<InLifFeatureResponseSm> sm = inLifFeatureResponseSmFactory(status, config, responses);

 private:
   static void write(Orv::Ptr<InLifIntfFeatureAggr> const& aggr, uint64_t version,
                     Features const& features) {
      aggr->featureAggDelAll();
      for (auto const& [type, value] : features) {
         aggr->featureAggIs(type, value);
      }
      aggr->versionIs(version);
   }
};

TEST_F(ResponseTest, AnswersComparedWithTheConfigurationOfTheSameVersion) {
   request(6, {{Type::feature1, 10}, {Type::feature2, 20}});
   handled(5, {{Type::feature1, 10}});
   EXPECT_EQ(answers(), "") << "an older version";
   std::string text = Trace::traced([&] {
      handled(6, {{Type::feature1, 10}, {Type::feature2, 21}, {Type::feature12, 3}});
   });
   EXPECT_EQ(answers(), "feature1=10:1 feature2=21:2 feature12=3:2 ");
   EXPECT_THAT(text, testing::StartsWith("8 LifStatusResponse(Ethernet1, 3)::handleVersion\n"));
   EXPECT_THAT(text, HasSubstr("7 LifStatusResponse(Ethernet1, 3)::Setting response for feature1 "
                               "to success value:10\n"));
   EXPECT_THAT(text, HasSubstr("Setting response for feature2 to fail value:21\n"));
   EXPECT_THAT(text, HasSubstr("::Deleting response for feature3\n"));

   request(7, {{Type::feature2, 21}});
   EXPECT_EQ(answers(), "feature1=10:1 feature2=21:2 feature12=3:2 ")
       << "a request alone answers nothing";
   handled(8, {{Type::feature1, 99}, {Type::feature2, 21}});
   EXPECT_EQ(answers(), "feature1=10:1 feature2=21:2 ")
       << "a newer version postpones too, but what left the status is cleared";
   handled(7, {{Type::feature2, 21}});
   EXPECT_EQ(answers(), "feature2=21:1 ");
}

TEST_F(ResponseTest, AKeyIsKnownByTheTypesForWhichItWasMade) {
   InLifIntfKey other(IntfId("EthernetOfOneType"), Shoal::SystemTcamId(3));
   EXPECT_EQ(InLifFeatureKey::existing(other, Type::feature4), InLifFeatureKey());
   InLifFeatureKey made(other, Type::feature4);
   EXPECT_EQ(InLifFeatureKey::existing(other, Type::feature4), made);
   EXPECT_EQ(InLifFeatureKey::existing(other, Type::feature5), InLifFeatureKey());

   // All types of several interfaces, the types in another order on each.
   std::set<uint32_t> indices;
   for (unsigned step : {1U, 5U, 7U, 11U}) {
      InLifIntfKey of(IntfId("EthernetOfAllTypes"),
                      Shoal::SystemTcamId(static_cast<uint16_t>(step)));
      for (unsigned at = 0; at < inLifFeatureTypes.size(); ++at) {
         Type type = inLifFeatureTypes[at * step % inLifFeatureTypes.size()];
         InLifFeatureKey key(of, type);
         EXPECT_EQ(key.intfKey(), of);
         EXPECT_EQ(key.featureType(), type);
         EXPECT_EQ(InLifFeatureKey(of, type), key);
         EXPECT_TRUE(indices.insert(key.index()).second) << type << " has the index of another";
      }
   }
}

TEST_F(ResponseTest, AStatusThatIsReplacedWhileItGoesIsFollowed) {
   struct Replacer : Orv::Reactor<InLifIntfKey> {
      explicit Replacer(InLifIntfStatus& of) : status(of) { of.responseCollection().watch(*this); }
      void handle(InLifIntfKey const& key) override {
         if (!status.responseHas(key)) {
            status.responseIs(key);
         }
      }
      InLifIntfStatus& status;
   };
   sm = nullptr;
   Replacer ahead(*status);
   sm = inLifFeatureResponseSmFactory(status, config, responses);
   request(1, {{Type::feature1, 10}});
   handled(1, {{Type::feature1, 10}});
   status->responseDel(key);
   request(2, {{Type::feature1, 11}});
   handled(2, {{Type::feature1, 11}});
   EXPECT_EQ(answers(), "feature1=11:1 ");
}

TEST_F(ResponseTest, TheStatusMayGoWithAResponse) {
   struct Remover : Orv::Reactor<InLifFeatureKey> {
      explicit Remover(InLifIntfStatus& of) : status(of) {}
      void handle(InLifFeatureKey const& of) override { status.responseDel(of.intfKey()); }
      InLifIntfStatus& status;
   } remover(*status);
   responses->responseCollection().watch(remover);
   request(1, {{Type::feature1, 10}, {Type::feature2, 20}});
   handled(1, {{Type::feature1, 10}, {Type::feature2, 20}});
   EXPECT_EQ(answers(), "") << "no answer after the status is gone";
   EXPECT_EQ(sm->lifStatusResponses(), 0U);
}

TEST_F(ResponseTest, ResponsesStandWhileTheStatusDoes) {
   request(1, {{Type::feature1, 10}, {Type::feature12, 1}});
   handled(1, {{Type::feature1, 10}, {Type::feature12, 1}});
   config->requestDel(key);
   handled(2, {{Type::feature1, 11}, {Type::feature12, 1}});
   EXPECT_EQ(answers(), "feature1=10:1 feature12=1:1 ") << "no configuration to compare with";
   InLifFeatureResponse stray{InLifFeatureKey(key, Type::feature5), 5,
                              InLifFeatureResponseStatus::failure};
   responses->responseIs(stray);
   std::string text = Trace::traced([&] { status->responseDel(key); });
   EXPECT_EQ(text, "8 LifStatusResponse(Ethernet1, 3)::handleDelete\n");
   EXPECT_EQ(answers(), "") << "all twelve go";
   EXPECT_EQ(sm->lifStatusResponses(), 0U);

   // A machine that starts on a filled status answers it, and clears what an earlier one left.
   sm = nullptr;
   responses->responseIs(stray);
   request(1, {{Type::feature1, 10}, {Type::feature2, 20}});
   handled(1, {{Type::feature1, 10}, {Type::feature2, 21}});
   EXPECT_EQ(answers(), "feature5=5:2 ") << "nobody is there to answer";
   sm = inLifFeatureResponseSmFactory(status, config, responses);
   EXPECT_EQ(answers(), "feature1=10:1 feature2=21:2 ");
   handled(2, {{Type::feature2, 21}});
   EXPECT_EQ(answers(), "feature2=21:2 ") << "and follows it";
   EXPECT_EQ(InLifFeatureResponseSm::OrvLifStatusResponse(nullptr, nullptr).lifIntfKey(),
             InLifIntfKey());
}

TEST_F(ResponseTest, AMemberIsFollowedOnceAndUntilItIsGivenUp) {
   request(1, {{Type::feature1, 10}});
   handled(1, {{Type::feature1, 10}});
   EXPECT_EQ(status->response(key)->orvType().name(),
             "Hardware::ShoalTunnel::InLifIntfFeatureAggr");
   auto reactor = sm->lifStatusResponse(key);
   sm->lifStatusResponseIs(status->response(key));
   EXPECT_EQ(sm->lifStatusResponse(key), reactor);
   sm->lifStatusResponseIs(nullptr);
   EXPECT_TRUE(sm->lifStatusResponseHas(InLifIntfKey())) << "it follows nothing";
   EXPECT_EQ(sm->lifStatusResponses(), 2U);
   sm->lifStatusResponseDelAll();
   sm->lifStatusResponseDel(key);
   EXPECT_EQ(sm->lifStatusResponses(), 0U);
   handled(1, {{Type::feature1, 11}});
   EXPECT_EQ(answers(), "");
}

} // namespace
} // namespace Hardware::ShoalTunnel
