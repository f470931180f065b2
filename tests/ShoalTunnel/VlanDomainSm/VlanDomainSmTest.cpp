#include "ShoalTunnel/VlanDomainSm/VlanDomainSm.h"

#include "platform/Trace/Trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace Hardware::ShoalTunnel {
namespace {

using Plexus::IntfId;
using Shoal::FapId;
using Shoal::PortMap;
using Shoal::SystemPhyPortId;
using Shoal::VlanDomain;

// Ethernet1 on port 1 of unit 1 with domain 11, Ethernet2 on port 2 of unit 2 with domain 12,
// Ethernet3 nowhere.
class VlanDomainTest : public testing::Test {
 public:
   VlanDomainTest() {
      for (uint16_t i : {uint16_t(1), uint16_t(2)}) {
         status->portMapIs(SystemPhyPortId(i), {FapId(i), i});
         domain({FapId(i), i}, static_cast<uint8_t>(10 + i));
         move("Ethernet" + std::to_string(i), i);
      }
      move("Ethernet3", 3);
      start();
   }
   void start() { sm = VlanDomainSmIs(status, domains, intfToDomain, intfToFap); }
   void move(std::string const& intf, uint32_t systemPort) {
      status->sysPhyPortIdIs(IntfId(intf), SystemPhyPortId(systemPort));
   }
   void domain(PortMap place, uint8_t value) {
      domains->portTunnelDataIs(place, {VlanDomain(value)});
   }
   void walk() { status->portMapVersionIs(status->portMapVersion() + 1); }
   // "Ethernet1 unit 1 domain 11", one line each, in order of first publication.
   std::string published() const {
      std::string text;
      for (char const* name : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
         IntfId intf(name);
         text += std::string(name) + " unit " +
                 (intfToFap->intfToFapHas(intf) ? std::to_string(intfToFap->intfToFap(intf).value())
                                                : "-") +
                 " domain " +
                 (intfToDomain->vlanDomainHas(intf)
                      ? std::to_string(intfToDomain->vlanDomain(intf).value())
                      : "-") +
                 "\n";
      }
      return text;
   }
   static std::string is(std::string const& one, std::string const& two, std::string const& three) {
      return "Ethernet1 unit " + one + "\nEthernet2 unit " + two + "\nEthernet3 unit " + three +
             "\n";
   }

   Orv::Ptr<Shoal::Status> status = Orv::make<Shoal::Status>();
   Orv::Ptr<Shoal::VlanDomainStatus> domains = Orv::make<Shoal::VlanDomainStatus>();
   Orv::Ptr<IntfToVlanDomainStatus> intfToDomain = Orv::make<IntfToVlanDomainStatus>();
   Orv::Ptr<IntfToFapIdStatus> intfToFap = Orv::make<IntfToFapIdStatus>();
   Orv::Ptr<VlanDomainSm> sm;
};

TEST_F(VlanDomainTest, FollowsSingleChanges) {
   EXPECT_EQ(published(), is("1 domain 11", "2 domain 12", "- domain -"));
   domain({FapId(1), 1}, 21);
   EXPECT_EQ(published(), is("1 domain 21", "2 domain 12", "- domain -"));
   domains->portTunnelDataDel({FapId(1), 1});
   EXPECT_EQ(published(), is("1 domain -", "2 domain 12", "- domain -"));
   domain({FapId(9), 9}, 5); // no interface is there
   EXPECT_EQ(published(), is("1 domain -", "2 domain 12", "- domain -"));
   // A move, to a port without a domain.
   status->portMapIs(SystemPhyPortId(4), {FapId(4), 4});
   move("Ethernet2", 4);
   EXPECT_EQ(published(), is("1 domain -", "4 domain -", "- domain -"));
   domain({FapId(2), 2}, 99); // the port map that it left
   EXPECT_EQ(published(), is("1 domain -", "4 domain -", "- domain -"));
   domain({FapId(4), 4}, 14);
   EXPECT_EQ(published(), is("1 domain -", "4 domain 14", "- domain -"));
   // A removed port keeps what was published, and so does one whose port map is removed.
   status->sysPhyPortIdDel(IntfId("Ethernet2"));
   EXPECT_EQ(published(), is("1 domain -", "4 domain 14", "- domain -"));
   EXPECT_EQ(sm->intfToPortMap(IntfId("Ethernet2")), (PortMap{FapId(4), 4}));
}

TEST_F(VlanDomainTest, AWalkPublishesPresentInterfacesAndRemovesDeletedOnes) {
   status->portMapValidIs(false);
   status->portMapIs(SystemPhyPortId(3), {FapId(3), 3});
   domain({FapId(3), 3}, 13);
   status->sysPhyPortIdDel(IntfId("Ethernet2"));
   walk();
   EXPECT_EQ(published(), is("1 domain 11", "2 domain 12", "- domain -"));
   status->portMapValidIs(true);
   EXPECT_EQ(published(), is("1 domain 11", "2 domain 12", "- domain -")) << "a version says when";
   walk();
   EXPECT_EQ(published(), is("1 domain 11", "- domain -", "3 domain 13"));
   EXPECT_TRUE(sm->intfToPortMapHas(IntfId("Ethernet2"))) << "what the machine knows stays";

   // Back on the same port: the domain returns, the unit only with the next walk.
   move("Ethernet2", 2);
   EXPECT_EQ(published(), is("1 domain 11", "- domain 12", "3 domain 13"));
   walk();
   EXPECT_EQ(published(), is("1 domain 11", "2 domain 12", "3 domain 13"));

   // A walk takes no domain away; a single change does.
   sm = nullptr;
   domains->portTunnelDataDel({FapId(1), 1});
   start();
   EXPECT_EQ(published(), is("1 domain 11", "2 domain 12", "3 domain 13"));
   move("Ethernet1", 5); // nowhere
   move("Ethernet1", 1);
   EXPECT_EQ(published(), is("1 domain -", "2 domain 12", "3 domain 13"));
}

TEST_F(VlanDomainTest, TwoOnOnePortMapAndASwapOfPlaces) {
   move("Ethernet3", 1);
   domain({FapId(1), 1}, 31);
   EXPECT_EQ(published(), is("1 domain 11", "2 domain 12", "1 domain 31")) << "the last one's";
   move("Ethernet3", 3);
   walk();
   // The second move removes the port map entry of the first.
   move("Ethernet1", 2);
   move("Ethernet2", 1);
   EXPECT_EQ(published(), is("2 domain 12", "1 domain 31", "1 domain 31"));
   EXPECT_EQ(sm->portMapToIntf({FapId(2), 2}), IntfId());
   domain({FapId(2), 2}, 42);
   EXPECT_EQ(intfToDomain->vlanDomain(IntfId("Ethernet1")), VlanDomain(12));
   walk();
   domain({FapId(2), 2}, 43);
   EXPECT_EQ(intfToDomain->vlanDomain(IntfId("Ethernet1")), VlanDomain(43));
}

TEST_F(VlanDomainTest, EachHandlerTracesItsEntryAndAMissingDomainStatusReadsAsEmpty) {
   std::ostringstream text;
   Trace::textSinkIs(&text);
   Trace::textLevelIs(8, true);
   domains = nullptr;
   start();
   move("Ethernet1", 2);
   sm->handleVlanDomainStatus({FapId(2), 2});
   Trace::textLevelIs(8, false);
   Trace::textSinkIs(nullptr);
   EXPECT_THAT(text.str(), testing::MatchesRegex(".* 8 VlanDomainSm::handleInitialized\n"
                                                 ".* 8 VlanDomainSm::handlePortMapVersion\n"
                                                 ".* 8 VlanDomainSm::handleSysPhyPortId\n"
                                                 ".* 8 VlanDomainSm::handleVlanDomainStatus\n"));
   EXPECT_FALSE(intfToDomain->vlanDomainHas(IntfId("Ethernet1")));
}

} // namespace
} // namespace Hardware::ShoalTunnel
