#include "tests/ShoalTunnel/TcamSharing/Pipeline.h"

#include "platform/Orv/Exception.h"

namespace Hardware::ShoalTunnel {
namespace {

using testing::HasSubstr;

class HelperTest : public Pipeline {
 public:
   std::optional<VlanDomain> domain(std::string const& intf, uint32_t unit = 1) {
      return helper->getVlanDomainForIntf(IntfId(intf), FapId(unit));
   }
   // The encapsulation as "<outer,inner>", or "-".
   std::string encap(std::string const& intf, uint32_t flood = 0) {
      auto found = helper->getDot1qEncapForIntf(IntfId(intf), VlanIdOrNone(flood));
      EXPECT_TRUE(found.valid || found == TcamSharingDot1qEncapResponse());
      return found.valid ? "<" + std::to_string(found.dot1qEncap.outer) + "," +
                               std::to_string(found.dot1qEncap.inner) + ">"
                         : "-";
   }
};

TEST_F(HelperTest, UnitsFallBackFromLiveToHelperToChanged) {
   EXPECT_EQ(helper->orvType().name(), "Hardware::ShoalTunnel::TcamSharingHelper");
   IntfId gone("Ethernet9");
   EXPECT_EQ(helper->getFapIdForIntf(IntfId("Ethernet3")), FapId(2));
   EXPECT_EQ(helper->getFapIdForIntf(gone), FapId());
   EXPECT_TRUE(helper->intfToPortMap(gone).isNull());
   std::string text = traced([&] { EXPECT_EQ(helper->getParentFapId(gone), FapId()); });
   for (char const* line :
        {"7 getParentFapId: parentFap1: 2048\n", "7 getParentFapId: parentFap2: 2048\n",
         "7 getParentFapId: parentFap3: 2048\n"}) {
      EXPECT_THAT(text, HasSubstr(line));
   }
   portMapHelper->changedIntfToFapIs(gone, FapId(7));
   EXPECT_EQ(helper->getHelperChangedFapIdForIntf(gone), FapId(7));
   EXPECT_EQ(helper->getParentFapId(gone), FapId(7));
   portMapHelper->intfToFapIs(gone, FapId(6));
   text = traced([&] { EXPECT_EQ(helper->getParentFapId(gone), FapId(6)); });
   EXPECT_THAT(text, HasSubstr("parentFap2: 6\n"));
   EXPECT_THAT(text, testing::Not(HasSubstr("parentFap3")));
   text = traced([&] { EXPECT_EQ(helper->getParentFapId(IntfId("Ethernet1")), FapId(1)); });
   EXPECT_THAT(text, testing::Not(HasSubstr("parentFap2")));

   EXPECT_EQ(helper->getIntfIdForFapPort(FapId(1), 2), IntfId("Ethernet2"));
   EXPECT_EQ(helper->getIntfIdForFapPort(FapId(1), 99), IntfId());
}

TEST_F(HelperTest, VlanDomains) {
   EXPECT_EQ(domain("Ethernet1"), VlanDomain(0));
   EXPECT_EQ(domain("Vlan7", 9), VlanDomain(0));
   EXPECT_EQ(domain("Ethernet1-L3Flood"), VlanDomain(255));
   EXPECT_EQ(domain("Ethernet1.10"), VlanDomain(11));
   EXPECT_EQ(domain("Ethernet1.10", 2), VlanDomain(11))
       << "a port is on one unit, whichever is asked for";
   EXPECT_EQ(domain("Ethernet1.10-L3Flood"), VlanDomain(255));
   auto failure = [&](std::string const& intf, std::string const& line, uint32_t unit = 1) {
      std::string text = traced([&] { EXPECT_EQ(domain(intf, unit), std::nullopt) << intf; });
      EXPECT_THAT(text, HasSubstr("0 getVlanDomainForIntf" + line)) << intf;
   };
   failure("Ethernet9.1", ": portMap not found for port-subintf: Ethernet9.1\n");
   failure("Ethernet9.1-L3Flood", ": portMap not found for port-subintf: Ethernet9.1-L3Flood\n");
   domains->portTunnelDataDel({FapId(1), 2});
   failure("Ethernet2.10", ": vlanDomain not found for subintf:Ethernet2.10\n");

   failure("PortChannel7.1", ": parentPortChanStatus not found\n");
   lagDir->ethLagIntfStatusIs(IntfId("PortChannel7"));
   failure("PortChannel7.1", ": portChan PortChannel7 has no members. \n");
   addLag("PortChannel7", 1, 17, "Ethernet1");
   std::string text = traced([&] { EXPECT_EQ(domain("PortChannel7.1"), VlanDomain(17)); });
   EXPECT_THAT(text, HasSubstr("7 getVlanDomainForIntf: port-channel subintf: PortChannel7.1\n"));
   EXPECT_THAT(text, HasSubstr("7 getVlanDomainForIntf: memberId size: 1\n"));
   EXPECT_EQ(domain("PortChannel7.1-L3Flood"), VlanDomain(255));
   std::string missing = ": no vlanDomainPerLagFap entry found for lag: PortChannel7, on fap: ";
   failure("PortChannel7.1", missing + "2\n", 2);
   // Only units of type 1 and 2 keep such entries.
   for (uint32_t type : {1U, 2U}) {
      status->fapTypeIs(FapId(1), type);
      EXPECT_TRUE(domain("PortChannel7.1")) << type;
   }
   status->fapTypeIs(FapId(1), 3);
   failure("PortChannel7.1", missing + "1\n");
   status->fapTypeDel(FapId(1));
   failure("PortChannel7.1", missing + "1\n");
}

TEST_F(HelperTest, Encapsulations) {
   EXPECT_EQ(encap("Ethernet1.10"), "<10,0>");
   dynamic->dot1qEncapIs(IntfId("Ethernet1.10"), {200, 3});
   EXPECT_EQ(encap("Ethernet1.10"), "<200,3>");
   EXPECT_THAT(traced([&] { encap("Ethernet1.10"); }),
               HasSubstr("7 getDot1qEncapForIntf: final subintf dot1qEncap: <200,3>\n"));
   dynamic->dot1qEncapIs(IntfId("Ethernet1.10"), {});
   EXPECT_EQ(encap("Ethernet1.10"), "<10,0>");
   configDir->subIntfConfig(IntfId("Ethernet1.10"))->dot1qEncapIs({});
   EXPECT_THAT(
       traced([&] { EXPECT_EQ(encap("Ethernet1.10"), "-"); }),
       HasSubstr("0 getDot1qEncapForIntf: dot1qEncap not found for subintf: Ethernet1.10\n"));
   dynamic->dot1qEncapIs(IntfId("Ethernet1.99"), {5, 0});
   EXPECT_THAT(traced([&] { EXPECT_EQ(encap("Ethernet1.99"), "-"); }),
               HasSubstr("0 getDot1qEncapForIntf: subinterface does not exist: Ethernet1.99\n"));
   EXPECT_EQ(encap("lc1/Vlan4094"), "<4094,0>");
   EXPECT_EQ(encap("Vlan0"), "<0,0>") << "a VLAN interface, whose number others refuse";
   EXPECT_EQ(encap("Ethernet1-L3Flood", 77), "<77,0>");
   EXPECT_THAT(traced([&] { EXPECT_EQ(encap("Ethernet1"), "-"); }),
               HasSubstr("0 getDot1qEncapForIntf: no internalVlanId for routed port Ethernet1\n"));
   vlans->internalVlanIdIs(IntfId("Ethernet1"), VlanIdOrNone(0));
   EXPECT_EQ(encap("Ethernet1"), "-");
   vlans->internalVlanIdIs(IntfId("Ethernet1"), VlanIdOrNone(9));
   EXPECT_EQ(encap("Ethernet1"), "<9,0>");
   EXPECT_DEATH(encap("Ethernet1-L3Flood"),
                "Failed\\(l3FloodPortVlanId.value\\(\\)\\)(.|\n)*ShoalTunnel/TcamSharing");
}

TEST_F(HelperTest, MapperKeys) {
   IntfId parent("Ethernet1");
   auto key =
       helper->getVlanTagToVsiMapperKeyForSubIntf(parent, request("Ethernet1.10"), {8192, 7});
   EXPECT_EQ(key, VlanTagToVsiMapperKey({parent, Shoal::Vsi(8192), 7, 0, VlanTagType::dot1q,
                                         IntfId("Ethernet1.10"), false}));
   statusDir->subIntfStatus(IntfId("Ethernet1.10"))->encapKindIs(4);
   key = helper->getVlanTagToVsiMapperKeyForSubIntf(parent, request("Ethernet1.10"), {10, 0});
   EXPECT_EQ(static_cast<int>(key.fields().tagType), 3);
   statusDir->subIntfStatusDel(IntfId("Ethernet1.10"));
   key = helper->getVlanTagToVsiMapperKeyForSubIntf(parent, request("Ethernet1.10"), {10, 0});
   EXPECT_EQ(key.fields().tagType, VlanTagType::dot1q) << "without a status as without a kind";
   try {
      helper->getVlanTagToVsiMapperKeyForSubIntf(parent, request("Ethernet1.10"), {8193, 0});
      ADD_FAILURE();
   } catch (Orv::RangeException const& error) {
      EXPECT_STREQ(error.what(), "Vsi::value < Vsi::min or > Vsi::invalid not allowed");
   }
}

} // namespace
} // namespace Hardware::ShoalTunnel
