#include "tests/ShoalTunnel/InLifIntfSm/InLifSwitch.h"

namespace Hardware::ShoalTunnel {
namespace {

using testing::HasSubstr;

class PortInLifTest : public InLifTest {
 protected:
   bool expandedHas(std::string const& intf, uint16_t tcam) {
      return expanded->requestHas(key(intf, tcam));
   }
};

TEST_F(PortInLifTest, PortsAndPortChannelsReachTheirPorts) {
   ask("Ethernet0", 1, 2, 5);
   EXPECT_EQ(portWord("Ethernet0"), 0x50U);
   EXPECT_EQ(expanded->request(key("Ethernet0", 1))->featureAgg(Type::feature2), 5U);
   for (char const* port : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
      join("PortChannel1", port);
   }
   ask("PortChannel1", 1, 1, 7);
   EXPECT_EQ(portWord("Ethernet2"), 7U);
   EXPECT_FALSE(ports->lifFeatureAttrHas(IntfId("Ethernet3"))) << "on another TCAM";
   ask("PortChannel1", 2, 1, 8);
   EXPECT_EQ(portWord("Ethernet3"), 0x80U);
   EXPECT_TRUE(expandedHas("Ethernet1", 1) && expandedHas("Ethernet3", 2));
   // Every change copies the whole request.
   ask("PortChannel1", 1, 2, 1);
   withdraw("PortChannel1", 1, 1);
   EXPECT_EQ(portWord("Ethernet2"), 0x10U);
   EXPECT_EQ(expanded->request(key("Ethernet2", 1))->featureAggs(), 1U);
   EXPECT_EQ(expanded->request(key("Ethernet2", 1))->version(), 3U);
   withdraw("PortChannel1", 1, 2);
   EXPECT_FALSE(ports->lifFeatureAttrHas(IntfId("Ethernet2")) || expandedHas("Ethernet2", 1));
   EXPECT_EQ(portWord("Ethernet3"), 0x80U);
   std::string text = Trace::traced([&] { portSm->doHandleRequest(key("Vlan5", 1), false); });
   EXPECT_EQ(text, "8 PortInLifIntfSm::doHandleRequest del " + keyText("Vlan5", 1) +
                       "\n7   We don't care about subinterfaces or vlans, only ports\n");
}

TEST_F(PortInLifTest, MemberSetsItsOwnRequestAside) {
   ask("Ethernet1", 1, 2, 5);
   join("PortChannel1", "Ethernet1");
   EXPECT_EQ(portWord("Ethernet1"), 0x50U) << "the port-channel asks for nothing";
   std::string text = Trace::traced([&] { ask("Ethernet1", 1, 2, 6); });
   EXPECT_THAT(text, HasSubstr("7   Ethernet1 is a lag member, ignoring cfg\n"));
   EXPECT_EQ(portWord("Ethernet1"), 0x50U);
   EXPECT_EQ(answers("Ethernet1", 1), "feature2:1 ");
   ask("PortChannel1", 1, 1, 7);
   EXPECT_EQ(portWord("Ethernet1"), 7U);
   join("PortChannel1", "Ethernet2");
   text = Trace::traced([&] { leave("Ethernet1"); });
   EXPECT_THAT(text, HasSubstr("8 PortInLifIntfSm::handleLagPhyIntf lag intf PortChannel1 phy intf "
                               "Ethernet1\n8 PortInLifIntfSm::doOnLagMember lag intf PortChannel1 "
                               "phy intf Ethernet1 delete\n8 LifIntfCfg(Ethernet1, 1)::"
                               "handleVersion"));
   EXPECT_EQ(portWord("Ethernet1"), 0x60U) << "its own request applies again";
   leave("Ethernet2");
   EXPECT_FALSE(ports->lifFeatureAttrHas(IntfId("Ethernet2")) || expandedHas("Ethernet2", 1));

   // Removing the whole list is a removal of each member.
   join("PortChannel1", "Ethernet2");
   mapping->phyIntfLagDel(IntfId("Ethernet2"));
   mapping->lagPhyIntfConfigDel(IntfId("PortChannel1"));
   EXPECT_FALSE(ports->lifFeatureAttrHas(IntfId("Ethernet2")));
}

// The member list may name a port before the port's own entry names the port-channel, and longer.
TEST_F(PortInLifTest, TheMemberListDecidesWhoseWordAPortHas) {
   ask("Ethernet1", 1, 2, 5);
   ask("PortChannel1", 1, 1, 7);
   auto members = mapping->lagPhyIntfConfigIs(IntfId("PortChannel1"));
   std::string seen;
   Hearer<IntfId> writes(ports->lifFeatureAttrCollection(),
                         [&](IntfId of) { seen += std::to_string(portWord(of.name())) + " "; });
   members->phyIntfIs(IntfId("Ethernet1"));
   EXPECT_EQ(seen, "7 ");
   members->phyIntfDel(IntfId("Ethernet1"));
   EXPECT_EQ(seen, "7 80 ") << "without a moment that has no word";
}

TEST_F(PortInLifTest, UnknownPortChannelIsAnsweredOnlyForARemoval) {
   std::string text = Trace::traced([&] { ask("PortChannel1", 1, 1, 7); });
   EXPECT_THAT(text, HasSubstr("7   Lag was not found in lag config:PortChannel1\n"));
   EXPECT_FALSE(handled->responseHas(key("PortChannel1", 1)));
   join("PortChannel1", "Ethernet3");
   EXPECT_FALSE(handled->responseHas(key("PortChannel1", 1))) << "a member on another TCAM";
   join("PortChannel1", "Ethernet1");
   EXPECT_EQ(answers("PortChannel1", 1), "feature1:1 ");
   mapping->phyIntfLagDelAll();
   mapping->lagPhyIntfConfigDelAll();
   EXPECT_TRUE(handled->responseHas(key("PortChannel1", 1)));
   withdraw("PortChannel1", 1, 1);
   EXPECT_FALSE(handled->responseHas(key("PortChannel1", 1)));
}

TEST_F(PortInLifTest, WithoutAPortMapOnlyRemovalsAreHandled) {
   join("PortChannel1", "Ethernet1");
   ask("PortChannel1", 1, 1, 7);
   ask("Ethernet0", 1, 1, 1);
   ask("Ethernet2", 1, 1, 2);
   status->portMapValidIs(false);
   std::string text = Trace::traced([&] { ask("Ethernet0", 1, 1, 3); });
   EXPECT_THAT(text, HasSubstr("0 PortInLifIntfSm:: add portmap is not valid for " +
                               keyText("Ethernet0", 1) + "\n"));
   EXPECT_EQ(portWord("Ethernet0"), 1U);
   withdraw("Ethernet2", 1, 1);
   EXPECT_FALSE(ports->lifFeatureAttrHas(IntfId("Ethernet2")));
   text = Trace::traced([&] { leave("Ethernet1"); });
   EXPECT_THAT(text, HasSubstr("0 PortInLifIntfSm:: del portmap is not valid for PortChannel1, "
                               "Ethernet1\n"));
   join("PortChannel1", "Ethernet2");
   EXPECT_FALSE(ports->lifFeatureAttrHas(IntfId("Ethernet2")));
   status->portMapValidIs(true);
   portMapChanged();
   EXPECT_EQ(portWord("Ethernet0"), 3U);
   EXPECT_EQ(portWord("Ethernet2"), 7U);
   EXPECT_FALSE(ports->lifFeatureAttrHas(IntfId("Ethernet1")) || expandedHas("Ethernet1", 1));
}

// A port must not be without its word during the pass over the port map.
TEST_F(PortInLifTest, PortsThatStayCoveredKeepTheirWordsThroughAPortMapChange) {
   join("PortChannel1", "Ethernet1");
   ask("Ethernet0", 1, 1, 1);
   ask("PortChannel1", 1, 1, 7);
   ask("Ethernet3", 2, 1, 7);
   join("PortChannel2", "Ethernet3"); // keeps its word, which no request covers now
   std::string seen;
   Hearer<IntfId> writes(ports->lifFeatureAttrCollection(),
                         [&](IntfId of) { seen += of.name() + " "; });
   portMapChanged();
   EXPECT_EQ(seen, "Ethernet3 ");
   status->sysTcamIdIs(IntfId("Ethernet1"), SystemTcamId(2));
   EXPECT_EQ(portWord("Ethernet1"), 7U) << "followed with the port map's version";
   portMapChanged();
   EXPECT_FALSE(ports->lifFeatureAttrHas(IntfId("Ethernet1")) || expandedHas("Ethernet1", 1));
}

TEST_F(PortInLifTest, WritingAMemberAsFalseRemovesIt) {
   auto members = mapping->lagPhyIntfConfigIs(IntfId("PortChannel1"));
   members->phyIntfIs(IntfId("Ethernet1"), false);
   untag("PortChannel1", 10);
   ask("PortChannel1", 1, 1, 7);
   ask("Vlan10", 1, 2, 5);
   EXPECT_EQ(ports->lifFeatureAttrs() + InLifMachines::vlans->lifFeatureAttrs(), 0U);
   join("PortChannel1", "Ethernet1");
   EXPECT_EQ(portWord("Ethernet1"), 7U);
   EXPECT_EQ(vlanWord("Ethernet1"), 0x57U);
   mapping->phyIntfLagDel(IntfId("Ethernet1"));
   members->phyIntfIs(IntfId("Ethernet1"), false);
   portMapChanged();
   mapping->lagPhyIntfConfigDel(IntfId("PortChannel1"));
   EXPECT_EQ(ports->lifFeatureAttrs() + InLifMachines::vlans->lifFeatureAttrs(), 0U);
}

// A second removal would remove what a reactor requested during the first.
TEST_F(PortInLifTest, AnUncoveredWordIsRemovedOnce) {
   join("PortChannel1", "Ethernet1");
   ask("PortChannel1", 1, 1, 7);
   status->portMapValidIs(false);
   leave("Ethernet1"); // keeps the port-channel's word
   status->portMapValidIs(true);
   std::string seen;
   Hearer<IntfId> feature(ports->lifFeatureAttrCollection(), [&](IntfId of) {
      bool here = ports->lifFeatureAttrHas(of);
      seen += (here ? "+" : "-") + of.name() + " ";
      if (!here) {
         ask(of.name(), 1, 2, 1);
      }
   });
   portMapChanged();
   EXPECT_EQ(seen, "-Ethernet1 +Ethernet1 ");
   EXPECT_TRUE(expandedHas("Ethernet1", 1));
   EXPECT_EQ(portWord("Ethernet1"), 0x10U);
}

} // namespace
} // namespace Hardware::ShoalTunnel
