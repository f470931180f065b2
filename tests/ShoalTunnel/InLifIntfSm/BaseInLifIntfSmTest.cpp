#include "tests/ShoalTunnel/InLifIntfSm/InLifSwitch.h"

namespace Hardware::ShoalTunnel {
namespace {

using testing::HasSubstr;

class BaseInLifTest : public InLifTest {
 protected:
   Orv::Ptr<InLifIntfFeatureAggr> aggr = inLifIntfFeatureAggrFactory(key("Ethernet1.10", 7));
   uint64_t encoded() { return word(getInLifFeatureAttr(aggr)); }
};

TEST_F(BaseInLifTest, FeaturesAreEncodedAtTheirPlaces) {
   EXPECT_EQ(getInLifFeatureAttr(aggr), InLifFeatureAttributes()) << "no layout, no features";
   aggr->featureAggIs(Type::feature3, 0x12);
   std::string text = Trace::traced([&] { EXPECT_EQ(encoded(), 0U); });
   EXPECT_EQ(text, "7  Invalid request found:  key: feature3 value: 12\n");

   place(7, 3, 40, 0xff);
   EXPECT_EQ(getInLifFeatureAttr(aggr), (InLifFeatureAttributes{0, 0, 0x1200}));
   place(7, 4, 12, 0x70ff); // of a mask, the low 16 bits
   place(7, 5, 16, 0xff);
   place(7, 6, 64, 0xff); // past the word
   aggr->featureAggIs(Type::feature4, 0xabcde);
   aggr->featureAggIs(Type::feature5, 0x101);
   aggr->featureAggIs(Type::feature6, 0xff);
   text = Trace::traced([&] { encoded(); });
   // The first sets bits 12 to 31 although its mask is narrower; the second clears 16 to 23 of
   // them, then sets a bit outside its mask.
   EXPECT_EQ(getInLifFeatureAttr(aggr), (InLifFeatureAttributes{0xe000, 0xab01, 0x1200}));
   EXPECT_THAT(text, HasSubstr("7  key: feature4 value:abcde data0:e000 data1:abcd eei:1200 "
                               "offset:c mask:70ff\n"));
   EXPECT_THAT(text, HasSubstr("7  key: feature5 value:101 data0:e000 data1:ab01 eei:1200 "
                               "offset:10 mask:ff\n"));
}

TEST_F(BaseInLifTest, StatusMirrorsWhatWasHandled) {
   InLifIntfKey of = key("Ethernet1.10", 1);
   handled->responseIs(of)->featureAggIs(Type::feature9, 9);
   ask("Ethernet1.10", 1, 2, 5);
   EXPECT_FALSE(handled->response(of)->featureAggHas(Type::feature9));
   EXPECT_EQ(handled->response(of)->featureAgg(Type::feature2), 5U);
   // Version last: whoever hears of it finds the features there.
   struct Reader : Orv::Reactor<> {
      Orv::Ptr<InLifIntfFeatureAggr> status;
      std::size_t seen = 0;
      void handle() override { seen = status->featureAggs(); }
   } reader;
   reader.status = handled->response(of);
   reader.status->versionAttribute().watch(reader);
   ask("Ethernet1.10", 1, 3, 5);
   EXPECT_EQ(reader.seen, 2U);
   std::string text = Trace::traced([&] { acl->requestDelAll(); });
   std::string of1 = keyText("Ethernet1.10", 1);
   EXPECT_THAT(text, HasSubstr("8 LifIntfCfg(Ethernet1.10, 1)::handleVersion, version:3\n"));
   EXPECT_THAT(text,
               HasSubstr("8 BaseInLifIntfSm::doUpdateResponse key: " + of1 +
                         "\n7  Updated local status for lifIntfKey: " + of1 + ", version: 3\n"));
   EXPECT_THAT(text, HasSubstr("8 LifIntfCfg(Ethernet1.10, 1)::handleDelete\n"));
   EXPECT_THAT(text, HasSubstr("7  Deleted local status for lifIntfKey: " + of1 + "\n"));
   EXPECT_FALSE(handled->responseHas(of));
}

TEST_F(BaseInLifTest, NothingHappensBeforeTheStart) {
   InLifSwitch& inputs = *this;
   ask("Ethernet1", 1, 1, 1);
   InLifMachines later(inputs, false);
   std::string text = Trace::traced([&] { ask("Vlan5", 1, 1, 1); });
   EXPECT_THAT(text, HasSubstr("8 LifIntfCfg(Vlan5, 1)::handleInitialized\n"));
   untag("Ethernet1", 5);
   ask("PortChannel1", 1, 1, 1);
   join("PortChannel1", "Ethernet2");
   portMapChanged();
   layoutChanged();
   ask("Vlan6", 1, 1, 1);
   ask("Ethernet1.10", 1, 1, 1);
   later.handled->responseIs(key("Vlan6", 1)); // by an earlier machine
   withdraw("Vlan6", 1, 1);
   EXPECT_EQ(later.handled->responses(), 1U);
   EXPECT_TRUE(later.handled->responseHas(key("Vlan6", 1)));
   EXPECT_EQ(later.ports->lifFeatureAttrs() + later.vlans->lifFeatureAttrs() +
                 later.subIntfs->lifFeatureAttrs() + later.expanded->requests(),
             0U);
   later.handled->responseDelAll();
   later.vlans->lifFeatureAttrIs(IntfId("Ethernet2"), {});
   text = Trace::traced([&] { later.start(); });
   EXPECT_EQ(later.vlans->lifFeatureAttrs(), 1U);
   EXPECT_THAT(text, testing::StartsWith("8 BaseInLifIntfSm::handleInitialized\n"
                                         "8 PortInLifIntfSm::doHandleRequest add " +
                                         keyText("Ethernet1", 1) + "\n"));
   EXPECT_EQ(later.answers(key("Vlan5", 1)), "feature1:1 ");
   EXPECT_EQ(InLifMachines::word(later.vlans, "Ethernet1"), 1U);
}

// A feature that hears of the end of its answer may ask for something else there at once.
TEST_F(BaseInLifTest, WhatIsAskedForAtTheEndOfAnAnswerIsAnswered) {
   Hearer<InLifFeatureKey> feature(responses->responseCollection(), [&](InLifFeatureKey of) {
      if (!responses->responseHas(of) && of.featureType() == Type::feature1) {
         acl->requestIs({InLifFeatureKey(of.intfKey(), Type::feature3), 7});
      }
   });
   untag("Ethernet2", 5);
   for (char const* intf : {"Ethernet1", "Ethernet1.10", "Vlan5"}) {
      ask(intf, 1, 1, 5);
      withdraw(intf, 1, 1);
      EXPECT_EQ(answers(intf, 1), "feature3:1 ") << intf;
   }
   EXPECT_EQ(portWord("Ethernet1"), 0x700U);
   EXPECT_EQ(vlanWord("Ethernet2"), 0x700U);
   EXPECT_EQ(responseSm->lifStatusResponses(), 3U);
}

TEST_F(BaseInLifTest, AMachineThatIsBuiltAgainTakesBackWhatWasWithdrawnMeanwhile) {
   InLifSwitch& inputs = *this;
   auto rebuild = [&] {
      portSm =
          portInLifIntfSmFactory(config, handled, status, ports, expanded, mapping,
                                 Orv::make<Lag::Config>(), Orv::make<Shoal::LocalPortMapStatus>());
      vlanSm = vlanInLifIntfSmFactory(config, handled, status, InLifMachines::vlans, expanded,
                                      mapping, inputs.vlans);
      subIntfSm = subIntfInLifIntfSmFactory(config, handled, status, subIntfs);
      start();
   };
   untag("Ethernet0", 5);
   ask("Ethernet3", 2, 1, 4);
   for (bool byVersion : {false, true}) {
      for (char const* port : {"Ethernet1", "Ethernet2"}) {
         join("PortChannel1", port);
      }
      for (char const* intf : {"Ethernet0", "PortChannel1", "Ethernet1.10", "Vlan5"}) {
         ask(intf, 1, 1, 3);
      }
      ask("Ethernet0", 2, 1, 6); // of another TCAM, and in the word now
      portSm = nullptr;
      vlanSm = nullptr;
      subIntfSm = nullptr;
      leave("Ethernet2"); // the port-channel still asks
      for (char const* intf : {"Ethernet0", "Ethernet1.10", "Vlan5"}) {
         withdraw(intf, 1, 1);
      }
      // While the port map is being rewritten, nobody knows whose the words are.
      status->portMapValidIs(false);
      rebuild();
      EXPECT_EQ(ports->lifFeatureAttrs(), 4U);
      EXPECT_EQ(portWord("Ethernet0"), 0x60U);
      EXPECT_EQ(InLifMachines::vlans->lifFeatureAttrs(), 1U);
      EXPECT_EQ(handled->responses(), 5U) << "what may have a word has an answer";
      status->portMapValidIs(true);
      byVersion ? portMapChanged() : rebuild();
      EXPECT_EQ(ports->lifFeatureAttrs(), 3U);
      EXPECT_EQ(portWord("Ethernet0"), 0x60U);
      EXPECT_EQ(portWord("Ethernet1"), 3U);
      EXPECT_EQ(portWord("Ethernet3"), 0x40U);
      EXPECT_EQ(expanded->requests(), 3U);
      EXPECT_EQ(InLifMachines::vlans->lifFeatureAttrs() + subIntfs->lifFeatureAttrs(), 0U);
      EXPECT_EQ(merged->lifFeatureAttrs(), 3U);
      EXPECT_EQ(handled->responses(), 3U);
      EXPECT_EQ(responses->responses(), 3U);
   }
}

TEST_F(BaseInLifTest, AnAggregateIsFollowedOnceAndUntilItIsGivenUp) {
   ask("Ethernet1.10", 1, 2, 5);
   InLifIntfKey of = key("Ethernet1.10", 1);
   auto reactor = subIntfSm->lifIntfCfg(of);
   subIntfSm->lifIntfCfgIs(config->request(of));
   EXPECT_EQ(subIntfSm->lifIntfCfg(of), reactor);
   EXPECT_THROW(subIntfSm->newLifIntfCfg(nullptr), Orv::NullArgumentException);
   EXPECT_TRUE(subIntfs->lifFeatureAttrHas(of));
   subIntfSm->lifIntfCfgDelAll();
   subIntfSm->lifIntfCfgDel(of);
   EXPECT_EQ(subIntfSm->lifIntfCfgs(), 0U);
   ask("Ethernet1.10", 1, 2, 6);
   EXPECT_FALSE(subIntfs->lifFeatureAttrHas(of));
}

TEST_F(BaseInLifTest, TheMergeNeedsNeitherSideAndHearsNothingBeforeItsStart) {
   // Writes another port's word when the start clears what an earlier machine merged.
   struct Meddler : Orv::Reactor<IntfId> {
      explicit Meddler(DefaultLifFeatureConfig& side) : side_(side) {}
      void handle(IntfId const&) override {
         side_.lifFeatureAttrIs(IntfId("Ethernet2"), {2, 0, 0});
      }
      DefaultLifFeatureConfig& side_;
   };
   for (bool onPorts : {true, false}) {
      auto side = Orv::make<DefaultLifFeatureConfig>();
      auto both = Orv::make<DefaultLifFeatureConfig>();
      both->lifFeatureAttrIs(IntfId("Ethernet1"), {1, 0, 0});
      Meddler meddler(*side);
      both->lifFeatureAttrCollection().watch(meddler);
      Orv::Ptr<DefaultLifFeatureMergeSm> sm;
      std::string text = Trace::traced([&] {
         sm = DefaultLifFeatureMergeSmIs(onPorts ? side : nullptr, onPorts ? nullptr : side, both);
      });
      EXPECT_THAT(text, HasSubstr(": intfId: Ethernet2, not initialized yet\n"));
      EXPECT_EQ(both->lifFeatureAttrs(), 1U);
      EXPECT_EQ(word(both, "Ethernet2"), 2U);
   }
}

TEST_F(BaseInLifTest, LayoutChangeShowsWithTheKeyVersion) {
   ask("Ethernet1", 1, 2, 5);
   ask("Ethernet1.10", 1, 2, 5);
   untag("Ethernet1", 8);
   ask("Vlan8", 1, 1, 3);
   place(1, 2, 20, 0xf);
   EXPECT_EQ(portWord("Ethernet1"), 0x50U);
   layoutChanged();
   EXPECT_EQ(portWord("Ethernet1"), 0x500000U);
   EXPECT_EQ(vlanWord("Ethernet1"), 0x500003U);
   EXPECT_EQ(word(subIntfs->lifFeatureAttr(key("Ethernet1.10", 1))), 0x500000U);
}

TEST_F(BaseInLifTest, SubInterfacesHaveAWordPerTcamAndOthersNone) {
   ask("Ethernet1.10", 1, 2, 5);
   ask("Ethernet1.10", 2, 2, 6);
   EXPECT_EQ(word(subIntfs->lifFeatureAttr(key("Ethernet1.10", 1))), 0x50U);
   EXPECT_EQ(word(subIntfs->lifFeatureAttr(key("Ethernet1.10", 2))), 0x600U);
   ask("Ethernet1.10", 1, 1, 1);
   EXPECT_EQ(word(subIntfs->lifFeatureAttr(key("Ethernet1.10", 1))), 0x51U);
   EXPECT_EQ(answers("Ethernet1.10", 1), "feature1:1 feature2:1 ");
   withdraw("Ethernet1.10", 2, 2);
   EXPECT_FALSE(subIntfs->lifFeatureAttrHas(key("Ethernet1.10", 2)));
   EXPECT_EQ(answers("Ethernet1.10", 2), "");
   std::string text = Trace::traced([&] { subIntfSm->doHandleRequest(key("Vlan5", 1), true); });
   EXPECT_EQ(text, "8 SubIntfInLifIntfSm::doHandleRequest add " + keyText("Vlan5", 1) +
                       "\n7 SubIntfInLifIntfSm::  We only care about subinterfaces\n");
   EXPECT_FALSE(handled->responseHas(key("Vlan5", 1)));
}

TEST_F(BaseInLifTest, TheVlanSideWinsInTheMergedTable) {
   auto port = Orv::make<DefaultLifFeatureConfig>();
   auto vlan = Orv::make<DefaultLifFeatureConfig>();
   auto both = Orv::make<DefaultLifFeatureConfig>();
   IntfId intf("Ethernet1");
   InLifFeatureAttributes one{1, 0, 0};
   InLifFeatureAttributes two{0, 2, 0};
   both->lifFeatureAttrIs(IntfId("Ethernet9"), one);
   port->lifFeatureAttrIs(intf, one);
   vlan->lifFeatureAttrIs(intf, two);
   auto sm = DefaultLifFeatureMergeSmIs(port, vlan, both);
   EXPECT_EQ(both->lifFeatureAttrs(), 1U) << "rebuilt from scratch";
   EXPECT_EQ(both->lifFeatureAttr(intf), two);
   port->lifFeatureAttrIs(intf, {3, 3, 3});
   EXPECT_EQ(both->lifFeatureAttr(intf), two);
   vlan->lifFeatureAttrDel(intf);
   EXPECT_EQ(both->lifFeatureAttr(intf), (InLifFeatureAttributes{3, 3, 3}));
   std::string text = Trace::traced([&] { port->lifFeatureAttrDel(intf); });
   EXPECT_EQ(text, "8 DefaultLifFeatureMergeSm::handleFeatureCfg: intfId: Ethernet1\n");
   EXPECT_FALSE(both->lifFeatureAttrHas(intf));
}

using BaseInLifDeathTest = BaseInLifTest;

std::string failed(std::string const& condition, std::string const& explanation) {
   std::string escaped;
   for (char c : "Failed(" + condition + ") " + explanation) {
      escaped += std::string("()[].*").find(c) == std::string::npos ? std::string(1, c)
                                                                    : std::string{'\\', c};
   }
   return escaped;
}

TEST_F(BaseInLifDeathTest, BrokenInvariantsStopTheAgent) {
   auto base = baseInLifIntfSmFactory(config, handled, status);
   EXPECT_DEATH(base->doHandleRequest(key("Ethernet1", 1), true),
                failed("false", "To be implemented in inherited class"));
   EXPECT_THROW(base->lifIntfCfgIs(nullptr), Orv::NullArgumentException);
   std::string kinds = "!Plexus::PortChannelIntfId::isPortChannelIntfId( phyIntfId )";
   EXPECT_DEATH(assertIsPhyIntfId("t", IntfId("PortChannel1.5")),
                failed(kinds, "t cannot contain PortChannelIntfIds PortChannel1.5"));
   EXPECT_DEATH(assertIsPhyIntfId("t", IntfId("Ethernet1.5")),
                failed("!Plexus::SubIntfId::isSubIntfId( phyIntfId )",
                       "t cannot contain SubIntfIds Ethernet1.5"));
   EXPECT_DEATH(assertIsPhyIntfId("t", IntfId("Vlan5")),
                failed("!Plexus::VlanIntfId::isVlanIntfId( phyIntfId )",
                       "t cannot contain VlanIntfIds Vlan5"));
   EXPECT_EQ(vlanIdFromVlanIntfId(IntfId("Vlan5")).value(), 5);
   EXPECT_DEATH(
       vlanIdFromVlanIntfId(IntfId("Ethernet1")),
       failed("Plexus::VlanIntfId::isVlanIntfId( intfId )", "Ethernet1 is not a VlanIntfId"));
   EXPECT_DEATH(subIntfSm->doHandleRequest(key("Ethernet1.10", 1), true),
                failed("inLifIntfCfg()->requestHas( lifIntfKey )", ""));
   EXPECT_DEATH(portSm->doHandleRequest(key("Ethernet1", 1), true),
                failed("inLifIntfCfg()->requestHas( lifIntfKey )", ""));
   ask("Ethernet1", 1, 1, 1);
   status->sysTcamIdDel(IntfId("Ethernet1"));
   EXPECT_DEATH(portMapChanged(), failed("sysTcamId != Hardware::Shoal::SystemTcamId()",
                                         "sysTcamId must be valid for Ethernet1"));
   status->portMapValidIs(false);
   EXPECT_DEATH(portMapChanged(), failed("shoalStatus()->portMapValid()", ""));
}

} // namespace
} // namespace Hardware::ShoalTunnel
