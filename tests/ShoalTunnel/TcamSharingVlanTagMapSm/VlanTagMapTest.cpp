// The three machines of the VLAN tag map.
#include "tests/ShoalTunnel/TcamSharingVlanTagMapSm/VlanTagSwitch.h"

#include <functional>
#include <gmock/gmock.h>

namespace Hardware::ShoalTunnel {
namespace {

using testing::ElementsAre;
using VlanTagMapTest = VlanTagSwitch;

TEST_F(VlanTagMapTest, WhatATagMeansAndWhereItCollides) {
   tags(sub(port(0), 1), 5);
   EXPECT_EQ(published(), "5/1: Ethernet0+s\n");
   // A VLAN of that number, in another domain, then in the same on another port.
   vlan(port(1), 5);
   EXPECT_EQ(published(), "5/1: Ethernet0+s\n5/2: Ethernet1+v\n");
   vlan(port(2), 5);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet2+v !\n5/2: Ethernet1+v\n");
   vlan(port(2), 5, false);
   vlan(port(1), 5, false);
   // One inner tag each: no collision. The same tags twice: one.
   tags(sub(port(0), 2), 5, 7);
   EXPECT_EQ(published(), "5/1: Ethernet0+s\n");
   assigned->dot1qEncapIs(sub(port(0), 2), {5, 0});
   EXPECT_EQ(published(), "5/1: Ethernet0+sx\n");
   assigned->dot1qEncapDel(sub(port(0), 2));
   internal->internalVlanIdIs(port(0), VlanIdOrNone(5));
   EXPECT_EQ(published(), "5/1: Ethernet0+srx\n");
   internal->internalVlanIdIs(port(0), VlanIdOrNone(6));
   untagged->untaggedVlanIs(port(0), VlanIdOrNone(6));
   EXPECT_EQ(published(), "5/1: Ethernet0+s\n6/1: Ethernet0+vrx\n");
}

// Its entry is in the domain of the port-channel, which only the entry tells.
TEST_F(VlanTagMapTest, ASubInterfaceOfAPortChannelCollidesThroughItsEntry) {
   join(1, 0);
   tags(sub(lag(1), 1), 5);
   vlan(port(1), 5);
   vlan(port(2), 5);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet2+v\n5/2: Ethernet1+v\n");
   TcamSharingRequest request(sub(lag(1), 1), FapId(1));
   entry(request, 5, 2);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet2+v\n5/2: Ethernet1+v PortChannel1.1 !\n");
   start(2);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet2+v\n5/2: Ethernet1+v PortChannel1.1 !\n");
   entry(request, 0, 0);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet2+v\n5/2: Ethernet1+v\n");
}

TEST_F(VlanTagMapTest, PortsWithoutADomainShareNone) {
   tags(sub(port(0), 1), 5);
   vlan(port(2), 5);
   for (int i : {0, 2}) {
      domain->vlanDomainDel(port(i));
   }
   EXPECT_EQ(published(), "5/0: Ethernet0+s Ethernet2+v\n");
   for (int i : {0, 2}) {
      domain->vlanDomainIs(port(i), VlanDomain(3));
   }
   EXPECT_EQ(published(), "5/3: Ethernet0+s Ethernet2+v !\n");
   // A new machine counts all users before it tells of collisions.
   struct Changes : Orv::Reactor<VlanTagKey> {
      void handle(VlanTagKey const&) override { ++count; }
      int count = 0;
   } changes;
   pairs->collisionCollection().watch(changes);
   start(2);
   EXPECT_EQ(changes.count, 0);
}

TEST_F(VlanTagMapTest, APairComesAlongAndGoesWithItsLastUser) {
   TcamSharingRequest request(sub(port(0), 1), FapId(1));
   tags(sub(port(0), 1), 5);
   entry(request, 5, 1);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet0.1\n");
   domain->vlanDomainIs(port(0), VlanDomain(9));
   EXPECT_EQ(published(), "5/1: Ethernet0.1\n5/9: Ethernet0+s\n");
   entry(request, 5, 9);
   EXPECT_EQ(published(), "5/9: Ethernet0+s Ethernet0.1\n");
   fap->intfToFapIs(port(0), FapId(2));
   EXPECT_EQ(published(), "5/9: Ethernet0.1\nother unit 5/9: Ethernet0+s\n");
   fap->intfToFapDel(port(0));
   entry(request, 0, 0);
   EXPECT_EQ(published(), "");
}

// The pairs that went.
struct Removals : Orv::Reactor<VlanTagKey> {
   explicit Removals(TcamSharingVlanTagMap const& of) : map(of) {
      map.vlanTagCollection().watch(*this);
   }
   void handle(VlanTagKey const& pair) override {
      if (!map.vlanTag(pair)) {
         tags.push_back(pair.vlanTag);
      }
   }
   TcamSharingVlanTagMap const& map;
   std::vector<uint16_t> tags;
};

// In both directions: the VLAN becomes the tag of a sub-interface, and back.
TEST_F(VlanTagMapTest, APairStaysWhileItsTagChangesItsMeaning) {
   vlan(port(0), 5);
   tags(sub(lag(1), 1), 5);
   Removals removals(*pairs);
   join(1, 0);
   EXPECT_EQ(published(), "5/1: Ethernet0+s\n");
   leave(0);
   EXPECT_EQ(published(), "5/1: Ethernet0+v\n");
   EXPECT_THAT(removals.tags, ElementsAre());
}

// While the port map is being rewritten, nothing goes; with its version, what is gone.
TEST_F(VlanTagMapTest, AVersionTakesNothingFromWhatStays) {
   for (int i : {0, 1}) {
      tags(sub(port(i), 1), 5);
      vlan(port(i), 7);
   }
   std::string const before = published();
   Removals removals(*pairs);
   status->portMapValidIs(false);
   place(0, false);
   place(1, false);
   version();
   EXPECT_EQ(published(), before);
   place(1, true);
   status->portMapValidIs(true);
   EXPECT_EQ(published(), before);
   version();
   EXPECT_EQ(published(), "5/2: Ethernet1+s\n7/2: Ethernet1+v\n");
   EXPECT_THAT(removals.tags, ElementsAre(7, 5));
   // A machine that is built again keeps what is still so, and removes what is not.
   for (int machine : {0, 1, 2, -1}) {
      removals.tags.clear();
      start(machine);
      EXPECT_THAT(removals.tags, ElementsAre());
   }
   map = nullptr;
   xlate = nullptr;
   ports = nullptr;
   tags(sub(port(1), 1), 6);
   vlan(port(1), 6);
   start();
   EXPECT_EQ(published(), "6/2: Ethernet1+svx !\n7/2: Ethernet1+v\n");
}

// A handler that undoes a change while it is being published.
TEST_F(VlanTagMapTest, AHandlerMayUndoWhatItIsToldOf) {
   tags(sub(port(0), 1), 5);
   struct Undo : Orv::Reactor<VlanTagKey> {
      void handle(VlanTagKey const& pair) override {
         if (pair.vlanTag == at && pair.vlanDomain == VlanDomain(9)) {
            at = 0;
            undo();
         }
      }
      uint16_t at = 0;
      std::function<void()> undo;
   } handler;
   pairs->vlanTagCollection().watch(handler);
   TcamSharingRequest request(sub(port(1), 1), FapId(1));
   entry(request, 5, 1);
   std::string const before = published();
   handler.undo = [&] { domain->vlanDomainIs(port(0), VlanDomain(1)); };
   handler.at = 5;
   domain->vlanDomainIs(port(0), VlanDomain(9));
   EXPECT_EQ(published(), before);
   handler.undo = [&] { entry(request, 5, 1); };
   handler.at = 5;
   entry(request, 5, 9);
   EXPECT_EQ(published(), before);
   tags(sub(port(0), 1), 0);
   entry(request, 0, 0);
   EXPECT_EQ(published(), "");
}

} // namespace
} // namespace Hardware::ShoalTunnel
