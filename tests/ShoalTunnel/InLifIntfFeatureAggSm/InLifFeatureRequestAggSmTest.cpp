#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureRequestInputDirSm.h"
#include "tests/ShoalTunnel/Traced.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Hardware::ShoalTunnel {
namespace {

using Plexus::IntfId;
using Shoal::SystemTcamId;
using testing::HasSubstr;
using Type = InLifFeatureType;

class AggregationTest : public testing::Test {
 protected:
   using Directory = Orv::Ptr<InLifFeatureRequestDir>;

   Directory published(std::string const& name) {
      auto directory = Orv::make<InLifFeatureRequestDir>(name);
      input->entryIs(name, directory);
      return directory;
   }
   static void ask(Directory const& of, InLifIntfKey key, Type type, InLifFeatureValue value) {
      of->requestIs({InLifFeatureKey(key, type), value});
   }
   static void withdraw(Directory const& of, InLifIntfKey key, Type type) {
      of->requestDel(InLifFeatureKey(key, type));
   }
   uint64_t version(InLifIntfKey key) { return config->request(key)->version(); }
   // The features of a key, in order.
   std::string features(InLifIntfKey key) {
      std::ostringstream text;
      if (auto aggr = config->request(key)) {
         for (auto const& [type, value] : aggr->featureAggIter()) {
            text << type << "=" << value << " ";
         }
      }
      return text.str();
   }

   InLifIntfKey port{IntfId("Ethernet1"), SystemTcamId(3)};
   InLifIntfKey elsewhere{IntfId("Ethernet1"), SystemTcamId(4)};
   Orv::Ptr<Orv::Dir> input = Orv::make<Orv::Dir>();
   Orv::Ptr<InLifIntfConfig> config = Orv::make<InLifIntfConfig>();
   Orv::Ptr<InLifFeatureRequestInputDirSm> sm = inLifFeatureRequestInputDirSmFactory(input, config);
};

TEST_F(AggregationTest, KeysAreHandlesThatPrintTheirFields) {
   InLifFeatureKey key(IntfId("Ethernet1"), SystemTcamId(3), Type::feature7);
   EXPECT_EQ(key.intfKey(), port);
   std::ostringstream text;
   text << key;
   EXPECT_EQ(text.str(), "Value('Hardware::ShoalTunnel::InLifFeatureKey', ** {'intfId': Ethernet1, "
                         "'tcamId': 3, 'featureType': feature7})");
   EXPECT_THROW(InLifFeatureKey(port, Type::none), Orv::RangeException);
   EXPECT_THROW(config->requestIs(port)->featureAggIs(static_cast<Type>(13), 1),
                Orv::RangeException);
}

TEST_F(AggregationTest, ChangesOfOneRequesterAreCounted) {
   auto acl = published("acl");
   std::string text = Trace::traced([&] { ask(acl, port, Type::feature9, 1); });
   std::string key = "Value('Hardware::ShoalTunnel::InLifIntfKey', ** {'intfId': Ethernet1, "
                     "'tcamId': 3})";
   EXPECT_EQ(text, "8 InLifFeatureRequestAggSm(acl)::handleRequest\n7 Added/modified intfCfg: " +
                       key + " feature: feature9\n");
   ask(acl, port, Type::feature2, 7);
   ask(acl, elsewhere, Type::feature2, 8);
   EXPECT_EQ(features(port), "feature2=7 feature9=1 ") << "in order of type";
   EXPECT_EQ(features(elsewhere), "feature2=8 ");
   EXPECT_EQ(version(port), 2U);
   ask(acl, port, Type::feature2, 7);
   EXPECT_EQ(version(port), 3U) << "publishing again counts";

   text = Trace::traced([&] { withdraw(acl, port, Type::feature9); });
   EXPECT_THAT(text, HasSubstr("7 Removed feature for intfCfg: " + key + " feature: feature9\n"));
   EXPECT_EQ(version(port), 4U);
   auto last = config->request(port);
   text = Trace::traced([&] { withdraw(acl, port, Type::feature2); });
   EXPECT_THAT(text, HasSubstr("7 Deleting intfCfg for: " + key + "\n"));
   EXPECT_FALSE(config->requestHas(port));
   EXPECT_EQ(last->version(), 4U) << "consumers see it go, not change";
   EXPECT_EQ(features(elsewhere), "feature2=8 ");

   config->requestDel(elsewhere);
   text = Trace::traced([&] { withdraw(acl, elsewhere, Type::feature2); });
   EXPECT_EQ(text, "8 InLifFeatureRequestAggSm(acl)::handleRequest\n");
}

TEST_F(AggregationTest, TheLastWriteOfAFeatureWinsWhoeverRequestedIt) {
   auto acl = published("acl");
   auto lumen = published("lumen");
   ask(lumen, port, Type::feature1, 20);
   ask(acl, port, Type::feature1, 10);
   EXPECT_EQ(features(port), "feature1=10 ") << "the later change stands";
   ask(lumen, port, Type::feature2, 2);
   withdraw(acl, port, Type::feature1);
   EXPECT_EQ(features(port), "feature2=2 ") << "although lumen still asks";
   input->entryDel("lumen");
   EXPECT_EQ(features(port), "feature2=2 ") << "a directory that goes takes nothing back";
   ask(lumen, port, Type::feature3, 3);
   EXPECT_EQ(features(port), "feature2=2 ") << "and is not followed any more";
   input->entryIs("lumen", lumen);
   EXPECT_EQ(features(port), "feature1=20 feature2=2 feature3=3 ");
}

TEST_F(AggregationTest, DirectoriesComeGoAndAreReplaced) {
   auto acl = Orv::make<InLifFeatureRequestDir>("acl");
   ask(acl, port, Type::feature1, 1);
   ask(acl, elsewhere, Type::feature1, 1);
   std::string text = Trace::traced([&] { input->entryIs("acl", acl); });
   EXPECT_THAT(text, testing::StartsWith("8 InLifFeatureRequestInputSm::handleInput( acl )\n"
                                         "7 Starting sm for: acl\n"
                                         "8 InLifFeatureRequestAggSm(acl)::handleAllRequest\n"));
   auto first = sm->inLifFeatureRequestAggSm("acl");
   auto copy = Orv::make<InLifFeatureRequestDir>("acl");
   ask(copy, port, Type::feature1, 1);
   input->entryIs("acl", copy);
   EXPECT_NE(sm->inLifFeatureRequestAggSm("acl"), first);
   EXPECT_EQ(version(port), 2U);
   EXPECT_EQ(version(elsewhere), 1U);

   // An entry of another type leaves the machine running, and starts none.
   input->entryIs("acl", Orv::make<Orv::Dir>());
   ask(copy, port, Type::feature1, 5);
   EXPECT_EQ(features(port), "feature1=5 ");
   text = Trace::traced([&] { input->entryIs("other", Orv::make<Orv::Dir>()); });
   EXPECT_EQ(text, "8 InLifFeatureRequestInputSm::handleInput( other )\n");
   text = Trace::traced([&] { input->entryDel("other"); });
   EXPECT_THAT(text, HasSubstr("7 Deleteing sm for: other\n"));
   EXPECT_EQ(sm->inLifFeatureRequestAggSms(), 1U);
   input->entryDel("acl");
   EXPECT_EQ(sm->inLifFeatureRequestAggSms(), 0U);

   input->entryIs("a", Orv::make<Orv::Dir>());
   input->entryIs("b", acl);
   auto later = Orv::make<InLifIntfConfig>();
   text = Trace::traced([&] { inLifFeatureRequestInputDirSmFactory(input, later); });
   EXPECT_THAT(text, testing::StartsWith("8 InLifFeatureRequestInputSm::handleAllInput()\n"
                                         "8 InLifFeatureRequestInputSm::handleInput( b )\n"));
   EXPECT_EQ(later->requests(), 2U);
}

TEST_F(AggregationTest, WithoutADirectoryNothingIsAskedFor) {
   config->requestIs(port)->featureAggIs(Type::feature1, 1);
   auto empty = inLifFeatureRequestAggSmFactory(nullptr, config);
   EXPECT_EQ(empty->name(), "");
   empty->handleRequest(InLifFeatureKey(port, Type::feature1));
   EXPECT_FALSE(config->requestHas(port));
   auto none = inLifFeatureRequestInputDirSmFactory(nullptr, config);
   none->inLifFeatureRequestAggSmIs("acl", empty);
   none->handleInput("acl");
   EXPECT_EQ(none->inLifFeatureRequestAggSms(), 0U);
}

} // namespace
} // namespace Hardware::ShoalTunnel
