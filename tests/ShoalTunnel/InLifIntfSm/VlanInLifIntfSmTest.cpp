#include "tests/ShoalTunnel/InLifIntfSm/InLifSwitch.h"

namespace Hardware::ShoalTunnel {
namespace {

using testing::HasSubstr;

class VlanInLifTest : public InLifTest {
 protected:
   bool vlanHas(std::string const& intf) {
      return InLifMachines::vlans->lifFeatureAttrHas(IntfId(intf));
   }
};

TEST_F(VlanInLifTest, VlanIsLaidOverThePort) {
   for (char const* port : {"Ethernet0", "Ethernet1", "Ethernet3"}) {
      untag(port, 10);
   }
   untag("Ethernet2", 11);
   ask("Ethernet0", 1, 1, 1);
   ask("Ethernet0", 1, 2, 2);
   ask("Vlan10", 1, 2, 5);
   ask("Vlan10", 1, 3, 6);
   EXPECT_EQ(vlanWord("Ethernet0"), 0x651U) << "the VLAN wins per feature type";
   EXPECT_EQ(vlanWord("Ethernet1"), 0x650U);
   EXPECT_FALSE(vlanHas("Ethernet2")) << "another VLAN";
   EXPECT_FALSE(vlanHas("Ethernet3")) << "another TCAM";
   EXPECT_EQ(answers("Vlan10", 1), "feature2:1 feature3:1 ");

   ask("Ethernet0", 1, 4, 7);
   EXPECT_EQ(vlanWord("Ethernet0"), 0x7651U) << "follows the port's features";
   withdraw("Vlan10", 1, 2);
   EXPECT_EQ(vlanWord("Ethernet0"), 0x7621U) << "the port's own value shows again";
   ask("Vlan10", 2, 1, 9);
   EXPECT_EQ(vlanWord("Ethernet3"), 0x90U);
   withdraw("Vlan10", 1, 3);
   EXPECT_FALSE(vlanHas("Ethernet0") || vlanHas("Ethernet1"));
   EXPECT_TRUE(vlanHas("Ethernet3"));
   std::string text = Trace::traced([&] { vlanSm->doHandleRequest(key("Ethernet0", 1), true); });
   EXPECT_EQ(text, "8 VlanInLifIntfSm::doHandleRequest add " + keyText("Ethernet0", 1) +
                       "\n7 VlanInLifIntfSm::  We only care about vlans\n");
}

TEST_F(VlanInLifTest, FollowsVlansAndMembers) {
   ask("Vlan10", 1, 1, 1);
   ask("Vlan11", 1, 1, 2);
   untag("Ethernet0", 10);
   EXPECT_EQ(vlanWord("Ethernet0"), 1U);
   untag("Ethernet0", 11);
   EXPECT_EQ(vlanWord("Ethernet0"), 2U);
   join("PortChannel1", "Ethernet0");
   EXPECT_FALSE(vlanHas("Ethernet0")) << "a member's own VLAN does not count";
   untag("PortChannel1", 10);
   EXPECT_EQ(vlanWord("Ethernet0"), 1U);
   mapping->phyIntfLagIs(IntfId("Ethernet1"), IntfId("PortChannel1"));
   EXPECT_FALSE(vlanHas("Ethernet1")) << "a member by both ends or not at all";
   join("PortChannel1", "Ethernet1");
   EXPECT_EQ(vlanWord("Ethernet1"), 1U);
   ask("PortChannel1", 1, 2, 3);
   EXPECT_EQ(vlanWord("Ethernet1"), 0x31U) << "over what the port-channel gives its member";
   leave("Ethernet0");
   EXPECT_EQ(vlanWord("Ethernet0"), 2U);
   untag("PortChannel1", 11);
   EXPECT_EQ(vlanWord("Ethernet1"), 0x32U);
   mapping->phyIntfLagDel(IntfId("Ethernet1"));
   mapping->lagPhyIntfConfigDel(IntfId("PortChannel1"));
   EXPECT_FALSE(vlanHas("Ethernet1"));
}

TEST_F(VlanInLifTest, AVlanCoversThePortsOfItsUnit) {
   for (char const* port : {"Ethernet0", "lc1/Ethernet0", "lc2/Ethernet0"}) {
      status->sysTcamIdIs(IntfId(port), SystemTcamId(1));
      untag(port, 10);
   }
   ask("lc1/Vlan10", 1, 2, 2);
   EXPECT_EQ(vlanWord("lc1/Ethernet0"), 0x20U);
   EXPECT_FALSE(vlanHas("lc2/Ethernet0") || vlanHas("Ethernet0"));
   ask("Vlan10", 1, 1, 1);
   EXPECT_EQ(vlanWord("lc1/Ethernet0"), 0x20U) << "the unit's own counts before the chassis's";
   EXPECT_EQ(vlanWord("lc2/Ethernet0"), 1U);
   EXPECT_EQ(vlanWord("Ethernet0"), 1U);
   withdraw("lc1/Vlan10", 1, 2);
   EXPECT_EQ(vlanWord("lc1/Ethernet0"), 1U);
   ask("lc1/Vlan10", 1, 2, 3);
   portMapChanged();
   EXPECT_EQ(vlanWord("lc1/Ethernet0"), 0x30U) << "in whatever order they came";
   EXPECT_EQ(vlanWord("lc2/Ethernet0"), 1U);
   // A flood entry has the number of the VLAN, but is not a VLAN interface.
   ask("Vlan10-L3Flood", 1, 1, 9);
   EXPECT_EQ(vlanWord("Ethernet0"), 1U);
   EXPECT_EQ(answers("Vlan10-L3Flood", 1), "");
}

TEST_F(VlanInLifTest, AVlanOutOfRangeTakesNothingFromTheOthers) {
   for (char const* vlan : {"Vlan0", "Vlan5000", "Vlan70000"}) {
      EXPECT_THROW(ask(vlan, 1, 1, 1), Orv::RangeException) << vlan;
      EXPECT_FALSE(ports->lifFeatureAttrHas(IntfId(vlan))) << "nor is it a port";
   }
   untag("Ethernet0", 10);
   ask("Vlan10", 1, 1, 2);
   ask("Vlan10", 2, 1, 5);
   status->sysTcamIdIs(IntfId("Ethernet0"), SystemTcamId(2));
   EXPECT_THROW(portMapChanged(), Orv::RangeException);
   EXPECT_EQ(vlanWord("Ethernet0"), 0x50U);
   untag("Ethernet1", 10);
   EXPECT_EQ(vlanWord("Ethernet1"), 2U);
   place(1, 1, 8, 0xf);
   EXPECT_THROW(layoutChanged(), Orv::RangeException);
   EXPECT_EQ(vlanWord("Ethernet1"), 0x200U);
   vlanSm = nullptr;
   ask("Vlan10", 1, 1, 3);
   untag("Ethernet0", 11);
   vlanSm = vlanInLifIntfSmFactory(config, handled, status, InLifMachines::vlans, expanded, mapping,
                                   InLifSwitch::vlans);
   EXPECT_THROW(vlanSm->handleInitialized(), Orv::RangeException);
   EXPECT_EQ(vlanWord("Ethernet1"), 0x300U);
   EXPECT_EQ(InLifMachines::vlans->lifFeatureAttrs(), 1U) << "what was left goes";
   ask("Vlan10", 1, 1, 4);
   EXPECT_EQ(vlanWord("Ethernet1"), 0x400U) << "it is started";
}

// A reactor on a word may change the collection that is being walked.
TEST_F(VlanInLifTest, APortMapChangeToleratesReactorsThatChangePorts) {
   for (int port : {0, 1, 2}) {
      untag("Ethernet" + std::to_string(port), static_cast<uint32_t>(10 + port % 2));
      untag("Ethernet" + std::to_string(3 + port), 12);
   }
   ask("Vlan10", 1, 1, 1);
   ask("Vlan11", 1, 1, 2);
   for (int port : {0, 1, 2}) {
      status->sysTcamIdIs(IntfId("Ethernet" + std::to_string(port)), SystemTcamId(2));
      status->sysTcamIdIs(IntfId("Ethernet" + std::to_string(3 + port)), SystemTcamId(1));
   }
   bool done = false;
   Hearer<IntfId> meddler(InLifMachines::vlans->lifFeatureAttrCollection(), [&](IntfId of) {
      if (of == IntfId("Ethernet0") && !std::exchange(done, true)) {
         withdraw("Vlan11", 1, 1);
         untag("Ethernet2", 0);
         ask("Vlan12", 1, 1, 4);
         portMapChanged();
      }
   });
   portMapChanged();
   EXPECT_FALSE(vlanHas("Ethernet0") || vlanHas("Ethernet1") || vlanHas("Ethernet2"));
   EXPECT_EQ(vlanWord("Ethernet3"), 4U);
   EXPECT_EQ(answers("Vlan11", 1), "");
   EXPECT_EQ(answers("Vlan12", 1), "feature1:1 ");
}

TEST_F(VlanInLifTest, WithoutAPortMapAPortStaysInItsVlanAcrossAJoin) {
   for (char const* intf : {"Ethernet0", "Ethernet1", "Ethernet2", "PortChannel1"}) {
      untag(intf, 10);
   }
   untag("PortChannel2", 11);
   ask("Vlan10", 1, 1, 1);
   ask("Vlan11", 1, 1, 2);
   status->portMapValidIs(false);
   join("PortChannel1", "Ethernet0");
   EXPECT_EQ(vlanWord("Ethernet0"), 1U);
   join("PortChannel2", "Ethernet1");
   EXPECT_FALSE(vlanHas("Ethernet1")) << "it left its VLAN";
   mapping->phyIntfLagIs(IntfId("Ethernet2"), IntfId("PortChannel1"));
   EXPECT_EQ(vlanWord("Ethernet2"), 1U) << "on its way";
   status->portMapValidIs(true);
   portMapChanged();
   EXPECT_EQ(vlanWord("Ethernet0"), 1U);
   EXPECT_EQ(vlanWord("Ethernet1"), 2U);
   EXPECT_FALSE(vlanHas("Ethernet2")) << "a member by both ends or not at all";
}

TEST_F(VlanInLifTest, WithoutAPortMapPortsOnlyLeave) {
   for (char const* port : {"Ethernet0", "Ethernet1", "Ethernet2"}) {
      untag(port, 10);
   }
   ask("Ethernet0", 1, 1, 1);
   ask("Vlan10", 1, 2, 5);
   status->portMapValidIs(false);
   std::string text = Trace::traced([&] { ask("Vlan10", 2, 1, 1); });
   EXPECT_THAT(text, HasSubstr("0 VlanInLifIntfSm:: add portmap is not valid for " +
                               keyText("Vlan10", 2) + "\n"));
   EXPECT_FALSE(handled->responseHas(key("Vlan10", 2)));
   status->sysTcamIdDel(IntfId("Ethernet2")); // as while the map is rewritten
   untag("Ethernet1", 11);
   EXPECT_FALSE(vlanHas("Ethernet1"));
   untag("Ethernet3", 10);
   EXPECT_FALSE(vlanHas("Ethernet3"));
   withdraw("Ethernet0", 1, 1);
   EXPECT_EQ(vlanWord("Ethernet0"), 0x50U) << "the port's feature is gone, the VLAN's stays";
   EXPECT_EQ(vlanWord("Ethernet2"), 0x50U);
   status->sysTcamIdIs(IntfId("Ethernet2"), SystemTcamId(2));
   status->portMapValidIs(true);
   portMapChanged();
   EXPECT_EQ(vlanWord("Ethernet2"), 0x10U);
   EXPECT_EQ(vlanWord("Ethernet3"), 0x10U);
   EXPECT_EQ(answers("Vlan10", 2), "feature1:1 ");
   status->portMapValidIs(false);
   withdraw("Vlan10", 1, 2);
   EXPECT_FALSE(vlanHas("Ethernet0")) << "a withdrawal is handled whatever the port map says";
}

TEST_F(VlanInLifTest, WithoutAMembershipPortsStandAlone) {
   untag("Ethernet0", 10);
   untag("PortChannel1", 10);
   join("PortChannel1", "Ethernet1");
   ask("Ethernet0", 1, 1, 1);
   ask("Vlan10", 1, 2, 5);
   auto words = Orv::make<DefaultLifFeatureConfig>();
   auto own = Orv::make<InLifIntfStatus>();
   auto alone =
       vlanInLifIntfSmFactory(config, own, status, words, expanded, nullptr, InLifSwitch::vlans);
   alone->handleInitialized();
   EXPECT_EQ(word(words, "Ethernet0"), 0x51U);
   EXPECT_EQ(words->lifFeatureAttrs(), 1U);
   ask("Ethernet0", 1, 1, 2);
   EXPECT_EQ(word(words, "Ethernet0"), 0x52U) << "what was expanded at the start is followed";
   // What an earlier machine wrote is kept until the port map is valid.
   status->portMapValidIs(false);
   std::string text = Trace::traced([&] { alone->handlePortMapVersion(); });
   EXPECT_THAT(text, HasSubstr("0 VlanInLifIntfSm:: portmap is not valid\n"));
   alone = vlanInLifIntfSmFactory(config, own, status, words, expanded, nullptr, nullptr);
   alone->handleInitialized();
   EXPECT_EQ(word(words, "Ethernet0"), 0x52U);
   alone->handleUntaggedVlan(IntfId("Ethernet0"));
   status->portMapValidIs(true);
   alone->handleInitialized();
   EXPECT_EQ(words->lifFeatureAttrs(), 0U) << "without default VLANs no port is covered";
}

} // namespace
} // namespace Hardware::ShoalTunnel
